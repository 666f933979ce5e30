#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mount/Backend.h"
#include "mount/FileTree.h"
#include "mount/ProblemList.h"
#include "mount/TreePath.h"

namespace Oru::Tools {

using Problem = Mount::ProblemList::Problem;

// The kinds of files that the tree has; docs/state-tree.md lists them.
enum class Area {
  hwConfig,
  hwStatus,
  config,
  status,
  chips,
  slices,
  interfaces,
  features,
  requests,
  answers,
  entries,
  agents,
  problems,
};

// The kind of file that belongs at a place; nothing for a place where none does.
std::optional<Area> areaOf(Mount::TreePath const& value);

// Everything that stands in the tree's known directories, as it was found, not yet understood.
struct TreeScan {
  std::map<Mount::TreePath, Mount::Backend::Reading> values;
  // Those that hold values of one slice, requester or kind.
  std::set<Mount::TreePath> directories;
  // What must not stand where it does, and directories that cannot be listed.
  std::vector<Problem> strays;
};

// Raises Failure (exitTree) when there is no tree.
TreeScan scanTree(Mount::FileTree const& tree);

// That the file cannot be read, or not understood.
Problem problemOf(std::string file, std::string place, std::string reason);

}  // namespace Oru::Tools
