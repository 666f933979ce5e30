#include "sim/Situation.h"

namespace Oru::Sim {

namespace {

using Mount::TreePath;
using nlohmann::json;

json const& member(json const& value, char const* name) {
  static json const none;
  if (!value.is_object()) return none;
  auto const at = value.find(name);
  return at == value.end() ? none : *at;
}

bool isNewer(json const& genTime, json const& other) {
  return genTime.is_number() && (!other.is_number() || genTime > other);
}

}  // namespace

std::set<std::string> Situation::publishedChips() const {
  std::set<std::string> chips;
  TreePath const folder{"system", "chips"};
  for (std::string const& id : tree_.names(folder)) {
    json const& name = member(tree_.value(folder / id), "name");
    if (name.is_string()) chips.insert(name.get<std::string>());
  }
  return chips;
}

std::set<std::string> Situation::insertedChips() const {
  std::set<std::string> names;
  TreePath const folder{"hw", "config"};
  for (std::string const& slice : tree_.names(folder)) {
    json const& board = tree_.value(folder / slice);
    json const& chips = member(board, "chips");
    if (!chips.is_object() || member(board, "genTime") == 0) continue;
    for (auto const& [chip, description] : chips.items()) names.insert(chip);
  }
  return names;
}

std::size_t Situation::publishedInterfaces() const {
  std::size_t count = 0;
  TreePath const folder{"system", "interfaces"};
  for (std::string const& id : tree_.names(folder)) {
    count += member(tree_.value(folder / id), "intfToPortId").size();
  }
  return count;
}

std::string Situation::sliceOfConfig(std::string const& chip) const {
  std::string latest;
  json genTime;
  for (TreePath const& folder : tree_.directories({"config"})) {
    json const& found = member(tree_.value(folder / chip), "genTime");
    if (!isNewer(found, genTime)) continue;
    latest = folder.leaf();
    genTime = found;
  }
  return latest;
}

json const& Situation::config(std::string const& chip) const {
  return tree_.value({"config", sliceOfConfig(chip), chip});
}

json const& Situation::agent(AgentName const& name) const {
  return tree_.value({"launcher-status", name.kind, name.name});
}

std::string Situation::agentState(AgentName const& name) const {
  json const& state = member(agent(name), "state");
  return state.is_string() ? state.get<std::string>() : "gone";
}

std::set<AgentName> Situation::agents() const {
  std::set<AgentName> all;
  for (auto const* kind : {"slice", "chip", "feature"}) {
    for (std::string const& name : tree_.names({"launcher-status", kind})) all.insert({kind, name});
  }
  return all;
}

json Situation::process(AgentName const& name) const {
  json const& status = agent(name);
  if (!status.contains("pid")) return {};
  return {member(status, "pid"), member(status, "startTicks")};
}

void Situation::remember() {
  processes_.clear();
  for (AgentName const& name : agents()) {
    if (json const running = process(name); !running.is_null()) processes_[name] = running;
  }
  generations_.clear();
  for (TreePath const& folder : tree_.directories({"config"})) {
    for (std::string const& chip : tree_.names(folder)) {
      generations_[chip] = member(config(chip), "genTime");
    }
  }
}

json const& Situation::rememberedGeneration(std::string const& chip) const {
  static json const none;
  auto const at = generations_.find(chip);
  return at == generations_.end() ? none : at->second;
}

Situation::Request const* Situation::request(ResetTarget const& target) const {
  auto const at = requests_.find(target);
  return at == requests_.end() ? nullptr : &at->second;
}

}  // namespace Oru::Sim
