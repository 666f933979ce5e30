#pragma once

#include <atomic>
#include <cstdint>

#include "runtime/ringlog/Ring.h"
#include "runtime/vunda/Assert.h"

namespace Ringlog {

// The message id of one call site: 0 until its message is registered, never negative. Ids count the
// call sites of the process that were registered; a site keeps its id for life, in whatever trace
// file it writes to.
class MsgId {
 public:
  constexpr MsgId() noexcept = default;
  constexpr explicit MsgId(std::int32_t value) noexcept : value_(value) {}

  // Aborts when the id is negative.
  std::int32_t value() const noexcept {
    // Named as the report is to read. NOLINTNEXTLINE(readability-identifier-naming)
    std::int32_t const msgId_ = value_.load(std::memory_order_relaxed);
    ORU_ASSERT(msgId_ >= 0);
    return msgId_;
  }
  void valueIs(std::int32_t value) noexcept { value_.store(value, std::memory_order_relaxed); }

 private:
  std::atomic<std::int32_t> value_{0};
};

// What a call site keeps between its records: its id, and the ring in whose file the id is known to
// be registered. No two rings of a process ever have the same address, so one comparison tells that
// the site may write at once, under the id that was read when it became ready.
class MsgSite {
 public:
  constexpr MsgSite() noexcept = default;
  constexpr explicit MsgSite(std::int32_t id) noexcept : id_(id) {}

  MsgId& id() noexcept { return id_; }

  // For the only thread that traces (ThreadControl::tsp_ is clear): plain reads.
  bool isReadyFor(Ring const* ring) const noexcept { return ring_ == ring; }
  std::uint64_t const& readyTag() const noexcept { return readyTag_; }

  // For any thread. The id's tag, or 0 when the site is not ready for the ring.
  std::uint64_t sharedReadyTag(Ring const* ring) noexcept {
    if (std::atomic_ref(ring_).load(std::memory_order_acquire) != ring) return 0;
    return std::atomic_ref(readyTag_).load(std::memory_order_relaxed);
  }
  void readyForIs(Ring const* ring) noexcept {
    std::atomic_ref(readyTag_).store(idTag(id_.value()), std::memory_order_relaxed);
    std::atomic_ref(ring_).store(ring, std::memory_order_release);
  }

 private:
  Ring const* ring_ = nullptr;
  std::uint64_t readyTag_ = 0;
  MsgId id_;
};

}  // namespace Ringlog
