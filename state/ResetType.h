#pragma once

#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"

namespace Oru::Central {

// What a reset request asks for. The numbers are fixed: requesters and stored requests use them.
// Every number that is not listed asks for a reset of all slices, as `allSlices` does.
enum class ResetType : std::uint8_t {
  chip = 0,           // one chip of one slice
  slice = 1,          // every chip of one slice
  allSlices = 2,      // every chip of every inserted slice
  featureAgents = 4,  // the feature agents; carried out by the platform
};

// "chip", "slice", "allSlices", "featureAgents"; the number of any other type.
ORU_EXPORT Vunda::String stringValue(ResetType type);

}  // namespace Oru::Central
