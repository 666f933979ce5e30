#include "mount/FileTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <memory>

#include "mount/ProcessNumber.h"

namespace Oru::Mount {

namespace {

constexpr std::string_view extension = ".json";
constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::error_code lastError() { return {errno, std::generic_category()}; }

// The tree's root is not there.
class NoRoot final : public std::error_category {
 public:
  char const* name() const noexcept override { return "oru-tree"; }
  std::string message(int) const override { return "the tree is not there"; }
  std::error_condition default_error_condition(int) const noexcept override {
    return std::errc::no_such_device;
  }
};

std::error_code noRoot() {
  static NoRoot const category;
  return {1, category};
}

bool isAbsent(std::error_code error) { return error == std::errc::no_such_file_or_directory; }

bool isNoDirectory(std::error_code error) {
  return error == std::errc::not_a_directory || error == std::errc::too_many_symbolic_link_levels;
}

std::string fileName(TreePath const& value) { return encodedName(value.leaf()).append(extension); }

char const* typeText(mode_t mode) {
  switch (mode & S_IFMT) {
    case S_IFLNK:
      return "is a symbolic link";
    case S_IFDIR:
      return "is a directory where a file belongs";
    case S_IFREG:
      return "is a file where a directory belongs";
    case S_IFIFO:
      return "is a pipe";
    case S_IFSOCK:
      return "is a socket";
    default:
      return "is a device";
  }
}

// In one call that follows no link on the whole way. Not every kernel has it, and not every sandbox
// lets it through.
int openAtOnce(std::string const& path) {
  open_how how{};
  how.flags = directoryFlags;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how));
}

int stepInto(int parent, char const* name, FileTree::Missing missing) {
  int fd = ::openat(parent, name, directoryFlags | O_NOFOLLOW);
  if (fd >= 0 || errno != ENOENT || missing == FileTree::Missing::refuse) return fd;
  if (::mkdirat(parent, name, FileTree::directoryMode) < 0 && errno != EEXIST) return -1;
  fd = ::openat(parent, name, directoryFlags | O_NOFOLLOW);
  // The mode is ours whatever the process's mask says.
  if (fd >= 0) static_cast<void>(::fchmod(fd, FileTree::directoryMode));
  return fd;
}

std::error_code writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    ssize_t const count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code readAll(int fd, std::string& text) {
  while (text.size() <= FileTree::sizeLimit) {
    char block[16384];
    ssize_t const count = ::read(fd, block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) return {};
    text.append(block, static_cast<std::size_t>(count));
  }
  return {EFBIG, std::generic_category()};
}

// Errors of a delayed writing are told by the last chance to tell them.
std::error_code closed(UniqueFd& file) {
  // An interrupted close() has closed.
  return ::close(file.release()) < 0 && errno != EINTR ? lastError() : std::error_code();
}

constexpr std::string_view temporaryPrefix = ".oru-", temporarySuffix = ".tmp";

// One at a time per process and directory: a program writes from its event loop's thread.
std::string temporaryName() {
  return std::string(temporaryPrefix) + std::to_string(::getpid()).append(temporarySuffix);
}

// The process that writes by this name; 0 when the name is no temporary one.
pid_t writerOf(std::string_view fileName) {
  if (!fileName.starts_with(temporaryPrefix) || !fileName.ends_with(temporarySuffix)) return 0;
  char const* const begin = fileName.data() + temporaryPrefix.size();
  char const* const end = fileName.data() + fileName.size() - temporarySuffix.size();
  pid_t writer = 0;
  auto const [rest, error] = std::from_chars(begin, end, writer);
  return error == std::errc() && rest == end && writer > 0 ? writer : 0;
}

