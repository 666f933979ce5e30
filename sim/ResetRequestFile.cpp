#include "sim/ResetRequestFile.h"

namespace Oru::Sim {

namespace {

using nlohmann::json;

std::string escaped(std::string_view name) {
  std::string result;
  for (char const c : name) {
    if (c == '%')
      result += "%25";
    else if (c == ',')
      result += "%2C";
    else
      result += c;
  }
  return result;
}

}  // namespace

std::string resetKeyOf(ResetTarget const& target) {
  using Type = ResetTarget::Type;
  switch (target.type) {
    case Type::chip:
      return "chip," + escaped(target.slice) + ',' + escaped(target.chip);
    case Type::slice:
      return "slice," + escaped(target.slice);
    case Type::all:
      return "allSlices";
    case Type::features:
      break;
  }
  return "featureAgents";
}

std::string jsonOf(Step::Reset const& reset, double genTime) {
  using Type = ResetTarget::Type;
  auto const& target = reset.target;
  std::string const key = resetKeyOf(target);
  json request{{"type", key.substr(0, key.find(','))},
               {"cause", reset.cause},
               {"reason", reset.reason},
               {"genTime", genTime}};
  if (target.type == Type::chip || target.type == Type::slice) request["slice"] = target.slice;
  if (target.type == Type::chip) request["chip"] = target.chip;
  return request.dump() + '\n';
}

}  // namespace Oru::Sim
