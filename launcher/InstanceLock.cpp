#include "launcher/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace Oru::Launcher {

namespace {

std::string holder(int file) {
  std::array<char, 16> text{};
  auto const size = pread(file, text.data(), text.size(), 0);
  std::string_view const number(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return std::string(number.substr(0, number.find('\n')));
}

}  // namespace

InstanceLock::InstanceLock(std::string const& file)
    : file_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640)) {
  auto const fail = [&file] { throw std::system_error(errno, std::generic_category(), file); };
  if (!file_) fail();
  if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK) fail();
    throw LockedError("process " + holder(file_.get()) + " holds " + file);
  }
  std::string const number = std::to_string(getpid()) + '\n';
  auto const length = static_cast<off_t>(number.size());
  if (ftruncate(file_.get(), 0) != 0 ||
      pwrite(file_.get(), number.data(), number.size(), 0) != length) {
    // The number is only for the message; a full disk must not keep the launcher from running.
    return;
  }
}

bool InstanceLock::isOn(std::string const& file) const {
  struct stat mine {};
  struct stat named {};
  return fstat(file_.get(), &mine) == 0 && lstat(file.c_str(), &named) == 0 &&
         mine.st_dev == named.st_dev && mine.st_ino == named.st_ino;
}

}  // namespace Oru::Launcher
