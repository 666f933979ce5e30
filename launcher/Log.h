#pragma once

#include <string_view>

namespace Oru::Launcher {

// How urgent a line is, as the system's log counts.
enum class Priority { error = 3, warning = 4, notice = 5, info = 6 };

// One line to standard error; with the priority in front where the system's journal reads it, with
// the program's name elsewhere. Control characters, which names may hold, are written \xNN.
void log(Priority priority, std::string_view text);

}  // namespace Oru::Launcher