UniqueFd makeTemporary(int directory, std::string const& name) {
  int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  int fd = ::openat(directory, name.c_str(), flags, FileTree::fileMode);
  if (fd < 0 && errno == EEXIST) {  // left behind by an earlier process of that number
    ::unlinkat(directory, name.c_str(), 0);
    fd = ::openat(directory, name.c_str(), flags, FileTree::fileMode);
  }
  return UniqueFd(fd);
}

// A complete file of that name, closed.
std::error_code writeTemporary(int directory, std::string const& name, std::string_view text,
                               FileStamp* written) {
  UniqueFd file = makeTemporary(directory, name);
  if (!file) return lastError();
  std::error_code error = writeAll(file.get(), text);
  struct stat status {};
  if (!error && ::fstat(file.get(), &status) < 0) error = lastError();
  // The mode is ours whatever the process's mask says.
  bool const isMasked = (status.st_mode & ALLPERMS) != FileTree::fileMode;
  if (!error && isMasked && ::fchmod(file.get(), FileTree::fileMode) < 0) error = lastError();
  if (!error && written) *written = FileStamp(status);
  auto const closing = closed(file);
  return error ? error : closing;
}

struct CloseDirectory {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

// Calls `each` with every file name but `.` and `..`.
template <class Each>
std::error_code forEachFile(UniqueFd directory, Each&& each) {
  DirectoryStream const stream(::fdopendir(directory.get()));
  if (!stream) return lastError();
  static_cast<void>(directory.release());
  for (;;) {
    errno = 0;
    dirent const* const entry = ::readdir(stream.get());
    if (!entry) return errno ? lastError() : std::error_code();
    std::string_view const name = entry->d_name;
    if (name != "." && name != "..") each(::dirfd(stream.get()), *entry);
  }
}

mode_t typeOf(int directory, dirent const& entry) {
  if (entry.d_type != DT_UNKNOWN) return static_cast<mode_t>(DTTOIF(entry.d_type));
  struct stat status {};
  if (::fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) < 0) return 0;
  return status.st_mode & S_IFMT;
}

void addFile(Backend::Listing& listing, char const* fileName, mode_t type) {
  auto const meaning = TreeFileName::of(fileName);
  using Form = TreeFileName::Form;
  if (meaning.form == Form::hidden || type == 0) return;
  bool const isDirectory = S_ISDIR(type);
  // Whatever stands at the place of a value is a member; reading it says what is wrong.
  auto const kind =
      isDirectory && meaning.form == Form::other ? Backend::Kind::directory : Backend::Kind::value;
  if (meaning.form == Form::other && !isDirectory) {
    listing.strays.push_back({fileName, S_ISREG(type) ? "is not a .json file" : typeText(type)});
  } else if (!meaning.name) {
    listing.strays.push_back({fileName, "is not the encoding of a name"});
  } else {
    listing.members.push_back({*meaning.name, kind});
  }
}

Backend::Reading refused(std::string reason) {
  return {Backend::Reading::State::refused, {}, std::move(reason), false};
}

Backend::Reading failed(std::error_code error) {
  if (isAbsent(error)) return {};
  if (isNoDirectory(error)) return refused("is not in a directory");
  return {Backend::Reading::State::refused, {}, error.message(), true};
}

