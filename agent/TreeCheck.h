#pragma once

#include <string>

namespace Oru::Agent {

// Reads the whole tree as a starting oru-agent would, writes nothing, and prints each problem on
// standard output, a line each (Printable.h); returns the program's exit code.
int checkTree(std::string const& tree);

}  // namespace Oru::Agent
