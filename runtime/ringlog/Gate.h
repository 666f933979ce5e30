#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/Ring.h"
#include "runtime/vunda/Export.h"

namespace Ringlog {

// Tells a call site, in one load, what there is to do for a message of its level. One gate per text
// trace handle:
//
//   null          nothing: text is off and there is no trace file
//   a ring        a ring record and nothing else; a site that is ready for this very ring writes
//                 it at once
//   &longWay_     more than that (text wanted, or the gate is not enrolled yet): nothing is ready
//                 for this ring, so the site takes the long way, which looks at each channel
//
// A gate starts on the long way for all levels. The first message enrols it; from then on it
// follows the process's trace file, so it must live as long as the process (a static object). Any
// thread may use it.
class ORU_EXPORT Gate {
 public:
  constexpr Gate() noexcept : Gate(&longWay_) {}
  Gate(Gate const&) = delete;
  Gate& operator=(Gate const&) = delete;

  // `level` is at most `levels`. Level 0 is always null.
  Ring* ring(unsigned level) const noexcept {
    return rings_[level].load(std::memory_order_acquire);
  }

  // Which levels have text (bit n: level n) and so always take the long way.
  std::uint32_t textLevels() const noexcept { return textLevels_.load(std::memory_order_relaxed); }
  void textLevelsAre(std::uint32_t mask) noexcept;

  // Does nothing when done before.
  void enrol() noexcept;

 private:
  friend class GateKeeper;

  constexpr explicit Gate(Ring* way) noexcept
      : rings_{nullptr, way, way, way, way, way, way, way, way,
               way,     way, way, way, way, way, way, way} {}

  static Ring longWay_;

  std::array<std::atomic<Ring*>, levels + 1> rings_;
  std::atomic<std::uint32_t> textLevels_{0};
  bool enrolled_ = false;
  Gate* nextGate_ = nullptr;
};

}  // namespace Ringlog
