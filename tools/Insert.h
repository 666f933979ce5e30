#pragma once

#include <string>

#include "tools/Context.h"

namespace Oru::Tools {

// These play the platform, for devices and tests that have none.

// Puts the board of that file, a hw/config/<slice>.json as docs/state-tree.md describes it, into the
// tree with a new generation. The slice's name is the file's unless another one is given. Raises
// Failure for a file that oru-agent would refuse, and for device numbers and chip names that another
// slice has.
int insertSlice(Context const& context, std::string const& file, std::string const& name);

// Takes the board out of the tree. Raises Failure for a slice that is not inserted.
int removeSlice(Context const& context, std::string const& name);

}  // namespace Oru::Tools
