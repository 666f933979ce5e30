#include "mount/FileWatcher.h"

#include <sys/epoll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <utility>

namespace Oru::Mount {

namespace {

constexpr std::uint32_t watchMask = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                    IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF |
                                    IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr std::uint32_t parentMask = IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM |
                                     IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t gone = IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t ownMask = IN_MOVED_TO | IN_DELETE;
constexpr std::chrono::milliseconds longestWriting{100};

std::error_code lastError() { return {errno, std::generic_category()}; }

// Watches exactly the directory that is open, whatever has happened to its path meanwhile.
int addWatch(int inotify, int directory, std::uint32_t mask) {
  std::string const path = "/proc/self/fd/" + std::to_string(directory);
  return ::inotify_add_watch(inotify, path.c_str(), mask);
}

std::filesystem::path normal(std::string const& root) {
  auto const path = std::filesystem::path(root).lexically_normal();
  return path.has_filename() ? path : path.parent_path();
}

std::string parentOf(std::string const& root) {
  auto const parent = normal(root).parent_path().string();
  return parent.empty() ? "." : parent;
}

}  // namespace

FileWatcher::FileWatcher(EventLoop& loop, FileTree const& tree)
    : loop_(loop), tree_(tree), watches_(loop), retry_(loop, [this] {
        tryAgain();
        watches_.deliver();
      }) {
  openInotify();
}

WatchList::Id FileWatcher::add(TreePath const& directory, Backend::Observer& observer) {
  bool const first = watches_.empty();
  auto const id = watches_.add(directory, observer);
  if (first)
    startAfresh();
  else if (rootThere_)
    arm({});
  else
    watches_.notice({}, [reason = rootReason_](auto& other) { other.rootLost(reason); });
  return id;
}

void FileWatcher::remove(WatchList::Id id) {
  watches_.remove(id);
  std::vector<TreePath> idle;
  for (auto const& [directory, wd] : armed_)
    if (!watches_.concerns(directory)) idle.push_back(directory);
  for (auto const& directory : idle) disarm(directory);
}

void FileWatcher::ownWrite(TreePath const& value, FileStamp const& left) {
  if (armed_.contains(value.parent()) && watches_.watches(value)) own_[value] = left;
}

// Arming first and listing afterwards misses nothing that appears in between.
void FileWatcher::arm(TreePath const& directory) {
  if (directory.size() > Backend::deepestDirectory || !armOne(directory)) return;
  for (auto const& member : tree_.list(directory).members) {
    auto const child = directory / member.name;
    if (member.kind == Backend::Kind::directory && watches_.concerns(child)) arm(child);
  }
}

bool FileWatcher::armOne(TreePath const& directory) {
  std::error_code error;
  UniqueFd const opened = tree_.openDirectory(directory, FileTree::Missing::refuse, error);
  int wd = -1;
  if (opened && (wd = addWatch(inotify_.get(), opened.get(), watchMask)) < 0) error = lastError();
  if (error) {
    armingFailed(directory, error);
    return false;
  }
  directoryOf_[wd] = directory;
  armed_[directory] = wd;
  struct ::stat status {};
  if (directory.isRoot() && ::fstat(opened.get(), &status) == 0)
    root_ = {status.st_dev, status.st_ino};
  if (failed_.erase(directory))
    watches_.notice(directory, [=](auto& observer) { observer.watchBack(directory); });
  return true;
}

void FileWatcher::armingFailed(TreePath const& directory, std::error_code error) {
  if (directory.isRoot()) return rootMissing(error);
  bool const nothingToWatch =
      error == std::errc::no_such_file_or_directory || error == std::errc::no_such_device ||
      error == std::errc::not_a_directory || error == std::errc::too_many_symbolic_link_levels;
  if (!nothingToWatch && failed_.insert(directory).second)
    watches_.notice(directory, [=, reason = error.message()](auto& observer) {
      observer.watchLost(directory, reason);
    });
  if (!failed_.empty()) retry_.later();
}

void FileWatcher::disarm(TreePath const& directory) {
  for (auto at = armed_.lower_bound(directory); at != armed_.end() && at->first.isWithin(directory);
       at = armed_.erase(at)) {
    auto const known = directoryOf_.find(at->second);
    if (known == directoryOf_.end() || known->second != at->first) continue;
    ::inotify_rm_watch(inotify_.get(), at->second);
    directoryOf_.erase(known);
  }
  for (auto at = failed_.lower_bound(directory); at != failed_.end() && at->isWithin(directory);
       at = failed_.erase(at))
    watches_.notice(*at, [path = *at](auto& observer) { observer.watchBack(path); });
}

void FileWatcher::openInotify() {
  ready_.reset();
  inotify_ = UniqueFd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!inotify_) throw std::system_error(lastError(), "inotify");
  ready_ = loop_.io(inotify_.get(), EPOLLIN, [this](std::uint32_t) { readEvents(); });
  ++epoch_;
  parentWatch_ = -1;
  directoryOf_.clear();
  armed_.clear();
  own_.clear();
  unclosed_.clear();
}

