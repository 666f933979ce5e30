#pragma once

#include "mount/Json.h"
#include "sim/Device.h"
#include "sim/Scenario.h"

namespace Oru::Sim {

// Reads what a step says. Names are looked for in the device, if there is one. Each raises
// Mount::JsonError.
class StepReader {
 public:
  explicit StepReader(Device const* device) : device_(device) {}

  Step::Action action(Mount::JsonObject& step) const;

  // A step, which must be right, in one line for people.
  static std::string text(nlohmann::json const& step);

  // For the parts of a step, and of a condition.
  std::string sliceName(Mount::JsonObject& object, char const* field) const;
  std::string chipName(Mount::JsonObject& object, char const* field) const;
  void checkChip(Mount::JsonObject const& object, char const* field, std::string const& name) const;
  // Fields "chip", "slice" or "feature": exactly one.
  AgentName agentName(Mount::JsonObject& object) const;
  // Fields "chip", "slice", "all" or "features": exactly one.
  ResetTarget target(Mount::JsonObject& object) const;

 private:
  struct Verb;
  static std::vector<Verb> const& verbs();

  Step::Action remove(Mount::JsonObject& step) const;
  Step::Action reset(Mount::JsonObject& step) const;
  Step::Action feature(Mount::JsonObject& step) const;
  Step::Action behave(Mount::JsonObject& step) const;
  Step::Action kill(Mount::JsonObject& step) const;
  Step::Action report(Mount::JsonObject& step) const;
  Step::Action write(Mount::JsonObject& step) const;
  Step::Action run(Mount::JsonObject& step) const;
  Step::Action tree(Mount::JsonObject& step) const;
  Step::Action idle(Mount::JsonObject& step) const;
  Step::Action expect(Mount::JsonObject& step) const;
  AgentBehaviour describedBehaviour(AgentName const& agent) const;

  Device const* device_;
};

// Raises Mount::JsonError for the object as a whole.
[[noreturn]] void refuseWhole(Mount::JsonObject const& object, std::string reason);
// "oru-agent" or "oru-launcher"; raises Mount::JsonError.
std::string programName(Mount::JsonObject& object, char const* field);
// Raises Mount::JsonError, for the field, unless it is one of the two.
void checkProgram(Mount::JsonObject const& object, std::string const& field,
                  std::string const& program);
// A list of texts, or a single one; raises Mount::JsonError.
std::vector<std::string> strings(Mount::JsonObject& object, char const* field);
// A file's way from the root of the tree; raises Mount::JsonError for one that is empty or leads
// out of the tree.
std::string treeFile(Mount::JsonObject& object, char const* field);

}  // namespace Oru::Sim
