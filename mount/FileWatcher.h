#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include "mount/Backend.h"
#include "mount/EventLoop.h"
#include "mount/FileTree.h"
#include "mount/Retry.h"
#include "mount/UniqueFd.h"
#include "mount/WatchList.h"

struct inotify_event;

namespace Oru::Mount {

// Watches directories of a FileTree recursively, by inotify, for the observers of Backend::watch.
//
//   armed          the root, the directories on the way to a watched one, and all below it that
//                  are not deeper than a tree's
//   overflow       everything is armed afresh, and every watched directory is reported
//   root gone      or another directory in its place: reported, and tried again, with back-off and
//                  whenever its parent directory changes, until it is there; then everything is
//                  armed afresh and every watched directory is reported. The parent is watched for
//                  it, since a directory in which somebody has a file open does not tell its end
//   arming failed  reported for the place, tried again with back-off
//
// A plain file is reported when its writer closes it, when it is renamed or linked into place, or when
// it goes. One that looks new and is not closed is reported once after a tenth of a second, or when a
// hidden file beside it is removed, whichever comes first.
class FileWatcher {
 public:
  FileWatcher(EventLoop& loop, FileTree const& tree);

  WatchList::Id add(TreePath const& directory, Backend::Observer& observer);
  void remove(WatchList::Id id);
  // This program has just put the value with that stamp, or removed it (no stamp): the word of the
  // very state that it left is swallowed.
  void ownWrite(TreePath const& value, FileStamp const& left);

 private:
  struct FileId {
    std::uint64_t device = 0, inode = 0;
    bool operator==(FileId const&) const = default;
  };

  void arm(TreePath const& directory);
  bool armOne(TreePath const& directory);
  void armingFailed(TreePath const& directory, std::error_code error);
  void disarm(TreePath const& directory);
  void startAfresh();
  void rootGone();
  bool isArmedRoot() const;
  void watchParent();
  void rootMissing(std::error_code error);
  void tryAgain();

  void openInotify();
  void readEvents();
  void handleEvent(inotify_event const& event);
  void handleParent(inotify_event const& event);
  void handleSelf(TreePath const& directory, inotify_event const& event);
  void handleDirectory(TreePath const& parent, std::string_view fileName, std::uint32_t mask);
  void handleFile(TreePath const& parent, std::string_view fileName, std::uint32_t mask);
  bool mayBeWritten(TreePath const& value) const;
  void awaitClose(TreePath const& value);
  void noteUnclosed(TreePath const& directory);
  bool isOwnEcho(TreePath const& value, std::uint32_t mask);
  void tellRootLost(std::string reason);
  void tellRootBack();

  EventLoop& loop_;
  FileTree const& tree_;
  WatchList watches_;

  UniqueFd inotify_;
  EventSource ready_;
  std::uint64_t epoch_ = 0;  // of inotify_: numbers of watches mean nothing in another one
  int parentWatch_ = -1;
  FileId root_;
  std::map<int, TreePath> directoryOf_;
  std::map<TreePath, int> armed_;
  std::set<TreePath> failed_;
  std::map<TreePath, FileStamp> own_;         // as this program left them
  std::map<TreePath, EventSource> unclosed_;  // files that have come and were not told yet

  bool rootThere_ = false;
  std::string rootReason_;
  Retry retry_;
};

}  // namespace Oru::Mount
