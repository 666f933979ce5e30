#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "tools/Changes.h"
#include "tools/Context.h"
#include "tools/TreeFollower.h"

namespace Oru::Tools {

// Says what happens in the tree, one line for each event, as soon as inotify tells of a change.
// What stands there at the start is no event. Several changes of one file between two looks are
// one.
class Watch {
 public:
  // The loop and the context outlive this. Raises Failure when there is no tree.
  Watch(Mount::EventLoop& loop, Context const& context, bool json);

 private:
  void take(std::vector<Mount::Backend::Change> const& changes);
  void scan();
  void valueIs(Mount::TreePath const& path, Mount::Backend::Reading const& reading);
  void textIs(Mount::TreePath const& path, std::optional<std::string> const& text);
  void directoriesAre(std::set<Mount::TreePath> const& directories);
  void unreadableIs(std::string const& file, Problem const& problem);
  void readable(std::string const& file);
  void treeIs(std::string const& reason);
  void say(Event const& event, std::string const& file);

  Context const& context_;
  bool const json_;
  std::map<Mount::TreePath, std::string> texts_;  // as last understood
  std::set<Mount::TreePath> directories_;
  std::map<std::string, Problem> unreadable_;  // by file
  bool quiet_ = true;                          // while the first look is taken
  bool away_ = false;
  TreeFollower follower_;
};

// Until SIGINT or SIGTERM. Raises Failure when there is no tree.
int watch(Context const& context, bool json);

}  // namespace Oru::Tools
