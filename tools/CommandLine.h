#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/Style.h"

namespace Oru::Tools {

// Where a run of the program writes.
struct Outputs {
  std::ostream& out;
  std::ostream& err;
  Style style = Style();     // of `out`
  Style errStyle = Style();  // of `err`
};

// Runs the program with these arguments (without its own name) and returns its exit code; what goes
// wrong is told on `err`. The environment's ORU_TREE and ORU_RINGLOG stand for arguments that are
// not given.
int runCommandLine(std::vector<std::string> const& arguments, Outputs const& outputs);

}  // namespace Oru::Tools
