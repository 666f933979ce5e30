#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

#include "mount/UniqueFd.h"

namespace Oru::Mount {

// Another process holds the lock; the text names it.
class LockedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Holds a tree for one instance of a program: a lock on the file `.<program>.lock` in the tree's
// root, which the system gives back however the process ends. The file stays, with the number of
// the process that holds or held it.
class TreeLock {
 public:
  // Of the lock, in the tree's root.
  static std::string fileName(std::string const& program) { return '.' + program + ".lock"; }

  // How long a lock is waited for whose holder is dead: a process that it was about to start has it
  // for a moment.
  static constexpr std::chrono::milliseconds patience{1000};

  // Raises LockedError when another process has the lock, std::system_error when the file cannot be
  // made or locked. Waits at most `patience`.
  TreeLock(std::string const& root, std::string const& program);

  // Another folder may stand at the tree's place: takes the lock there, unless it is held. Raises
  // what the constructor does; nothing is held then.
  void renew();

 private:
  void take();
  bool isInPlace() const;

  std::string const path_;
  UniqueFd file_;
};

}  // namespace Oru::Mount
