#pragma once

#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"

namespace Oru::Central {

// Why a reset was requested. Copied from a request to its status record and never interpreted;
// numbers that are not listed pass through unchanged.
enum class ResetReason : std::uint32_t {
  unspecified = 0,
  userRequest = 1,     // an operator asked for it
  agentFailure = 2,    // an agent stopped responding or misbehaved
  hardwareFault = 3,   // the chip or the slice reported a fault
  softwareUpdate = 4,  // new agent software or firmware takes effect
  configChange = 5,    // a setting takes effect only at a restart
};

// The enumerator's name; the number of any other reason.
ORU_EXPORT Vunda::String stringValue(ResetReason reason);

}  // namespace Oru::Central
