#pragma once

#include <stdexcept>
#include <string>

#include "mount/UniqueFd.h"

namespace Oru::Launcher {

// Another process holds the lock; the text names it.
class LockedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Only one launcher serves a tree: holds the lock file as long as this lives, and however the
// process ends. The file stays, with the number of the process that holds or held it.
class InstanceLock {
 public:
  // Raises LockedError, or std::system_error when the file cannot be made.
  explicit InstanceLock(std::string const& file);

  // Whether the file of that name is the one that is locked, and not another one put in its place.
  bool isOn(std::string const& file) const;

 private:
  Mount::UniqueFd file_;
};

}  // namespace Oru::Launcher
