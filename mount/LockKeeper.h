#pragma once

#include <functional>
#include <string>

#include "mount/EventLoop.h"
#include "mount/ProblemList.h"
#include "mount/Retry.h"
#include "mount/TreeLock.h"
#include "mount/UniqueFd.h"

namespace Oru::Mount {

// Holds a program's lock on its tree for as long as the program runs, whatever folder stands at the
// tree's place and whatever becomes of the lock's file.
class LockKeeper {
 public:
  // Raises what TreeLock's constructor does, also when the folder cannot be watched. `elsewhere` hears
  // that another process holds the folder that stands at the tree's place now: the program is to end,
  // and to write nothing there. `loop` and `problems` must outlive the keeper.
  LockKeeper(EventLoop& loop, ProblemList& problems, std::string const& root,
             std::string const& program, std::function<void(LockedError const&)> elsewhere);

  // To be called when another folder may stand at the tree's place. What keeps the lock from being
  // taken there (a full disk, a file system that may only be read, no descriptors) may pass: it is
  // reported, and tried again until it succeeds. Until then another instance may take the lock, which
  // this one then hears like any other.
  void hold();

 private:
  void renew();
  void watchFolder();

  ProblemList& problems_;
  std::string const root_;
  std::string const file_;
  TreeLock lock_;
  UniqueFd inotify_;
  int folder_ = -1;  // its number in inotify_
  EventSource ready_;
  std::function<void(LockedError const&)> const elsewhere_;
  Retry retry_;
};

}  // namespace Oru::Mount
