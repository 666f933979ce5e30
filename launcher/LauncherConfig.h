#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "launcher/AgentId.h"
#include "launcher/CommandSource.h"
#include "launcher/TextTemplate.h"

namespace Oru::Mount {
class JsonObject;
}

namespace Oru::Launcher {

// A configuration is wrong; the text names the file, the place in it and the reason.
class ConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// How agents are started: a JSON object with one member for each kind of agents that this launcher
// runs.
//
//   {"chip": {"argv": ["chip-agent", "--name={name}", "--tree={tree}"],
//             "environment": {"LEVEL": "2"},       added to the launcher's own
//             "workingDirectory": "/var/lib/agents",
//             "graceTime": 5,                      seconds from SIGTERM to SIGKILL
//             "backoff": {"initial": 0.5, "factor": 2, "max": 30, "stable": 10},
//             "names": {"Chip7": {...}}}}          what differs for single agents: the same members
//
// All members may be left out; "argv" may only if every agent of the kind has one in "names". An
// environment in "names" is added to that of the kind. The values above but argv, environment and
// directory are those that hold by default. Texts may hold the placeholders of TextTemplate.
// Whatever else is in the file is refused.
class LauncherConfig {
 public:
  // No kind is configured.
  LauncherConfig() = default;
  // Raises ConfigError; `file` is for its text.
  static LauncherConfig parse(std::string_view text, std::string const& file);
  // Of a regular file of at most 1 MiB.
  static LauncherConfig load(std::string const& file);

  // Raises StartError when there is no command for the agent. `tree` is the absolute path of the
  // state tree.
  Command commandFor(AgentId const& id, std::string_view tree) const;
  AgentLimits limitsFor(AgentId const& id) const;

  struct Rules {
    std::vector<TextTemplate> argv;
    std::map<std::string, TextTemplate> environment;
    std::optional<TextTemplate> workingDirectory;
    AgentLimits limits;
  };

 private:
  void readKind(Mount::JsonObject& root, AgentKind kind);
  void readNames(Mount::JsonObject names, AgentKind kind);
  Rules const* rulesFor(AgentId const& id) const;

  std::string file_;
  std::map<AgentKind, Rules> kinds_;
  std::map<AgentId, Rules> names_;
};

}  // namespace Oru::Launcher
