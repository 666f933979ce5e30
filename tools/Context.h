#pragma once

#include <ostream>
#include <string>

#include "tools/Style.h"

namespace Oru::Tools {

// How a command ends; stated in --help.
enum ExitCode : int {
  exitOk = 0,
  exitNo = 1,       // reset --wait: not all was reset; show problems: there are some
  exitUsage = 2,    // wrong use, a name that the tree does not know, a wrong file
  exitTree = 3,     // the tree, or a trace file, cannot be read or written
  exitTimeout = 4,  // reset --wait: it took too long
  exitFailure = 5,
};

// What every command works with. The streams outlive it.
struct Context {
  std::string tree;
  std::ostream& out;
  std::ostream& err;
  Style style;     // of `out`
  Style errStyle;  // of `err`
};

}  // namespace Oru::Tools
