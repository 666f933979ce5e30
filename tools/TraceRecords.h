#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "runtime/ringlog/Reader.h"

namespace Oru::Tools {

// Goes through a trace file, and on with what is written to it: across the end of the writing
// process and the start of the next one, which puts another file in its place.
class TraceRecords {
 public:
  using Each = std::function<void(Ringlog::Record const&)>;

  // Raises Failure (exitTree) when the file cannot be read as a trace file. Levels are a mask: bit
  // n for level n.
  TraceRecords(std::string path, std::uint32_t levels);

  // Hands out what there is that was not handed out before. While the file is away, or its header
  // is still being made, there is nothing. Raises Failure when the disk fails.
  void handOut(Each const& each);

  std::uint32_t processId() const { return reader_->processId(); }
  // What keeps the trace from being whole, in words; empty when it is.
  std::string gaps() const;

 private:
  // Which file stands at the path.
  struct Identity {
    std::uint64_t device = 0, inode = 0;
    bool operator==(Identity const&) const = default;
  };

  Identity identity() const;
  void drain(Each const& each);

  std::string const path_;
  std::uint32_t const levels_;
  Identity open_;
  std::unique_ptr<Ringlog::Reader> reader_;
};

}  // namespace Oru::Tools
