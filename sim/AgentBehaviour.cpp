#include "sim/AgentBehaviour.h"

#include <array>

namespace Oru::Sim {

namespace {

constexpr std::array words{"normal", "crash", "hang", "stale", "leave"};

AgentBehaviour::Mode modeOf(Mount::JsonObject& object) {
  std::string const& word = object.string("mode");
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (word == words[i]) return static_cast<AgentBehaviour::Mode>(i);
  }
  object.refuse("mode", "is none of normal, crash, hang, stale, leave");
}

}  // namespace

char const* textOf(AgentBehaviour::Mode mode) { return words[static_cast<std::size_t>(mode)]; }

AgentBehaviour behaviourOf(Mount::JsonObject& object, AgentBehaviour const& base) {
  AgentBehaviour behaviour = base;
  if (object.has("mode")) behaviour.mode = modeOf(object);
  if (object.has("initTime")) behaviour.initTime = object.seconds("initTime");
  if (object.has("lag")) behaviour.lag = object.seconds("lag");
  return behaviour;
}

std::string jsonOf(AgentBehaviour const& behaviour) {
  nlohmann::ordered_json const json{
      {"mode", textOf(behaviour.mode)}, {"initTime", behaviour.initTime}, {"lag", behaviour.lag}};
  return json.dump() + '\n';
}

AgentBehaviour behaviourOf(std::string_view json) {
  auto const parsed = Mount::parsedJson(json);
  Mount::JsonObject object(parsed);
  AgentBehaviour const behaviour = behaviourOf(object, {});
  object.finish();
  return behaviour;
}

}  // namespace Oru::Sim
