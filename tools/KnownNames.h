#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/TreeData.h"

namespace Oru::Tools {

// Names that the tree knows, also of what is not there at the moment: a slice that was pulled keeps
// its configuration. In natural order.
std::vector<std::string> knownSlices(TreeData const& data);
std::vector<std::string> knownFeatures(TreeData const& data);
// Slice and chip.
std::vector<std::pair<std::string, std::string>> knownChips(TreeData const& data);

// Raise Failure (exitUsage) when nobody in the tree knows the name, with the nearest one that
// somebody knows.
void requireSlice(TreeData const& data, std::string const& name);
void requireFeature(TreeData const& data, std::string const& name);
// The slice of the chip; `slice` says which one when it is not empty.
std::string sliceOfChip(TreeData const& data, std::string const& chip, std::string const& slice);

}  // namespace Oru::Tools
