#include "runtime/kesh/AllocTrackTypeInfo.h"

#include <new>

namespace Kesh {

namespace {

constinit std::atomic<AllocTrackTypeInfo*> newest{nullptr};

// A plain load and store while one thread alone uses the runtime.
void add(std::atomic<std::size_t>& counter, std::size_t amount) noexcept {
  if (Vunda::ThreadControl::threadSafe()) {
    counter.fetch_add(amount, std::memory_order_relaxed);
  } else {
    counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
  }
}

}  // namespace

void AllocTrackTypeInfo::_trackAllocation(AllocTrackTypeInfo& type, std::size_t size,
                                          std::size_t count) noexcept {
  if (!type.listed_.load(std::memory_order_relaxed)) type.enlist();
  add(type.count_, count);
  add(type.bytes_, size);
}

void AllocTrackTypeInfo::trackDeallocation(AllocTrackTypeInfo& type, std::size_t size,
                                           std::size_t count) noexcept {
  add(type.count_, std::size_t{0} - count);
  add(type.bytes_, std::size_t{0} - size);
}

void* AllocTrackTypeInfo::allocate(AllocTrackTypeInfo& type, std::size_t size) {
  void* const memory = ::operator new(size);
  _trackAllocation(type, size, 1);
  return memory;
}

void AllocTrackTypeInfo::release(AllocTrackTypeInfo& type, void* memory,
                                 std::size_t size) noexcept {
  trackDeallocation(type, size, 1);
  ::operator delete(memory);
}

AllocTrackTypeInfo const* AllocTrackTypeInfo::first() noexcept {
  return newest.load(std::memory_order_acquire);
}

std::size_t AllocTrackTypeInfo::totalLiveCount() noexcept {
  std::size_t total = 0;
  for (AllocTrackTypeInfo const* type = first(); type; type = type->next())
    total += type->liveCount();
  return total;
}

void AllocTrackTypeInfo::enlist() noexcept {
  if (listed_.exchange(true)) return;
  next_ = newest.load(std::memory_order_relaxed);
  while (!newest.compare_exchange_weak(next_, this, std::memory_order_release)) {
  }
}

}  // namespace Kesh
