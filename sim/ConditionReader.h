#pragma once

#include "mount/Json.h"
#include "sim/Scenario.h"

namespace Oru::Sim {

class StepReader;

// Reads what an "expect" says. Raises Mount::JsonError.
class ConditionReader {
 public:
  // `names` knows the device; it must outlive this.
  explicit ConditionReader(StepReader const& names) : names_(names) {}

  Condition condition(Mount::JsonObject object) const;

 private:
  void readChips(Mount::JsonObject& object, Condition& condition) const;
  void readAgents(Mount::JsonObject& object, Condition& condition) const;
  void readFiles(Mount::JsonObject& object, Condition& condition) const;
  Condition::Published published(Mount::JsonObject& object) const;
  std::vector<std::string> chips(Mount::JsonObject& object, char const* field) const;
  AgentName agent(Mount::JsonObject const& object, std::string const& text) const;

  StepReader const& names_;
};

}  // namespace Oru::Sim
