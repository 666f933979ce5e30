#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Ringlog {

// A file made anew, its space allocated, mapped into a reserved stretch of addresses. Those
// addresses are never given to anything else while the process lives: after the object's death they
// are inaccessible, so a stale pointer into the file faults and is never equal to a pointer into a
// later file.
//
// The file is made under a temporary name beside `path`; publish() gives it its name, so that
// nobody sees it unfinished. Failures raise std::system_error, whose text names the file and the
// step.
class MappedFile {
 public:
  // `addressBytes` and `fileBytes` are multiples of the page size.
  MappedFile(std::string path, std::uint64_t fileBytes, std::uint64_t addressBytes);
  ~MappedFile();
  MappedFile(MappedFile const&) = delete;
  MappedFile& operator=(MappedFile const&) = delete;

  // Maps bytes of the file at an offset of the reserved addresses, ready to be written without a
  // page fault. The same bytes may be mapped twice.
  std::byte* map(std::uint64_t addressOffset, std::uint64_t fileOffset, std::uint64_t bytes);

  // Gives the file its name. A file that has the name already keeps its content under the name path
  // + ".previous"; anything else that has it is refused and stays as it is.
  void publish();

  // Waits until what was written is on the disk.
  void sync() const noexcept;

  std::string const& path() const noexcept { return path_; }

 private:
  [[noreturn]] void fail(char const* step) const;
  void create(std::uint64_t fileBytes);
  void requireFileOrNothing() const;
  void reserveAddresses();
  void release() noexcept;

  std::string path_;
  std::string temporaryPath_;
  std::uint64_t addressBytes_;
  std::byte* addresses_ = nullptr;
  int fd_ = -1;
};

}  // namespace Ringlog
