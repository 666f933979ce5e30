#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "runtime/vunda/Export.h"

namespace Ringlog {

// A file that cannot be read as a trace file. The message names the file, the offset and the
// reason.
class ORU_EXPORT ReadError : public std::runtime_error {
 public:
  ReadError(std::string const& file, std::uint64_t offset, std::string const& reason);
  std::uint64_t offset() const noexcept { return offset_; }

 private:
  std::uint64_t offset_;
};

using Argument = std::variant<std::string, double, std::uint64_t, std::int64_t, bool>;

// One decoded record.
struct Record {
  std::int64_t wallNanoseconds = 0;  // since 1970, UTC
  std::uint64_t ticks = 0;           // the counter's value
  unsigned level = 0;                // of the message, 1 to 16; the ring is level - 1
  unsigned line = 0;
  std::string file;
  std::string function;
  std::string text;  // with the arguments filled in
  std::vector<Argument> arguments;
};

// A stretch of the file that holds no record where one should be.
struct Damage {
  std::uint64_t offset;
  std::uint64_t bytes;
  std::string reason;
};

// Reads a trace file, which may belong to a process that is writing it, or be left over from one
// that is gone:
//
//   Reader reader(path);
//   Record record;
//   while (reader.next(record)) print(record);
//   ...
//   reader.refresh();     // when following: what was written since
//
// Records of all rings come merged by time, oldest first. What happened between two looks at the
// file is merged by itself, so a record may be older than the last one of the look before. A record
// that was torn by a crash, or is being written at the moment, is left out; it comes later when it
// is complete by the next look. Records that are overwritten while being read are left out.
//
// The file is not trusted. A header that makes no sense raises ReadError; inside a ring, whatever
// is no record is skipped and listed as damage. No more memory is used than a few times the size of
// the file, which is at most `levels` rings of 16 MiB. A failing disk raises ReadError as well.
class ORU_EXPORT Reader {
 public:
  // Opens the file and takes its content in, as refresh() does.
  explicit Reader(std::string path);
  // Reads from an open file, which stays open and stays the caller's. `name` is for messages.
  Reader(int file, std::string name);
  ~Reader();
  Reader(Reader const&) = delete;
  Reader& operator=(Reader const&) = delete;

  // The next record, or false when all that was taken in has been given out.
  bool next(Record& record);

  // Takes in what was written since the last look. Does nothing while records are left to give out.
  void refresh();

  // What the last look found damaged; at most `maxDamage` places. Empty for a file that was closed
  // properly. A record that is being written shows here until it is complete.
  std::vector<Damage> const& damage() const noexcept;
  static constexpr std::size_t maxDamage = 64;

  // Bytes of records that were overwritten between two looks, so that this reader never saw them.
  std::uint64_t bytesMissed() const noexcept;

  // Records that the writer gave up because the file had no room for their message's description.
  std::uint64_t recordsDropped() const noexcept;

  // The process that wrote the file.
  std::uint32_t processId() const noexcept;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Ringlog
