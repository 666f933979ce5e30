#pragma once

#include <string>
#include <utility>

#include "launcher/CommandSource.h"
#include "launcher/LauncherConfig.h"

namespace Oru::Launcher {

// Commands as the configuration says them, for one state tree; outputs go to <log
// directory>/<kind>-<name>.log (the name as in file names of the tree) if there is such a
// directory.
class ConfiguredCommands : public CommandSource {
 public:
  ConfiguredCommands(LauncherConfig config, std::string tree, std::string logDirectory)
      : config_(std::move(config)),
        tree_(std::move(tree)),
        logDirectory_(std::move(logDirectory)) {}

  void configIs(LauncherConfig config) { config_ = std::move(config); }

  Command commandFor(AgentId const& id) const override;
  AgentLimits limitsFor(AgentId const& id) const override { return config_.limitsFor(id); }

 private:
  LauncherConfig config_;
  std::string const tree_;
  std::string const logDirectory_;
};

}  // namespace Oru::Launcher
