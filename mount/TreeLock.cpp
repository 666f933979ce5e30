#include "mount/TreeLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

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

std::string holder(UniqueFd const& file) {
  char text[16];
  auto const size = ::pread(file.get(), text, sizeof text, 0);
  std::string_view const number(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  return std::string(number.substr(0, number.find('\n')));
}

// The number is only for messages: a full disk keeps no program from running.
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
    if (::flock(file.get(), LOCK_EX | LOCK_NB) < 0) {
      if (errno != EWOULDBLOCK) fail(path_);
      throw LockedError("process " + holder(file) + " holds " + path_);
    }
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
