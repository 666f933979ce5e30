#pragma once

#include <cstdint>

#include "runtime/vunda/Export.h"

namespace Vunda {

// Process-wide thread-safe mode. While `tsp_` is zero the runtime assumes that one thread alone
// touches nodes, strings and trace rings, and uses plain increments; while it is non-zero, use
// counts and ring reservations are atomic, so that other threads may hold and release counted
// pointers to shared nodes, and trace.
//
// Switching: set it before the first additional thread that uses the runtime is started (thread
// creation orders the write before everything that thread does); it then also serves every thread
// that appears later. Clear it only after the last such thread was joined. Notifications,
// collections and mutators stay single-threaded in either mode.
//
// So nobody writes the byte while another thread may read it: it is a plain one, which every count
// and every trace record can test in one instruction.
struct ThreadControl {
  ORU_EXPORT static std::uint8_t tsp_;

  static bool threadSafe() noexcept { return __builtin_expect(tsp_ != 0, 0); }
};

}  // namespace Vunda
