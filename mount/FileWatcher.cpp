#include "mount/FileWatcher.h"

#include <sys/epoll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
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
    : loop_(loop), tree_(tree), retry_(loop, [this] {
        tryAgain();
        deliver();
      }) {
  openInotify();
}

FileWatcher::Id FileWatcher::add(TreePath const& directory, Backend::Observer& observer) {
  bool const first = watched_.empty();
  watched_.emplace(++lastId_, Watched{directory, &observer});
  if (first) {
    startAfresh();
  } else if (rootThere_) {
    arm({});
  } else {
    notice({}, [reason = rootReason_](auto& other) { other.rootLost(reason); });
  }
  return lastId_;
}

void FileWatcher::remove(Id id) {
  watched_.erase(id);
  std::vector<TreePath> idle;
  for (auto const& [directory, wd] : armed_)
    if (!relevant(directory)) idle.push_back(directory);
  for (auto const& directory : idle) disarm(directory);
}

void FileWatcher::ownWrite(TreePath const& value, FileStamp const& left) {
  if (armed_.contains(value.parent()) && within(value)) own_[value] = left;
}

bool FileWatcher::within(TreePath const& path) const {
  return std::ranges::any_of(
      watched_, [&](auto const& entry) { return path.isWithin(entry.second.directory); });
}

bool FileWatcher::relevant(TreePath const& directory) const {
  return within(directory) || std::ranges::any_of(watched_, [&](auto const& entry) {
           return entry.second.directory.isWithin(directory);
         });
}

// Arming first and listing afterwards misses nothing that appears in between.
void FileWatcher::arm(TreePath const& directory) {
  if (!armOne(directory)) return;
  for (auto const& member : tree_.list(directory).members) {
    auto const child = directory / member.name;
    if (member.kind == Backend::Kind::directory && relevant(child)) arm(child);
  }
}

bool FileWatcher::armOne(TreePath const& directory) {
  std::error_code error;
  UniqueFd const opened = tree_.openDirectory(directory, FileTree::Missing::refuse, error);
  int wd = -1;
  if (opened && (wd = addWatch(inotify_.get(), opened.get(), watchMask)) < 0) error = lastError();
  if (!error) {
    directoryOf_[wd] = directory;
    armed_[directory] = wd;
    struct ::stat status {};
    if (directory.isRoot() && ::fstat(opened.get(), &status) == 0)
      root_ = {status.st_dev, status.st_ino};
    if (failed_.erase(directory))
      notice(directory, [=](auto& observer) { observer.watchBack(directory); });
    return true;
  }
  if (directory.isRoot()) {
    rootMissing(error);
    return false;
  }
  bool const nothingToWatch =
      error == std::errc::no_such_file_or_directory || error == std::errc::no_such_device ||
      error == std::errc::not_a_directory || error == std::errc::too_many_symbolic_link_levels;
  if (!nothingToWatch && failed_.insert(directory).second)
    notice(directory, [=, reason = error.message()](auto& observer) {
      observer.watchLost(directory, reason);
    });
  if (!failed_.empty()) retry_.later();
  return false;
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
    notice(*at, [path = *at](auto& observer) { observer.watchBack(path); });
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
}

void FileWatcher::startAfresh() {
  openInotify();
  bool const wasThere = std::exchange(rootThere_, true);
  watchParent();
  arm({});
  if (!rootThere_) return;
  if (failed_.empty()) retry_.settled();
  if (!wasThere && !rootReason_.empty()) notice({}, [](auto& observer) { observer.rootBack(); });
  rootReason_.clear();
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
  rootReason_ = "the root is gone or another one";
  notice({}, [reason = rootReason_](auto& observer) { observer.rootLost(reason); });
  startAfresh();
  if (rootThere_) noteAll();
}

void FileWatcher::rootMissing(std::error_code error) {
  openInotify();
  rootThere_ = false;
  if (rootReason_.empty()) {
    rootReason_ = error.message();
    notice({}, [reason = rootReason_](auto& observer) { observer.rootLost(reason); });
  }
  watchParent();
  retry_.later();
}

void FileWatcher::tryAgain() {
  if (!rootThere_) {
    startAfresh();
    if (rootThere_) noteAll();
    return;
  }
  for (auto const& directory : std::set<TreePath>(failed_)) {
    arm(directory);
    if (!failed_.contains(directory)) noteDirectory(directory);
  }
  if (failed_.empty()) retry_.settled();
}

