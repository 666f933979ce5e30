#include "sim/ResetRequestFile.h"

#include "mount/ResetKeyName.h"

namespace Oru::Sim {

namespace {

using nlohmann::json;

char const* wordOf(ResetTarget::Type type) {
  using Type = ResetTarget::Type;
  switch (type) {
    case Type::chip:
      return "chip";
    case Type::slice:
      return "slice";
    case Type::all:
      return "allSlices";
    case Type::features:
      break;
  }
  return "featureAgents";
}

}  // namespace

std::string resetKeyOf(ResetTarget const& target) {
  return Mount::resetKeyName(wordOf(target.type), target.slice, target.chip);
}

std::string jsonOf(Step::Reset const& reset, double genTime) {
  using Type = ResetTarget::Type;
  auto const& target = reset.target;
  json request{{"type", wordOf(target.type)},
               {"cause", reset.cause},
               {"reason", reset.reason},
               {"genTime", genTime}};
  if (target.type == Type::chip || target.type == Type::slice) request["slice"] = target.slice;
  if (target.type == Type::chip) request["chip"] = target.chip;
  return request.dump() + '\n';
}

}  // namespace Oru::Sim
