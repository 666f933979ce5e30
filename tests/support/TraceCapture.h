#pragma once

#include <string>
#include <vector>

#include "runtime/kesh/TraceHandle.h"

namespace OruTest {

// Collects the text lines of a trace handle, with the given levels on, while it lives.
class TraceCapture : private Kesh::TraceSink {
 public:
  struct Line {
    unsigned level;
    std::string file;
    unsigned line;
    std::string function;
    std::string text;
    timespec time;
    std::string handle;
  };

  explicit TraceCapture(Kesh::TraceHandle& handle,
                        std::uint32_t levels = Kesh::TraceHandle::allLevels)
      : handle_(handle), levelsBefore_(handle.levels()), sinkBefore_(handle.sinkIs(this)) {
    handle_.levelsAre(levels);
  }
  ~TraceCapture() {
    handle_.levelsAre(levelsBefore_);
    handle_.sinkIs(sinkBefore_);
  }
  TraceCapture(TraceCapture const&) = delete;
  TraceCapture& operator=(TraceCapture const&) = delete;

  std::vector<Line> const& lines() const noexcept { return lines_; }

  // "level text" of each line.
  std::vector<std::string> texts() const {
    std::vector<std::string> result;
    for (Line const& line : lines_) result.push_back(std::to_string(line.level) + " " + line.text);
    return result;
  }

  void clear() noexcept { lines_.clear(); }

 private:
  void write(Kesh::TraceLine const& line) noexcept override {
    lines_.push_back({line.level, line.file, line.line, line.function, std::string(line.text),
                      line.time, line.handle});
  }

  Kesh::TraceHandle& handle_;
  std::uint32_t levelsBefore_;
  Kesh::TraceSink* sinkBefore_;
  std::vector<Line> lines_;
};

}  // namespace OruTest