// `links` is O_NOFOLLOW, or 0 to follow them.
Backend::Reading readFile(int directory, char const* name, int links) {
  // Not to block on a pipe, not to become a terminal's owner; the type is looked at before anything
  // is read.
  UniqueFd const file(
      ::openat(directory, name, O_RDONLY | links | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) {
    if (errno == ELOOP) return refused(typeText(S_IFLNK));
    // A socket, or a device without driver.
    return errno == ENXIO ? refused("is no regular file") : failed(lastError());
  }
  struct stat status {};
  if (::fstat(file.get(), &status) < 0) return failed(lastError());
  if (!S_ISREG(status.st_mode)) return refused(typeText(status.st_mode));
  Backend::Reading reading{Backend::Reading::State::present, {}, {}, false};
  reading.text.reserve(
      std::min<std::size_t>(static_cast<std::size_t>(status.st_size), FileTree::sizeLimit) + 1);
  if (auto const error = readAll(file.get(), reading.text)) {
    if (error == std::errc::file_too_large)
      return refused("is larger than " + std::to_string(FileTree::sizeLimit) + " bytes");
    return failed(error);
  }
  return reading;
}

std::error_code removeContent(UniqueFd directory) {
  std::error_code first;
  auto const error = forEachFile(std::move(directory), [&](int parent, dirent const& entry) {
    bool const isDirectory = S_ISDIR(typeOf(parent, entry));
    if (isDirectory) {
      UniqueFd child(::openat(parent, entry.d_name, directoryFlags | O_NOFOLLOW));
      if (child) static_cast<void>(removeContent(std::move(child)));
    }
    if (::unlinkat(parent, entry.d_name, isDirectory ? AT_REMOVEDIR : 0) < 0 && errno != ENOENT &&
        !first)
      first = lastError();
  });
  return first ? first : error;
}

void removeAbandoned(UniqueFd directory, std::size_t depth) {
  static_cast<void>(forEachFile(std::move(directory), [&](int parent, dirent const& entry) {
    mode_t const type = typeOf(parent, entry);
    if (S_ISDIR(type) && depth > 0) {
      UniqueFd child(::openat(parent, entry.d_name, directoryFlags | O_NOFOLLOW));
      if (child) removeAbandoned(std::move(child), depth - 1);
    }
    pid_t const writer = S_ISREG(type) ? writerOf(entry.d_name) : 0;
    if (writer > 0 && isDead(writer)) ::unlinkat(parent, entry.d_name, 0);
  }));
}

}  // namespace

FileStamp::FileStamp(struct ::stat const& status) noexcept
    : inode(status.st_ino),
      size(static_cast<std::uint64_t>(status.st_size)),
      seconds(status.st_mtim.tv_sec),
      nanoseconds(status.st_mtim.tv_nsec) {}

TreeFileName TreeFileName::of(std::string_view fileName) {
  if (fileName.starts_with('.')) return {Form::hidden, {}};
  if (!fileName.ends_with(extension)) return {Form::other, decodedName(fileName)};
  return {Form::value, decodedName(fileName.substr(0, fileName.size() - extension.size()))};
}

Backend::Reading readOrdinaryFile(std::string const& path) {
  return readFile(AT_FDCWD, path.c_str(), 0);
}

std::error_code FileTree::makeRoot() const {
  UniqueFd at(::open(root_.starts_with('/') ? "/" : ".", directoryFlags));
  for (auto const& name : std::filesystem::path(root_).relative_path()) {
    if (!at) break;
    if (name.empty() || name == ".") continue;
    // Above the tree, links are the operator's own affair.
    bool const isMade = ::mkdirat(at.get(), name.c_str(), directoryMode) == 0;
    if (!isMade && errno != EEXIST) return lastError();
    at = UniqueFd(::openat(at.get(), name.c_str(), directoryFlags));
    if (isMade && at) static_cast<void>(::fchmod(at.get(), directoryMode));
  }
  return at ? std::error_code() : lastError();
}

UniqueFd FileTree::openDirectory(TreePath const& directory, Missing missing,
                                 std::error_code& error) const {
  error = {};
  if (UniqueFd there{openAtOnce(root_ + '/' + directory.text())}) return there;
  // Step by step, which follows the links on the way to the root, makes what is missing, or finds
  // what is in the way.
  UniqueFd at(::open(root_.c_str(), directoryFlags));
  if (!at) {
    // Without a root nothing is known about what stands below it.
    error = errno == ENOENT ? noRoot() : lastError();
    return at;
  }
  for (auto const& name : directory.names()) {
    at = UniqueFd(stepInto(at.get(), encodedName(name).c_str(), missing));
    if (!at) {
      error = lastError();
      break;
    }
  }
  return at;
}

