#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mount/Backend.h"
#include "mount/ProblemList.h"
#include "mount/TreePath.h"
#include "mount/WriteQueue.h"

namespace Oru::Mount {

// What this program holds in the tree: the values and directories that are to stand, whatever
// happens to them. A text is made when it is written, at the end of the turn, and written only when
// it differs from what is known to stand.
class TreeWriter {
 public:
  using Encode = std::function<std::string()>;

  // What is written or removed is no problem to read any more: `problems` hears of it.
  TreeWriter(Backend& backend, WriteQueue& queue, ProblemList& problems)
      : backend_(backend), queue_(queue), problems_(problems) {}

  // The value is to stand from now on, with the text that `encode` makes whenever it is asked.
  void valueIs(TreePath const& value, Encode encode);
  // The text of a value that is to stand may have changed.
  void valueChanged(TreePath const& value);
  void valueDel(TreePath const& value);
  // The directory is to stand from now on. It need not be said of one that holds values.
  void directoryIs(TreePath const& directory);
  // The directory is to go, with everything in it.
  void directoryDel(TreePath const& directory);

  // What is to stand right in a directory.
  std::vector<TreePath> valuesIn(TreePath const& directory) const;
  std::vector<TreePath> directoriesIn(TreePath const& directory) const;

  // What a reader found at a place: a text, or none. What is to stand there and differs is put
  // right. Returns whether something is to stand there.
  bool found(TreePath const& value, std::optional<std::string> text);
  // A reader found that the directory is gone, with everything in it.
  bool directoryMissing(TreePath const& directory);

 private:
  void forget(TreePath const& value);
  std::error_code write(TreePath const& value);

  Backend& backend_;
  WriteQueue& queue_;
  ProblemList& problems_;
  std::map<TreePath, Encode> values_;
  std::set<TreePath> directories_;
  std::map<TreePath, std::string> standing_;  // as far as known
};

}  // namespace Oru::Mount
