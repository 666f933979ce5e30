#include "mount/TreeLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "mount/ProcessNumber.h"

namespace Oru::Mount {

namespace {

[[noreturn]] void fail(std::string const& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

// Nobody who holds a lock keeps a file open for writing, which would keep the file system from
// becoming read-only.
UniqueFd opened(std::string const& path, int mode) {
  return UniqueFd(::open(path.c_str(), mode | O_CLOEXEC | O_NOFOLLOW, 0640));
}

// 0 when the file does not say.
pid_t holder(UniqueFd const& file) {
  char text[16];
  auto const size = ::pread(file.get(), text, sizeof text, 0);
  pid_t process = 0;
  std::from_chars(text, text + (size > 0 ? size : 0), process);
  return process;
}

// A process that is killed while it starts another leaves the lock to that one, which gives it back
// when its own program takes its place: a matter of milliseconds, in a program that may write nothing
// before. A call that waits for the lock itself would have no time limit, hence the short sleeps.
void lock(UniqueFd const& file, std::string const& path) {
  using namespace std::chrono_literals;
  for (auto left = TreeLock::patience; ::flock(file.get(), LOCK_EX | LOCK_NB) < 0; left -= 10ms) {
    if (errno != EWOULDBLOCK) fail(path);
    pid_t const process = holder(file);
    std::string const who = process > 0 ? "process " + std::to_string(process) : "a process";
    if (left <= 0ms || !isDead(process)) throw LockedError(who + " holds " + path);
    std::this_thread::sleep_for(10ms);
  }
}

// What is said of the holder depends on the number, and no more: a full disk keeps no program from
// running.
void writeNumber(std::string const& path) {
  UniqueFd const file = opened(path, O_WRONLY | O_TRUNC);
  std::string const number = std::to_string(::getpid()) + '\n';
  if (file) static_cast<void>(::write(file.get(), number.data(), number.size()) < 0);
}

}  // namespace

TreeLock::TreeLock(std::string const& root, std::string const& program)
    : path_(root + '/' + fileName(program)) {
  take();
}

void TreeLock::renew() {
  if (file_ && isInPlace()) return;
  file_ = UniqueFd();
  take();
}

// The file may be exchanged between its opening and its locking.
void TreeLock::take() {
  do {
    UniqueFd file = opened(path_, O_RDONLY | O_CREAT);
    if (!file) fail(path_);
    lock(file, path_);
    file_ = std::move(file);
  } while (!isInPlace());
  writeNumber(path_);
}

bool TreeLock::isInPlace() const {
  struct ::stat mine {};
  struct ::stat named {};
  return ::fstat(file_.get(), &mine) == 0 && ::lstat(path_.c_str(), &named) == 0 &&
         mine.st_dev == named.st_dev && mine.st_ino == named.st_ino;
}

}  // namespace Oru::Mount
