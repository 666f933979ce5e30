#pragma once

#include <string>
#include <string_view>

namespace Oru::Mount {

// The name of a reset request's value in its requester's directory: "chip,Slice1,Chip1",
// "slice,Slice1", "allSlices", "featureAgents". `type` is one of the words chip, slice, allSlices
// and featureAgents; names that the type has no use for are not looked at.
std::string resetKeyName(std::string_view type, std::string_view slice, std::string_view chip);

}  // namespace Oru::Mount
