#include "sim/StatusFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace Oru::Sim {

namespace {

using Mount::FileTree;
using Mount::UniqueFd;

std::error_code lastError() { return {errno, std::generic_category()}; }

// Begins with a dot: nobody's. A process writes one file at a time.
std::string temporaryName() { return ".oru-sim-" + std::to_string(::getpid()); }

std::error_code writeTemporary(int folder, std::string const& name, std::string_view text) {
  ::unlinkat(folder, name.c_str(), 0);  // left behind by an earlier process of that number
  UniqueFd const file(
      ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FileTree::fileMode));
  if (!file || ::fchmod(file.get(), FileTree::fileMode) < 0) return lastError();
  ssize_t const written = ::write(file.get(), text.data(), text.size());
  if (written < 0) return lastError();
  bool const whole = static_cast<std::size_t>(written) == text.size();
  return whole ? std::error_code() : std::make_error_code(std::errc::no_space_on_device);
}

}  // namespace

std::error_code StatusFolder::putFirst(std::string_view chip, std::string_view text) const {
  std::error_code const error = put(chip, text, RENAME_NOREPLACE);
  return error == std::errc::file_exists ? std::error_code() : error;
}

std::error_code StatusFolder::replace(std::string_view chip, std::string_view text) const {
  return put(chip, text, 0);
}

std::error_code StatusFolder::put(std::string_view chip, std::string_view text,
                                  unsigned renameFlags) const {
  std::error_code error;
  UniqueFd const folder = tree_.openDirectory(path_, FileTree::Missing::refuse, error);
  if (!folder) return error;
  std::string const temporary = temporaryName();
  std::string const name = Mount::encodedName(chip) + ".json";
  error = writeTemporary(folder.get(), temporary, text);
  if (!error &&
      ::renameat2(folder.get(), temporary.c_str(), folder.get(), name.c_str(), renameFlags) < 0) {
    error = lastError();
  }
  if (error) ::unlinkat(folder.get(), temporary.c_str(), 0);
  return error;
}

std::error_code StatusFolder::remove() const {
  std::error_code error;
  UniqueFd const parent = tree_.openDirectory(path_.parent(), FileTree::Missing::refuse, error);
  if (!parent) return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
  // Renamed first: nobody sees a folder that has lost only some of its files.
  std::string const name = Mount::encodedName(path_.leaf());
  std::string const hidden = temporaryName();
  std::string const hiddenPath = tree_.root() + "/status/" + hidden;
  std::filesystem::remove_all(hiddenPath, error);
  if (::renameat(parent.get(), name.c_str(), parent.get(), hidden.c_str()) < 0) {
    return errno == ENOENT ? std::error_code() : lastError();
  }
  std::filesystem::remove_all(hiddenPath, error);
  return error;
}

bool StatusFolder::exists() const {
  std::error_code error;
  return static_cast<bool>(tree_.openDirectory(path_, FileTree::Missing::refuse, error));
}

}  // namespace Oru::Sim
