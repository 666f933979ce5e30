#include "state/ResetReason.h"

#include <string>

namespace Oru::Central {

Vunda::String stringValue(ResetReason reason) {
  switch (reason) {
    case ResetReason::unspecified:
      return "unspecified";
    case ResetReason::userRequest:
      return "userRequest";
    case ResetReason::agentFailure:
      return "agentFailure";
    case ResetReason::hardwareFault:
      return "hardwareFault";
    case ResetReason::softwareUpdate:
      return "softwareUpdate";
    case ResetReason::configChange:
      return "configChange";
  }
  return Vunda::String(std::to_string(static_cast<std::uint32_t>(reason)));
}

}  // namespace Oru::Central