Backend::Listing FileTree::list(TreePath const& directory) const {
  using State = Backend::Listing::State;
  Backend::Listing listing;
  std::error_code error;
  UniqueFd at = openDirectory(directory, Missing::refuse, error);
  if (at) {
    listing.state = State::present;
    error = forEachFile(std::move(at), [&](int parent, dirent const& entry) {
      addFile(listing, entry.d_name, typeOf(parent, entry));
    });
  }
  if (error) {
    if (isAbsent(error) || (error == noRoot() && directory.isRoot())) return {};
    bool const transient = !isNoDirectory(error);
    return {State::refused, {}, {}, transient ? error.message() : "is not a directory", transient};
  }
  std::ranges::sort(listing.members, {}, [](auto const& member) {
    return std::pair(std::string_view(member.name), member.kind);
  });
  std::ranges::sort(listing.strays, {}, &Backend::Stray::fileName);
  return listing;
}

Backend::Reading FileTree::read(TreePath const& value) const {
  std::error_code error;
  UniqueFd const at = openDirectory(value.parent(), Missing::refuse, error);
  if (!at) return failed(error);
  return readFile(at.get(), fileName(value).c_str(), O_NOFOLLOW);
}

std::optional<struct ::stat> FileTree::status(TreePath const& value) const {
  std::error_code error;
  UniqueFd const at = openDirectory(value.parent(), Missing::refuse, error);
  struct ::stat status {};
  if (!at || ::fstatat(at.get(), fileName(value).c_str(), &status, AT_SYMLINK_NOFOLLOW) < 0)
    return std::nullopt;
  return status;
}

FileStamp FileTree::stamp(TreePath const& value) const {
  auto const found = status(value);
  return found ? FileStamp(*found) : FileStamp();
}

std::error_code FileTree::put(TreePath const& value, std::string_view text,
                              FileStamp* written) const {
  if (text.size() > sizeLimit) return {EFBIG, std::generic_category()};
  std::error_code error;
  UniqueFd const at = openDirectory(value.parent(), Missing::make, error);
  if (!at) return error;
  std::string const temporary = temporaryName();
  error = writeTemporary(at.get(), temporary, text, written);
  if (!error && ::renameat(at.get(), temporary.c_str(), at.get(), fileName(value).c_str()) < 0)
    error = lastError();
  if (error) ::unlinkat(at.get(), temporary.c_str(), 0);
  return error;
}

std::error_code FileTree::remove(TreePath const& value) const {
  std::error_code error;
  UniqueFd const at = openDirectory(value.parent(), Missing::refuse, error);
  if (!at) return isAbsent(error) ? std::error_code() : error;
  if (::unlinkat(at.get(), fileName(value).c_str(), 0) == 0 || errno == ENOENT) return {};
  return lastError();
}

std::error_code FileTree::makeDirectory(TreePath const& directory) const {
  std::error_code error;
  static_cast<void>(openDirectory(directory, Missing::make, error));
  return error;
}

void FileTree::removeHalfWritten(TreePath const& directory) const {
  std::error_code error;
  UniqueFd at = openDirectory(directory, Missing::refuse, error);
  if (at) removeAbandoned(std::move(at), Backend::deepestDirectory - directory.size());
}

std::error_code FileTree::removeDirectory(TreePath const& directory) const {
  std::error_code error;
  UniqueFd const parent = openDirectory(directory.parent(), Missing::refuse, error);
  if (!parent) return isAbsent(error) ? std::error_code() : error;
  std::string const name = encodedName(directory.leaf());
  UniqueFd content(::openat(parent.get(), name.c_str(), directoryFlags | O_NOFOLLOW));
  if (!content) return errno == ENOENT ? std::error_code() : lastError();
  if ((error = removeContent(std::move(content)))) return error;
  if (::unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return {};
  return lastError();
}

}  // namespace Oru::Mount
