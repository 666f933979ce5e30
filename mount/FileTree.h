#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "mount/Backend.h"
#include "mount/TreePath.h"
#include "mount/UniqueFd.h"

namespace Oru::Mount {

// What tells one state of a file from another; all zero when there is no file.
struct FileStamp {
  FileStamp() noexcept = default;
  explicit FileStamp(struct ::stat const& status) noexcept;
  bool operator==(FileStamp const&) const = default;

  std::uint64_t inode = 0, size = 0;
  std::int64_t seconds = 0, nanoseconds = 0;  // of the last writing
};

// The state tree as files, without watching: one directory per directory, one `<name>.json` per
// value. Operations have the meaning of Backend's. It needs no event loop; a program that only
// reads or writes once uses it directly.
//
//   values       written to a temporary name beside their place, closed and renamed: whoever watches
//                the directory is told of the value once; mode 0640, at most `sizeLimit` bytes
//   directories  mode 0750
//   names        see TreePath.h; names that begin with a dot are nobody's and are passed over
//   security     every step below the root is opened without following links, so nobody who may
//                write somewhere in the tree leads a reader or writer out of it; only regular files
//                are read
//   durability   none: a tree must not outlive the boot, and against the end of a process the
//                renames are enough
class FileTree {
 public:
  static constexpr std::size_t sizeLimit = 1U << 20;
  static constexpr mode_t fileMode = 0640;
  static constexpr mode_t directoryMode = 0750;

  explicit FileTree(std::string root) : root_(std::move(root)) {}

  std::string const& root() const noexcept { return root_; }

  // While the root is not there, the root lists as absent, everything below it as refused for the
  // time being, and writers fail with std::errc::no_such_device.
  Backend::Listing list(TreePath const& directory) const;
  Backend::Reading read(TreePath const& value) const;
  // `written` gets the stamp of the very file that was put.
  std::error_code put(TreePath const& value, std::string_view text,
                      FileStamp* written = nullptr) const;
  std::error_code remove(TreePath const& value) const;
  std::error_code makeDirectory(TreePath const& directory) const;
  std::error_code removeDirectory(TreePath const& directory) const;
  // Makes the root and what is missing above it.
  std::error_code makeRoot() const;
  // Removes the files that writers which have died since did not come to rename, in the directory and
  // below it. (One that is in another process namespace only looks dead from here. Its put() fails.)
  void removeHalfWritten(TreePath const& directory) const;

  // The directory, opened for openat() and the like; an error of the system otherwise.
  enum class Missing : bool { refuse, make };
  UniqueFd openDirectory(TreePath const& directory, Missing missing, std::error_code& error) const;

  // The state of the file at the value's place, links not followed; nothing when there is none.
  std::optional<struct ::stat> status(TreePath const& value) const;
  FileStamp stamp(TreePath const& value) const;

 private:
  std::string const root_;
};

// What a file that stands in no tree holds, read as those of a tree are: a regular file of at most
// FileTree::sizeLimit bytes, and nothing is waited for. Links are followed.
Backend::Reading readOrdinaryFile(std::string const& path);

// A file name's meaning in a directory of a tree.
struct TreeFileName {
  enum class Form { hidden, value, other };
  static TreeFileName of(std::string_view fileName);

  Form form;
  std::optional<std::string> name;  // of a value without its extension; nothing when it is no name
};

}  // namespace Oru::Mount
