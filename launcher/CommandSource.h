#pragma once

#include "launcher/AgentId.h"
#include "launcher/Backoff.h"
#include "launcher/Process.h"

namespace Oru::Launcher {

// How long things take for one agent.
struct AgentLimits {
  double graceTime = 5;  // seconds from SIGTERM to SIGKILL
  BackoffLimits backoff;

  friend bool operator==(AgentLimits const&, AgentLimits const&) = default;
};

// Knows how agents are started. Asked anew for each start, so that a changed configuration counts
// from then on.
class CommandSource {
 public:
  CommandSource() = default;
  CommandSource(CommandSource const&) = delete;
  CommandSource& operator=(CommandSource const&) = delete;
  virtual ~CommandSource() = default;

  // Raises StartError when there is no command for the agent.
  virtual Command commandFor(AgentId const& id) const = 0;
  virtual AgentLimits limitsFor(AgentId const& id) const = 0;
};

}  // namespace Oru::Launcher