// The root may have been exchanged without a word, when words were lost.
void FileWatcher::startAfresh() {
  openInotify();
  FileId const before = root_;
  bool const wasThere = std::exchange(rootThere_, true);
  watchParent();
  arm({});
  if (!rootThere_) return;
  if (failed_.empty()) retry_.settled();
  if (wasThere && before != root_) tellRootLost("the root is another one");
  tellRootBack();
}

void FileWatcher::tellRootLost(std::string reason) {
  rootReason_ = std::move(reason);
  watches_.notice({}, [reason = rootReason_](auto& observer) { observer.rootLost(reason); });
}

void FileWatcher::tellRootBack() {
  if (rootReason_.empty()) return;
  rootReason_.clear();
  watches_.notice({}, [](auto& observer) { observer.rootBack(); });
}

// Whether what stands at the root's place is the directory that is armed.
bool FileWatcher::isArmedRoot() const {
  struct ::stat status {};
  return ::stat(tree_.root().c_str(), &status) == 0 &&
         root_ == FileId{status.st_dev, status.st_ino};
}

void FileWatcher::watchParent() {
  parentWatch_ = ::inotify_add_watch(inotify_.get(), parentOf(tree_.root()).c_str(), parentMask);
}

void FileWatcher::rootGone() {
  rootThere_ = false;
  tellRootLost("the root is gone or another one");
  startAfresh();
  if (rootThere_) watches_.noteDirectory({});
}

void FileWatcher::rootMissing(std::error_code error) {
  openInotify();
  rootThere_ = false;
  if (rootReason_.empty()) tellRootLost(error.message());
  watchParent();
  retry_.later();
}

void FileWatcher::tryAgain() {
  if (!rootThere_) {
    startAfresh();
    if (rootThere_) watches_.noteDirectory({});
    return;
  }
  for (auto const& directory : std::set<TreePath>(failed_)) {
    arm(directory);
    if (!failed_.contains(directory)) watches_.noteDirectory(directory);
  }
  if (failed_.empty()) retry_.settled();
}

void FileWatcher::readEvents() {
  alignas(inotify_event) char buffer[65536];
  ssize_t const length = ::read(inotify_.get(), buffer, sizeof buffer);
  if (length <= 0) return;
  if (!rootThere_) {
    tryAgain();
    return watches_.deliver();
  }
  bool overflow = false;
  auto const epoch = epoch_;
  for (char const* at = buffer; at < buffer + length;) {
    auto const& event = *reinterpret_cast<inotify_event const*>(at);
    at += sizeof(inotify_event) + event.len;
    overflow = overflow || (event.mask & IN_Q_OVERFLOW) != 0;
    handleEvent(event);
    if (epoch_ != epoch) break;
  }
  if (overflow && epoch_ == epoch) {
    watches_.notice({}, [](auto& observer) { observer.wordLost(); });
    startAfresh();
    watches_.noteDirectory({});
  }
  watches_.deliver();
}

