#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <string>
#include <vector>

namespace Oru::Tools {

// The hidden command that the shell's completion asks (tools/oructl.bash):
//
//   oructl __complete WORD...
//
// WORDs are those behind the program's name, the last one the word to be completed. What fits it is
// printed, one candidate a line: commands and options of the very command line that the program
// itself reads, and names from the state tree by the type of the value (SLICE, CHIP, FEATURE, ...).
// The line ":file" or ":directory" asks the shell for names of those.
inline constexpr char const* completionCommand = "__complete";

// `tree` is the folder to look names up in, if the words do not name one.
int complete(CLI::App const& app, std::vector<std::string> const& words, std::string tree,
             std::ostream& out);

}  // namespace Oru::Tools
