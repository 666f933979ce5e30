#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "mount/Backend.h"
#include "mount/EventLoop.h"

namespace Oru::Mount {

// Who watches which directory of a tree, and what is to be told to them: it is collected during a
// turn of the loop and told at its end, to each observer what concerns it: notices first, then the
// changes, each place once. Observers may end any watch, their own too, while they are told.
class WatchList {
 public:
  using Id = std::uint64_t;

  explicit WatchList(EventLoop& loop) : loop_(loop) {}

  // The observer must outlive its watch.
  Id add(TreePath const& directory, Backend::Observer& observer);
  void remove(Id id) { watched_.erase(id); }
  bool empty() const noexcept { return watched_.empty(); }
  // Whether somebody watches the place or a directory above it.
  bool watches(TreePath const& path) const;
  // Whether somebody watches the directory, one above it, or one below it.
  bool concerns(TreePath const& directory) const;

  void noteValue(TreePath const& value) { note({value, Backend::Kind::value}); }
  // One on the way to watched directories stands for those.
  void noteDirectory(TreePath const& directory, bool wasGone = false);
  // Something other than a change, about `path`.
  void notice(TreePath const& path, std::function<void(Backend::Observer&)> tell);
  // Tells what is collected now, without waiting for the end of the turn.
  void deliver();

 private:
  struct Watched {
    TreePath directory;
    Backend::Observer* observer;
  };
  struct Notice {
    TreePath path;
    std::function<void(Backend::Observer&)> tell;
  };

  void note(Backend::Change change);
  void deliverSoon();
  std::vector<Backend::Change> withoutCovered(std::vector<Backend::Change> changes) const;
  void tell(Id id, Notice const& notice) const;
  void tell(Id id, std::vector<Backend::Change> const& changes) const;

  EventLoop& loop_;
  std::map<Id, Watched> watched_;
  Id lastId_ = 0;
  std::vector<Notice> notices_;
  std::vector<Backend::Change> changes_;
  // Index in changes_.
  std::map<TreePath, std::size_t> notedValues_;
  std::map<TreePath, std::size_t> notedDirectories_;
  EventSource delivery_;
};

}  // namespace Oru::Mount
