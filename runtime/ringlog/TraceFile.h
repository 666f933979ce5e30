#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MappedFile.h"
#include "runtime/ringlog/Ring.h"
#include "runtime/vunda/Export.h"

namespace Ringlog {

// Sizes of a trace file. Out of range raises std::invalid_argument, which names the value.
struct TraceFileSizes {
  std::uint64_t ringBytes = 256 * 1024;  // each ring; a power of two, 64 KiB to 16 MiB
  std::uint32_t messages = 4096;         // call sites that can be described; 1 to 65536
  std::uint32_t descriptionBytes =
      256 * 1024;  // for their texts; 4 KiB to 16 MiB, rounded up to 4 KiB
};

// A memory-mapped trace file: one ring of records per level, and the description of every message,
// so that a reader needs nothing else. The process's memory is the file: what was written is there
// after the process has crashed or was killed. Pages are allocated, read in and written once when
// the file is made, so that a record finds them there. (In a file system on a disk the first record
// on a page that the kernel has written back meanwhile is noticed anew, and may wait: a trace that
// never may lies in memory, below /run.)
//
// The file is made anew; a file of that name keeps its content as `path`.previous, and anything else
// of that name is refused. Raises std::system_error, which names the file and the step that failed.
class ORU_EXPORT TraceFile {
 public:
  explicit TraceFile(std::string path, TraceFileSizes const& sizes = {});
  ~TraceFile();
  TraceFile(TraceFile const&) = delete;
  TraceFile& operator=(TraceFile const&) = delete;

  std::string const& path() const noexcept { return file_.path(); }

  // The ring of a level, 1 to `levels`.
  Ring& ring(unsigned level) noexcept;

  // Whether the message is described in this file: not 0, inside the id table, and its entry is
  // set.
  bool isRegistered(std::int32_t id) const noexcept;

  // Describes message `id` in the file. False when the id lies outside the table or the text area
  // is full. Any thread.
  bool describe(std::int32_t id, Layout::Description const& description, std::string_view texts);

  // Counts a record that was not written because its message could not be described.
  void countDroppedRecord() noexcept;
  std::uint64_t recordsDropped() const noexcept;

  // Takes the time anew for the readers' translation of counter values to wall-clock time. Done
  // whenever a message is described and when the file is closed; a process that lives for days
  // calls it every few minutes. Any thread.
  void calibrate() noexcept;

  // Calibrates, and waits until what was written is on the disk.
  void flush() noexcept;

 private:
  void mapAll();
  void writeHeader();

  TraceFileSizes const sizes_;
  Layout::Sections const sections_;
  MappedFile file_;
  Layout::FileHeader* header_ = nullptr;
  std::uint32_t* ids_ = nullptr;
  std::byte* descriptions_ = nullptr;
  std::byte* rings_ = nullptr;
  std::mutex mutex_;  // descriptions and clock pairs
};

}  // namespace Ringlog
