#include "state/ResetType.h"

#include <string>

namespace Oru::Central {

Vunda::String stringValue(ResetType type) {
  switch (type) {
    case ResetType::chip:
      return "chip";
    case ResetType::slice:
      return "slice";
    case ResetType::allSlices:
      return "allSlices";
    case ResetType::featureAgents:
      return "featureAgents";
  }
  return Vunda::String(std::to_string(static_cast<unsigned>(type)));
}

}  // namespace Oru::Central
