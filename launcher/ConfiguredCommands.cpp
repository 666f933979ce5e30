#include "launcher/ConfiguredCommands.h"

#include "mount/TreePath.h"

namespace Oru::Launcher {

Command ConfiguredCommands::commandFor(AgentId const& id) const {
  Command command = config_.commandFor(id, tree_);
  if (!logDirectory_.empty()) {
    command.logFile = logDirectory_ + '/' + std::string(toString(id.kind)) + '-' +
                      Mount::encodedName(id.name) + ".log";
  }
  return command;
}

}  // namespace Oru::Launcher
