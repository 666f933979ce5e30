#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "mount/TreePath.h"
#include "sim/AgentBehaviour.h"
#include "sim/AgentName.h"
#include "sim/Device.h"

namespace Oru::Sim {

// What a reset request is for.
struct ResetTarget {
  enum class Type { chip, slice, all, features };
  Type type = Type::all;
  std::string slice;  // chip, slice
  std::string chip;   // chip

  // "chip Chip1", "all slices"
  std::string text() const;
  auto operator<=>(ResetTarget const&) const = default;
  bool operator==(ResetTarget const&) const = default;
};

// A place in the tree as a file of it: relative to the tree, never leading out of it.
using TreeFile = std::string;

// What must hold, all at the same moment. What is not given is not looked at.
struct Condition {
  struct Published {
    bool all = false;                  // every chip of an inserted slice, and no other
    std::optional<std::size_t> count;  // exactly so many
    std::vector<std::string> chips;    // these, whatever else
  };
  // What became of something since the last "remember".
  enum class Since { same, changed };
  struct File {
    TreeFile path;
    bool present = true;
    std::map<std::string, nlohmann::json>
        fields;  // place in the file ("chips.Chip1.deviceId") to value
  };
  struct Problem {
    TreeFile file;
    std::string reason;  // a part of the problem's text
  };

  std::optional<Published> published;
  std::vector<std::string> withdrawn;        // chips that are not published
  std::optional<std::size_t> interfaces;     // published
  std::map<std::string, Since> generations;  // of chips' configurations
  std::map<AgentName, std::string> agents;   // to state in launcher-status/, or "gone"
  std::map<AgentName, Since> processes;      // process ids
  bool allProcessesSame = false;             // of every agent that was remembered
  std::map<AgentName, std::size_t> crashes;  // at least
  std::vector<ResetTarget> answered;         // the latest request is recorded
  std::vector<File> files;
  std::vector<Problem> problems;
  std::vector<TreeFile> noProblems;
  std::map<std::string, std::string> programs;  // "oru-agent" to "running" or "ended"
};

// The steps of a scenario.
struct Step {
  struct Say {
    std::string text;
  };
  struct Insert {
    std::string slice;
  };
  struct Remove {
    std::string slice;
    bool statusFirst = false;
  };
  struct Swap {
    std::string slice;
    double away = 0;
  };
  struct Reset {
    ResetTarget target;
    std::string who, cause;
    unsigned reason = 0;
    double age = 0;  // seconds that the request is old
  };
  struct Withdraw {
    ResetTarget target;
    std::string who;
  };
  struct Feature {
    std::string name;
    std::optional<bool> enabled;
  };  // nothing: removed
  struct Behave {
    AgentName agent;
    AgentBehaviour behaviour;
  };
  struct Kill {
    std::variant<AgentName, std::string> victim;
    int signal = 0;
  };
  struct Stop {
    std::string program;
  };
  struct Start {
    std::string program;
  };
  struct Report {
    enum class Generation { configured, older, newer };
    std::string chip;
    Generation generation = Generation::configured;
  };
  struct Write {
    enum class What { text, link, directory };
    TreeFile file;
    What what = What::text;
    std::string text;  // of the file, or where the link leads
    unsigned times = 1;
  };
  struct Delete {
    TreeFile file;
  };
  struct Tree {
    enum class Move { away, back, remove, make };
    Move move;
  };
  struct Run {
    std::vector<std::string> argv;  // {tree}, {state} and {programs} stand for folders of the run
    int exits = 0;
    std::string says;  // a part of its output
  };
  struct Pause {
    double time;
  };
  struct Idle {
    std::vector<std::string> programs;
    double time = 1;     // seconds in which none of them wakes up
    double within = 20;  // seconds until such a time begins
  };
  struct Remember {};
  struct Expect {
    Condition condition;
    double within = 20;  // seconds until it holds
    double hold = 0;     // seconds that it must hold from then on
  };

  using Action =
      std::variant<Say, Insert, Remove, Swap, Reset, Withdraw, Feature, Behave, Kill, Stop, Start,
                   Report, Write, Delete, Tree, Run, Pause, Idle, Remember, Expect>;

  std::string place;  // "steps[3]"
  std::string text;   // the step as it is written, in one line
  Action action;
};

// What happens to a device and what is expected of it: docs/scenario-format.md explains the file.
struct Scenario {
  std::string name;
  std::string file;
  std::vector<Step> steps;

  // The names that steps use must be the device's; without a device they are not looked at. Raises
  // DescriptionError, whose text names file, step, field and reason.
  static Scenario parse(std::string_view text, std::string const& file, Device const* device);
};

}  // namespace Oru::Sim
