#include "runtime/ringlog/MappedFile.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "runtime/ringlog/Layout.h"

namespace Ringlog {

namespace {

// A page of a shared mapping that was read in and never written still faults at its first write.
void writeEachPage(std::byte volatile* at, std::uint64_t bytes) noexcept {
  for (std::uint64_t offset = 0; offset < bytes; offset += Layout::pageBytes)
    at[offset] = at[offset];
}

}  // namespace

MappedFile::MappedFile(std::string path, std::uint64_t fileBytes, std::uint64_t addressBytes)
    : path_(std::move(path)),
      temporaryPath_(path_ + ".new." + std::to_string(getpid())),
      addressBytes_(addressBytes) {
  try {
    create(fileBytes);
    reserveAddresses();
  } catch (...) {
    release();
    throw;
  }
}

MappedFile::~MappedFile() { release(); }

void MappedFile::create(std::uint64_t fileBytes) {
  constexpr mode_t ownerWritesGroupReads = 0640;
  unlink(temporaryPath_.c_str());
  fd_ = open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
             ownerWritesGroupReads);
  if (fd_ < 0) fail("cannot create");
  // Allocated now: a full disk is an error here, not a fault of the process at some later record.
  errno = posix_fallocate(fd_, 0, static_cast<off_t>(fileBytes));
  if (errno != 0) fail("cannot allocate its space");
}

void MappedFile::reserveAddresses() {
  void* const at =
      mmap(nullptr, addressBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (at == MAP_FAILED) fail("cannot reserve addresses");
  addresses_ = static_cast<std::byte*>(at);
}

std::byte* MappedFile::map(std::uint64_t addressOffset, std::uint64_t fileOffset,
                           std::uint64_t bytes) {
  void* const at = mmap(addresses_ + addressOffset, bytes, PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_FIXED | MAP_POPULATE, fd_, static_cast<off_t>(fileOffset));
  if (at == MAP_FAILED) fail("cannot map");
  writeEachPage(static_cast<std::byte*>(at), bytes);
  return static_cast<std::byte*>(at);
}

void MappedFile::publish() {
  requireFileOrNothing();
  std::string const previous = path_ + ".previous";
  if (rename(path_.c_str(), previous.c_str()) != 0 && errno != ENOENT) {
    fail("cannot set the previous file aside");
  }
  if (rename(temporaryPath_.c_str(), path_.c_str()) != 0) fail("cannot give it its name");
  temporaryPath_.clear();
}

// Whoever names a directory or a device did not mean to have it moved away.
void MappedFile::requireFileOrNothing() const {
  struct stat there {};
  if (stat(path_.c_str(), &there) != 0 || S_ISREG(there.st_mode)) return;
  errno = S_ISDIR(there.st_mode) ? EISDIR : EEXIST;
  fail("cannot set aside what is no file");
}

void MappedFile::sync() const noexcept { fdatasync(fd_); }

void MappedFile::fail(char const* step) const {
  throw std::system_error(errno, std::generic_category(), "trace file \"" + path_ + "\": " + step);
}

void MappedFile::release() noexcept {
  if (addresses_ != nullptr) {
    static_cast<void>(mmap(addresses_, addressBytes_, PROT_NONE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0));
  }
  if (fd_ >= 0) close(fd_);
  if (!temporaryPath_.empty()) unlink(temporaryPath_.c_str());
}

}  // namespace Ringlog
