#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "launcher/Process.h"

namespace Oru::Launcher {

// Starts a child process as SystemProcesses says it, without copying this process. `marks` are
// added to the environment last. Returns its process number; raises StartError that names what is
// missing or forbidden.
pid_t spawn(Command const& command, std::map<std::string, std::string> const& marks);

}  // namespace Oru::Launcher
