#pragma once

#include <string>
#include <string_view>
#include <system_error>

#include "mount/FileTree.h"

namespace Oru::Sim {

// Writes below `status/` as agents must: a slice agent's directory is never brought back by
// somebody who writes into it, and a report of a chip agent is never overwritten by the slice
// agent's first one.
class StatusFolder {
 public:
  // `tree` must outlive this.
  StatusFolder(Mount::FileTree const& tree, std::string slice)
      : tree_(tree), path_{"status", slice} {}

  // The slice agent's part: makes the folder; puts a file unless there is one; removes the folder,
  // all of it at one moment.
  std::error_code make() const { return tree_.makeDirectory(path_); }
  std::error_code putFirst(std::string_view chip, std::string_view text) const;
  std::error_code remove() const;

  // The chip agent's part: writes the file if the folder is there.
  std::error_code replace(std::string_view chip, std::string_view text) const;

  bool exists() const;

 private:
  std::error_code put(std::string_view chip, std::string_view text, unsigned renameFlags) const;

  Mount::FileTree const& tree_;
  Mount::TreePath const path_;
};

}  // namespace Oru::Sim