void FileWatcher::handleEvent(inotify_event const& event) {
  if (event.wd == parentWatch_) return handleParent(event);
  auto const known = directoryOf_.find(event.wd);
  if (known == directoryOf_.end()) return;
  TreePath const directory = known->second;
  if (event.len == 0) return handleSelf(directory, event);
  bool const isDirectory = (event.mask & IN_ISDIR) != 0;
  if (isDirectory)
    handleDirectory(directory, event.name, event.mask);
  else
    handleFile(directory, event.name, event.mask);
}

void FileWatcher::handleParent(inotify_event const& event) {
  bool const isAboutRoot = event.len == 0 || normal(tree_.root()).filename() == event.name;
  if (isAboutRoot && !isArmedRoot()) rootGone();
}

void FileWatcher::handleSelf(TreePath const& directory, inotify_event const& event) {
  bool const unmounted = (event.mask & (IN_UNMOUNT | IN_IGNORED)) != 0;
  if (directory.isRoot()) {
    if (unmounted || (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0) return rootGone();
    if ((event.mask & IN_ATTRIB) != 0) watches_.noteDirectory({});
  } else if (unmounted) {
    disarm(directory);
    arm(directory);
    watches_.noteDirectory(directory);
  }
}

void FileWatcher::handleDirectory(TreePath const& parent, std::string_view fileName,
                                  std::uint32_t mask) {
  auto const meaning = TreeFileName::of(fileName);
  if (meaning.form == TreeFileName::Form::hidden) return;
  if (!meaning.name) return watches_.noteDirectory(parent);
  if (meaning.form == TreeFileName::Form::value) return watches_.noteValue(parent / *meaning.name);
  auto const directory = parent / *meaning.name;
  if (!watches_.concerns(directory)) return;
  if (mask & gone)
    disarm(directory);
  else
    arm(directory);
  watches_.noteDirectory(directory, (mask & gone) != 0);
}

void FileWatcher::handleFile(TreePath const& parent, std::string_view fileName,
                             std::uint32_t mask) {
  using Form = TreeFileName::Form;
  auto const meaning = TreeFileName::of(fileName);
  if (meaning.form == Form::hidden) {
    // A writer may have linked the file to its place before.
    if ((mask & IN_DELETE) != 0) noteUnclosed(parent);
    return;
  }
  if (!watches_.watches(parent)) {
    // What stands in the place of a directory on the way, or of the watched one.
    if (meaning.form == Form::other && meaning.name && watches_.concerns(parent / *meaning.name))
      watches_.noteDirectory(parent / *meaning.name);
    return;
  }
  if (meaning.form == Form::other || !meaning.name) return watches_.noteDirectory(parent);
  auto const value = parent / *meaning.name;
  if ((mask & IN_CREATE) && mayBeWritten(value)) return awaitClose(value);
  unclosed_.erase(value);
  if (!isOwnEcho(value, mask)) watches_.noteValue(value);
}

// A file that has just been made by name has a writer who will close it; a second link to a
// complete file, or what is no file, has not.
bool FileWatcher::mayBeWritten(TreePath const& value) const {
  auto const status = tree_.status(value);
  return status && S_ISREG(status->st_mode) && status->st_nlink == 1;
}

// A file that was linked into place has no such writer either, but cannot be told from a new one once
// the name that it had before is gone, or if it had none.
void FileWatcher::awaitClose(TreePath const& value) {
  unclosed_[value] = loop_.timer(longestWriting, [this, value] {
    watches_.noteValue(value);
    unclosed_.erase(value);
  });
}

void FileWatcher::noteUnclosed(TreePath const& directory) {
  for (auto at = unclosed_.lower_bound(directory);
       at != unclosed_.end() && at->first.isWithin(directory); at = unclosed_.erase(at))
    watches_.noteValue(at->first);
}

// This program renames and removes; it never writes in place. Several writes are told several times,
// of which the last removal is the last that is told.
bool FileWatcher::isOwnEcho(TreePath const& value, std::uint32_t mask) {
  auto const own = own_.find(value);
  if (own == own_.end() || (mask & ownMask) == 0) return false;
  bool const isEcho = own->second == tree_.stamp(value);
  bool const isOver = (mask & IN_DELETE) != 0 && own->second == FileStamp();
  if (!isEcho || isOver) own_.erase(own);
  return isEcho;
}

}  // namespace Oru::Mount
