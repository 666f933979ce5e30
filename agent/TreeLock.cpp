#include "agent/TreeLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace Oru::Agent {

namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

}  // namespace

std::error_code TreeLock::take(std::string const& root) {
  Mount::UniqueFd const directory(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return lastError();
  Mount::UniqueFd file(
      ::openat(directory.get(), fileName, O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0640));
  if (!file) return lastError();
  if (::flock(file.get(), LOCK_EX | LOCK_NB) < 0) return lastError();
  file_ = std::move(file);
  return {};
}

}  // namespace Oru::Agent
