#include "runtime/ringlog/FileView.h"

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "runtime/ringlog/Reader.h"

namespace Ringlog {

namespace {

using Layout::FileHeader;

Layout::Sections sectionsOf(FileHeader const& header) {
  return {header.messageCapacity, header.descriptionBytes, header.ringCount, header.ringBytes};
}

}  // namespace

FileView::FileView(int fd, std::string name)
    : fd_(fd), name_(std::move(name)), header_(checkedHeader()), sections_(sectionsOf(header_)) {
  refresh();
}

void FileView::fail(std::uint64_t offset, std::string const& reason) const {
  throw ReadError(name_, offset, reason);
}

void FileView::read(std::uint64_t offset, void* to, std::size_t bytes) const {
  auto* at = static_cast<char*>(to);
  while (bytes > 0) {
    ssize_t const got = pread(fd_, at, bytes, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(offset, std::string("cannot read: ") + std::strerror(errno));
    if (got == 0) fail(offset, "the file ends here");
    at += got;
    offset += static_cast<std::uint64_t>(got);
    bytes -= static_cast<std::size_t>(got);
  }
}

FileHeader FileView::checkedHeader() const {
  auto const header = read<FileHeader>(0);
  if (std::memcmp(header.magic, Layout::magic, sizeof header.magic) != 0) {
    fail(offsetof(FileHeader, magic), "not a trace file");
  }
  if (header.byteOrder != Layout::byteOrderMark) {
    fail(offsetof(FileHeader, byteOrder), "written in another byte order");
  }
  if (header.version != Layout::version) {
    fail(offsetof(FileHeader, version),
         "version " + std::to_string(header.version) + " is not known");
  }
  checkGeometry(header);
  return header;
}

void FileView::checkGeometry(FileHeader const& header) const {
  if (header.ringBytes < Layout::minRingBytes || header.ringBytes > Layout::maxRingBytes ||
      !std::has_single_bit(header.ringBytes)) {
    fail(offsetof(FileHeader, ringBytes), "impossible ring size");
  }
  if (header.ringCount < 1 || header.ringCount > levels) {
    fail(offsetof(FileHeader, ringCount), "impossible number of rings");
  }
  if (header.messageCapacity < 1 || header.messageCapacity > Layout::maxMessages) {
    fail(offsetof(FileHeader, messageCapacity), "impossible number of messages");
  }
  if (header.descriptionBytes < Layout::pageBytes ||
      header.descriptionBytes > Layout::maxDescriptionBytes ||
      header.descriptionBytes % Layout::pageBytes != 0) {
    fail(offsetof(FileHeader, descriptionBytes), "impossible size of descriptions");
  }
  if (header.fileBytes != sectionsOf(header).fileBytes) {
    fail(offsetof(FileHeader, fileBytes), "the file's size does not agree with its parts");
  }
  struct stat status {};
  if (fstat(fd_, &status) != 0) fail(0, std::string("cannot read: ") + std::strerror(errno));
  auto const actual = static_cast<std::uint64_t>(status.st_size);
  if (actual < header.fileBytes) {
    fail(actual, "the file ends here instead of at " + std::to_string(header.fileBytes));
  }
}

void FileView::refresh() {
  // Only what may change is taken over; the geometry is what was checked.
  auto const now = read<FileHeader>(0);
  header_.recordsDropped = now.recordsDropped;
  header_.opened = now.opened;
  header_.latest[0] = now.latest[0];
  header_.latest[1] = now.latest[1];
  header_.latestCount = now.latestCount;
  ids_.resize(header_.messageCapacity);
  read(sections_.ids, ids_.data(), ids_.size() * sizeof ids_[0]);
  // Read behind the ids, so that what an id points to is there.
  descriptions_.resize(header_.descriptionBytes);
  read(sections_.descriptions, descriptions_.data(), descriptions_.size());
}

std::optional<Message> FileView::message(std::uint64_t id) const {
  if (id == 0 || id >= ids_.size()) return std::nullopt;
  std::uint64_t const at = std::uint64_t{ids_[id]} - sections_.descriptions;
  Layout::Description description;
  if (at > descriptions_.size() - sizeof description) return std::nullopt;
  std::memcpy(&description, descriptions_.data() + at, sizeof description);
  std::string_view rest(descriptions_.data() + at + sizeof description,
                        descriptions_.size() - at - sizeof description);
  auto const take = [&rest](std::size_t bytes) {
    std::string_view const part = rest.substr(0, bytes);
    rest.remove_prefix(part.size());
    return part;
  };
  Message const message{description.style,           description.line,
                        take(description.fileBytes), take(description.functionBytes),
                        take(description.codeCount), take(description.textBytes)};
  bool const whole = message.file.size() == description.fileBytes &&
                     message.function.size() == description.functionBytes &&
                     message.codes.size() == description.codeCount &&
                     message.text.size() == description.textBytes;
  bool const known =
      description.style == TextStyle::Braces || description.style == TextStyle::Percent;
  if (!whole || !known || description.codeCount > maxArguments) return std::nullopt;
  return message;
}

std::int64_t FileView::wallNanoseconds(std::uint64_t ticks) const noexcept {
  Layout::ClockPair const& first = header_.opened;
  Layout::ClockPair const& last = header_.latest[header_.latestCount & 1];
  long double speed = 1;  // nanoseconds per tick
  if (last.ticks > first.ticks && last.wallNanoseconds > first.wallNanoseconds) {
    speed = (static_cast<long double>(last.wallNanoseconds) -
             static_cast<long double>(first.wallNanoseconds)) /
            static_cast<long double>(last.ticks - first.ticks);
  }
  // The difference may be negative: a record may be older than a pair that another thread took.
  long double const since = static_cast<long double>(ticks) - static_cast<long double>(first.ticks);
  long double const wall = static_cast<long double>(first.wallNanoseconds) + since * speed;
  constexpr auto lowest = static_cast<long double>(std::numeric_limits<std::int64_t>::min());
  constexpr auto highest = static_cast<long double>(std::numeric_limits<std::int64_t>::max());
  if (!(wall > lowest)) return std::numeric_limits<std::int64_t>::min();
  if (!(wall < highest)) return std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(std::floor(wall));
}

}  // namespace Ringlog
