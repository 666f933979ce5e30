#include "runtime/ringlog/Handle.h"

#include <mutex>

#include <pthread.h>

#include "runtime/ringlog/Gate.h"
#include "runtime/vunda/Assert.h"

namespace Ringlog {

constinit std::atomic<Handle*> defaultRinglogHandle{nullptr};
constinit Ring Gate::longWay_{Layout::minRingBytes};

// Keeps all enrolled gates in step with the default handle and with their own text levels.
class GateKeeper {
 public:
  static void enrol(Gate& gate) noexcept {
    std::lock_guard const lock(mutex_);
    if (gate.enrolled_) return;
    gate.enrolled_ = true;
    gate.nextGate_ = std::exchange(first_, &gate);
    set(gate);
  }

  static void textLevelsAre(Gate& gate, std::uint32_t mask) noexcept {
    std::lock_guard const lock(mutex_);
    gate.textLevels_.store(mask, std::memory_order_relaxed);
    if (gate.enrolled_) set(gate);
  }

  static Handle* handleIs(Handle* handle) noexcept {
    std::lock_guard const lock(mutex_);
    return setHandle(handle);
  }

  // In a child the file belongs to the parent. Only the forking thread exists, and a lock that
  // another one held would never be released.
  static void forkedChild() noexcept { setHandle(nullptr); }

 private:
  static Handle* setHandle(Handle* handle) noexcept {
    Handle* const before = defaultRinglogHandle.exchange(handle);
    for (Gate* gate = first_; gate != nullptr; gate = gate->nextGate_) set(*gate);
    return before;
  }

  static void set(Gate& gate) noexcept {
    TraceFile* const file = defaultRinglogFile();
    for (unsigned level = 1; level <= levels; ++level) {
      bool const text = (gate.textLevels() >> level & 1u) != 0;
      Ring* const ring = file != nullptr ? &file->ring(level) : nullptr;
      gate.rings_[level].store(text ? &Gate::longWay_ : ring, std::memory_order_release);
    }
  }

  static constinit std::mutex mutex_;
  static constinit Gate* first_;
};

constinit std::mutex GateKeeper::mutex_;
constinit Gate* GateKeeper::first_ = nullptr;

void Gate::enrol() noexcept { GateKeeper::enrol(*this); }

void Gate::textLevelsAre(std::uint32_t mask) noexcept { GateKeeper::textLevelsAre(*this, mask); }

TraceFile* defaultRinglogFile() noexcept {
  Handle* const handle = defaultRinglogHandle.load(std::memory_order_acquire);
  return handle != nullptr ? &handle->file() : nullptr;
}

namespace {

void flushDefaultFile() noexcept {
  if (TraceFile* const file = defaultRinglogFile()) file->flush();
}

}  // namespace

std::unique_ptr<Handle> defaultRinglogHandleIs(std::unique_ptr<Handle> handle) {
  static int const childIsTold = pthread_atfork(nullptr, nullptr, &GateKeeper::forkedChild);
  static_cast<void>(childIsTold);
  Vunda::assertFlushIs(handle ? &flushDefaultFile : nullptr);
  return std::unique_ptr<Handle>(GateKeeper::handleIs(handle.release()));
}

}  // namespace Ringlog
