#pragma once

#include <string>
#include <string_view>

#include "launcher/AgentStatus.h"

namespace Oru::Launcher {

// The text of a file in launcher-status/, and back; docs/state-tree.md explains the fields. What
// was written is read back as it was.
std::string jsonOf(AgentStatus const& status);
// Raises Mount::JsonError.
AgentStatus agentStatusOf(std::string_view json);

// "running", as in the file.
std::string_view toString(AgentState state);

}  // namespace Oru::Launcher
