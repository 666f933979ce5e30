#include "runtime/ringlog/TraceFile.h"

#include <atomic>
#include <bit>
#include <new>
#include <stdexcept>
#include <utility>

#include <unistd.h>

#include "runtime/ringlog/Clock.h"
#include "runtime/vunda/Assert.h"

namespace Ringlog {

namespace {

using Layout::pageBytes;

void require(bool inRange, char const* what, std::uint64_t value) {
  if (inRange) return;
  throw std::invalid_argument("trace file: " + std::to_string(value) + " is out of range for " +
                              what);
}

TraceFileSizes checked(TraceFileSizes sizes) {
  require(sizes.ringBytes >= Layout::minRingBytes && sizes.ringBytes <= Layout::maxRingBytes &&
              std::has_single_bit(sizes.ringBytes),
          "ringBytes (a power of two from 65536 to 16777216)", sizes.ringBytes);
  require(sizes.messages >= 1 && sizes.messages <= Layout::maxMessages, "messages (1 to 65536)",
          sizes.messages);
  require(
      sizes.descriptionBytes >= pageBytes && sizes.descriptionBytes <= Layout::maxDescriptionBytes,
      "descriptionBytes (4096 to 16777216)", sizes.descriptionBytes);
  sizes.descriptionBytes =
      static_cast<std::uint32_t>(Layout::roundUp(sizes.descriptionBytes, pageBytes));
  return sizes;
}

// In memory each ring takes its page, and its data twice.
std::uint64_t addressStride(TraceFileSizes const& sizes) { return pageBytes + 2 * sizes.ringBytes; }

}  // namespace

TraceFile::TraceFile(std::string path, TraceFileSizes const& sizes)
    : sizes_(checked(sizes)),
      sections_(sizes_.messages, sizes_.descriptionBytes, levels, sizes_.ringBytes),
      file_(std::move(path), sections_.fileBytes,
            sections_.rings + levels * addressStride(sizes_)) {
  if (sysconf(_SC_PAGESIZE) > static_cast<long>(pageBytes)) {
    throw std::runtime_error("trace file \"" + file_.path() + "\": pages larger than 4096 bytes");
  }
  mapAll();
  writeHeader();
  file_.publish();
}

TraceFile::~TraceFile() { calibrate(); }

void TraceFile::mapAll() {
  std::byte* const start = file_.map(0, 0, sections_.rings);
  header_ = new (start) Layout::FileHeader{};
  ids_ = reinterpret_cast<std::uint32_t*>(start + sections_.ids);
  descriptions_ = start + sections_.descriptions;
  rings_ = start + sections_.rings;
  for (unsigned index = 0; index < levels; ++index) {
    std::uint64_t const address = sections_.rings + index * addressStride(sizes_);
    std::uint64_t const inFile = sections_.rings + index * sections_.ringStride;
    std::byte* const control = file_.map(address, inFile, pageBytes + sizes_.ringBytes);
    file_.map(address + pageBytes + sizes_.ringBytes, inFile + pageBytes, sizes_.ringBytes);
    new (control) Ring(sizes_.ringBytes);
  }
}

void TraceFile::writeHeader() {
  Layout::FileHeader& header = *header_;
  std::memcpy(header.magic, Layout::magic, sizeof header.magic);
  header.byteOrder = Layout::byteOrderMark;
  header.version = Layout::version;
  header.fileBytes = sections_.fileBytes;
  header.ringBytes = sizes_.ringBytes;
  header.ringCount = levels;
  header.messageCapacity = sizes_.messages;
  header.descriptionBytes = sizes_.descriptionBytes;
  header.processId = static_cast<std::uint32_t>(getpid());
  header.clockKind = clockKind;
  header.opened = readClockPair();
  // A second pair, a millisecond later, gives the counter's speed at least roughly from the first
  // record on.
  constexpr std::int64_t shortWhile = 1000000;
  Layout::ClockPair now = header.opened;
  while (now.wallNanoseconds - header.opened.wallNanoseconds < shortWhile &&
         now.wallNanoseconds >= header.opened.wallNanoseconds) {
    now = readClockPair();
  }
  header.latest[0] = now;
}

Ring& TraceFile::ring(unsigned level) noexcept {
  ORU_ASSERT(level >= 1 && level <= levels);
  return *std::launder(reinterpret_cast<Ring*>(rings_ + (level - 1) * addressStride(sizes_)));
}

bool TraceFile::isRegistered(std::int32_t id) const noexcept {
  auto const index = static_cast<std::uint32_t>(id);
  return index != 0 && index < sizes_.messages &&
         std::atomic_ref<std::uint32_t>(ids_[index]).load(std::memory_order_acquire) != 0;
}

bool TraceFile::describe(std::int32_t id, Layout::Description const& description,
                         std::string_view texts) {
  std::lock_guard const lock(mutex_);
  if (isRegistered(id)) return true;
  auto const index = static_cast<std::uint32_t>(id);
  std::uint32_t const at = header_->descriptionUsed;
  std::uint64_t const size = Layout::roundUp(sizeof description + texts.size(), 4);
  if (index == 0 || index >= sizes_.messages || size > sizes_.descriptionBytes - at) return false;
  std::memcpy(descriptions_ + at, &description, sizeof description);
  std::memcpy(descriptions_ + at + sizeof description, texts.data(), texts.size());
  header_->descriptionUsed = static_cast<std::uint32_t>(at + size);
  std::atomic_ref<std::uint32_t>(ids_[index])
      .store(static_cast<std::uint32_t>(sections_.descriptions + at), std::memory_order_release);
  return true;
}

void TraceFile::countDroppedRecord() noexcept {
  std::atomic_ref<std::uint64_t>(header_->recordsDropped).fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t TraceFile::recordsDropped() const noexcept {
  return std::atomic_ref<std::uint64_t>(header_->recordsDropped).load(std::memory_order_relaxed);
}

void TraceFile::calibrate() noexcept {
  std::lock_guard const lock(mutex_);
  // Two slots by turns: whenever the process dies, one of them is whole and counted.
  std::uint32_t const count = header_->latestCount + 1;
  header_->latest[count & 1] = readClockPair();
  std::atomic_ref<std::uint32_t>(header_->latestCount).store(count, std::memory_order_release);
}

void TraceFile::flush() noexcept {
  calibrate();
  file_.sync();
}

}  // namespace Ringlog
