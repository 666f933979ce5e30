#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "runtime/ringlog/Layout.h"

namespace Ringlog {

// A message as its description has it; valid until the descriptions are read again.
struct Message {
  TextStyle style;
  unsigned line;
  std::string_view file;
  std::string_view function;
  std::string_view codes;
  std::string_view text;
};

// A trace file as the reader sees it: bytes that are read, never mapped, so that a file that
// shrinks is an error and not a fault. Everything taken from it is checked.
class FileView {
 public:
  // Checks the header. Raises ReadError. The file descriptor stays the caller's.
  FileView(int fd, std::string name);

  Layout::FileHeader const& header() const noexcept { return header_; }
  Layout::Sections const& sections() const noexcept { return sections_; }

  // Reads the parts of the header and the descriptions that change while a process writes.
  void refresh();

  // Null when the id is not registered or its description makes no sense.
  std::optional<Message> message(std::uint64_t id) const;

  // The counter value as nanoseconds of wall-clock time.
  std::int64_t wallNanoseconds(std::uint64_t ticks) const noexcept;

  void read(std::uint64_t offset, void* to, std::size_t bytes) const;
  template <typename T>
  T read(std::uint64_t offset) const {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    read(offset, &value, sizeof value);
    return value;
  }

 private:
  [[noreturn]] void fail(std::uint64_t offset, std::string const& reason) const;
  Layout::FileHeader checkedHeader() const;
  void checkGeometry(Layout::FileHeader const& header) const;

  int fd_;
  std::string name_;
  Layout::FileHeader header_;
  Layout::Sections sections_;
  std::vector<std::uint32_t> ids_;
  std::vector<char> descriptions_;
};

}  // namespace Ringlog
