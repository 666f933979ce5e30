#pragma once

#include <memory>
#include <string>
#include <vector>

#include "runtime/ringlog/Handle.h"
#include "runtime/ringlog/Reader.h"
#include "runtime/ringlog/TraceFile.h"
#include "tests/support/TemporaryFolder.h"

namespace OruTest {

// All records of a trace file, by time.
inline std::vector<Ringlog::Record> recordsOf(Ringlog::Reader& reader) {
  std::vector<Ringlog::Record> records;
  Ringlog::Record record;
  while (reader.next(record)) records.push_back(record);
  return records;
}
inline std::vector<Ringlog::Record> recordsOf(std::string const& path) {
  Ringlog::Reader reader(path);
  return recordsOf(reader);
}

// "level text" of each record.
inline std::vector<std::string> textsOf(std::vector<Ringlog::Record> const& records) {
  std::vector<std::string> texts;
  for (auto const& record : records) {
    texts.push_back(std::to_string(record.level) + " " + record.text);
  }
  return texts;
}

// Makes a new trace file the process's default one while it lives.
class RingTrace {
 public:
  explicit RingTrace(Ringlog::TraceFileSizes const& sizes = {})
      : before_(Ringlog::defaultRinglogHandleIs(std::make_unique<Ringlog::Handle>(
            std::make_unique<Ringlog::TraceFile>(folder_ / "trace", sizes)))) {}
  ~RingTrace() { Ringlog::defaultRinglogHandleIs(std::move(before_)); }
  RingTrace(RingTrace const&) = delete;
  RingTrace& operator=(RingTrace const&) = delete;

  std::string path() const { return folder_ / "trace"; }
  std::vector<Ringlog::Record> records() const { return recordsOf(path()); }
  std::vector<std::string> texts() const { return textsOf(records()); }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<Ringlog::Handle> before_;
};

}  // namespace OruTest
