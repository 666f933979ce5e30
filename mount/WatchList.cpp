#include "mount/WatchList.h"

#include <algorithm>
#include <utility>

namespace Oru::Mount {

WatchList::Id WatchList::add(TreePath const& directory, Backend::Observer& observer) {
  watched_.emplace(++lastId_, Watched{directory, &observer});
  return lastId_;
}

bool WatchList::watches(TreePath const& path) const {
  return std::ranges::any_of(
      watched_, [&](auto const& entry) { return path.isWithin(entry.second.directory); });
}

bool WatchList::concerns(TreePath const& directory) const {
  return std::ranges::any_of(watched_, [&](auto const& entry) {
    auto const& watched = entry.second.directory;
    return directory.isWithin(watched) || watched.isWithin(directory);
  });
}

void WatchList::noteDirectory(TreePath const& directory, bool wasGone) {
  if (watches(directory)) return note({directory, Backend::Kind::directory, wasGone});
  for (auto const& [id, watched] : watched_)
    if (watched.directory.isWithin(directory))
      note({watched.directory, Backend::Kind::directory, wasGone});
}

void WatchList::note(Backend::Change change) {
  auto& noted = change.kind == Backend::Kind::value ? notedValues_ : notedDirectories_;
  auto const [at, isNew] = noted.try_emplace(change.path, changes_.size());
  if (isNew)
    changes_.push_back(std::move(change));
  else
    changes_[at->second].wasGone |= change.wasGone;
  deliverSoon();
}

void WatchList::notice(TreePath const& path, std::function<void(Backend::Observer&)> tell) {
  notices_.push_back({path, std::move(tell)});
  deliverSoon();
}

void WatchList::deliverSoon() {
  if (!delivery_) delivery_ = loop_.endOfTurn([this] { deliver(); });
}

void WatchList::deliver() {
  delivery_.reset();
  auto const notices = std::exchange(notices_, {});
  auto const changes = withoutCovered(std::exchange(changes_, {}));
  notedValues_.clear();
  notedDirectories_.clear();
  std::vector<Id> ids;
  for (auto const& [id, watched] : watched_) ids.push_back(id);
  for (Id const id : ids) {
    for (auto const& notice : notices) tell(id, notice);
    tell(id, changes);
  }
}

// A directory that is reported stands for everything in it, but not for the word that one in it is
// another one.
std::vector<Backend::Change> WatchList::withoutCovered(std::vector<Backend::Change> changes) const {
  std::erase_if(changes, [this](Backend::Change const& change) {
    if (change.kind == Backend::Kind::directory && (change.wasGone || change.path.isRoot()))
      return false;
    for (auto above = change.path.parent();; above = above.parent()) {
      if (notedDirectories_.contains(above)) return true;
      if (above.isRoot()) return false;
    }
  });
  return changes;
}

void WatchList::tell(Id id, Notice const& notice) const {
  auto const watched = watched_.find(id);
  if (watched == watched_.end()) return;
  auto const& directory = watched->second.directory;
  if (notice.path.isWithin(directory) || directory.isWithin(notice.path))
    notice.tell(*watched->second.observer);
}

void WatchList::tell(Id id, std::vector<Backend::Change> const& changes) const {
  auto const watched = watched_.find(id);
  if (watched == watched_.end()) return;
  std::vector<Backend::Change> mine;
  for (auto const& change : changes)
    if (change.path.isWithin(watched->second.directory)) mine.push_back(change);
  if (!mine.empty()) watched->second.observer->changed(mine);
}

}  // namespace Oru::Mount
