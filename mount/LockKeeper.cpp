#include "mount/LockKeeper.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace Oru::Mount {

namespace {

[[noreturn]] void fail(std::string const& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

LockKeeper::LockKeeper(EventLoop& loop, ProblemList& problems, std::string const& root,
                       std::string const& program,
                       std::function<void(LockedError const&)> elsewhere)
    : problems_(problems),
      root_(root),
      file_(TreeLock::fileName(program)),
      lock_(root, program),
      inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      elsewhere_(std::move(elsewhere)),
      retry_(loop, [this] { hold(); }) {
  if (!inotify_) fail("inotify");
  ready_ = loop.io(inotify_.get(), EPOLLIN, [this](std::uint32_t) {
    alignas(inotify_event) char words[4096];
    while (::read(inotify_.get(), words, sizeof words) > 0) {
    }
    hold();
  });
  renew();
}

void LockKeeper::hold() {
  using Activity = ProblemList::Activity;
  try {
    renew();
    problems_.clear(Activity::write, file_);
    retry_.settled();
  } catch (LockedError const& error) {
    elsewhere_(error);
  } catch (std::system_error const& error) {
    problems_.report(Activity::write, file_, {}, error.code().message());
    retry_.later();
  }
}

// Watching first and looking afterwards misses nothing that happens in between.
void LockKeeper::renew() {
  watchFolder();
  lock_.renew();
}

void LockKeeper::watchFolder() {
  int const folder = ::inotify_add_watch(inotify_.get(), root_.c_str(),
                                         IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR);
  if (folder < 0) fail(root_);
  int const before = std::exchange(folder_, folder);
  if (before >= 0 && before != folder) ::inotify_rm_watch(inotify_.get(), before);
}

}  // namespace Oru::Mount