void FileWatcher::readEvents() {
  alignas(inotify_event) char buffer[65536];
  ssize_t const length = ::read(inotify_.get(), buffer, sizeof buffer);
  if (length <= 0) return;
  if (!rootThere_) {
    tryAgain();
    return deliver();
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
    startAfresh();
    noteAll();
  }
  deliver();
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
    if ((event.mask & IN_ATTRIB) != 0) noteAll();
  } else if (unmounted) {
    disarm(directory);
    arm(directory);
    noteDirectory(directory);
  }
}

void FileWatcher::handleDirectory(TreePath const& parent, std::string_view fileName,
                                  std::uint32_t mask) {
  auto const meaning = TreeFileName::of(fileName);
  if (meaning.form == TreeFileName::Form::hidden) return;
  if (!meaning.name) return noteDirectory(parent);
  if (meaning.form == TreeFileName::Form::value)
    return note({parent / *meaning.name, Backend::Kind::value});
  auto const directory = parent / *meaning.name;
  if (!relevant(directory)) return;
  if (mask & gone)
    disarm(directory);
  else
    arm(directory);
  noteDirectory(directory, (mask & gone) != 0);
}

void FileWatcher::handleFile(TreePath const& parent, std::string_view fileName,
                             std::uint32_t mask) {
  auto const meaning = TreeFileName::of(fileName);
  if (meaning.form == TreeFileName::Form::hidden || !within(parent)) return;
  if (meaning.form == TreeFileName::Form::other || !meaning.name) return noteDirectory(parent);
  auto const value = parent / *meaning.name;
  if ((mask & IN_CREATE) && stillBeingWritten(value)) return;
  if (!isOwnEcho(value, mask)) note({value, Backend::Kind::value});
}

// A file that has just been made by name has a writer who will close it; a second link to a
// complete file, or what is no file, has not.
bool FileWatcher::stillBeingWritten(TreePath const& value) const {
  auto const status = tree_.status(value);
  return status && S_ISREG(status->st_mode) && status->st_nlink == 1;
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

// A directory on the way to watched ones stands for those.
void FileWatcher::noteDirectory(TreePath const& directory, bool wasGone) {
  if (within(directory)) return note({directory, Backend::Kind::directory, wasGone});
  for (auto const& [id, watched] : watched_)
    if (watched.directory.isWithin(directory))
      note({watched.directory, Backend::Kind::directory, wasGone});
}

void FileWatcher::noteAll() { noteDirectory({}); }

void FileWatcher::note(Backend::Change change) {
  auto& noted = change.kind == Backend::Kind::value ? notedValues_ : notedDirectories_;
  auto const [at, isNew] = noted.try_emplace(change.path, changes_.size());
  if (isNew)
    changes_.push_back(std::move(change));
  else
    changes_[at->second].wasGone |= change.wasGone;
  deliverSoon();
}

void FileWatcher::notice(TreePath const& path, std::function<void(Backend::Observer&)> tell) {
  notices_.push_back({path, std::move(tell)});
  deliverSoon();
}

void FileWatcher::deliverSoon() {
  if (!delivery_) delivery_ = loop_.endOfTurn([this] { deliver(); });
}

// An observer may end any watch, its own too, while it is told.
void FileWatcher::deliver() {
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

// A directory that is reported stands for everything in it.
std::vector<Backend::Change> FileWatcher::withoutCovered(
    std::vector<Backend::Change> changes) const {
  std::erase_if(changes, [this](Backend::Change const& change) {
    if (change.kind == Backend::Kind::directory && change.path.isRoot()) return false;
    for (auto above = change.path.parent();; above = above.parent()) {
      if (notedDirectories_.contains(above)) return true;
      if (above.isRoot()) return false;
    }
  });
  return changes;
}

void FileWatcher::tell(Id id, Notice const& notice) const {
  auto const watched = watched_.find(id);
  if (watched == watched_.end()) return;
  auto const& directory = watched->second.directory;
  if (notice.path.isWithin(directory) || directory.isWithin(notice.path))
    notice.tell(*watched->second.observer);
}

void FileWatcher::tell(Id id, std::vector<Backend::Change> const& changes) const {
  auto const watched = watched_.find(id);
  if (watched == watched_.end()) return;
  std::vector<Backend::Change> mine;
  for (auto const& change : changes)
    if (change.path.isWithin(watched->second.directory)) mine.push_back(change);
  if (!mine.empty()) watched->second.observer->changed(mine);
}

}  // namespace Oru::Mount
