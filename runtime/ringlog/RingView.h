#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "runtime/ringlog/FileView.h"
#include "runtime/ringlog/Reader.h"

namespace Ringlog {

// One ring as the reader sees it: a copy of the part that is of interest, and what was found in it.
//
// The records found by a look are those between `seenUpTo_` and the writer's position, and those in
// holes that earlier looks left: places where a record was expected and none was complete.
class RingView {
 public:
  // A record in the copy, by the ring position at which it begins.
  struct Found {
    std::uint64_t ticks;
    std::uint64_t position;
  };

  RingView(FileView const& file, unsigned index) noexcept;

  // First half of a look: copies what is to be looked at.
  void copy();
  // Second half, after the descriptions were read (they are older than no copied record): what is
  // new, in the order of positions. Damage is added to `damage`, up to Reader::maxDamage places.
  std::vector<Found> look(std::vector<Damage>& damage);

  // Fills in a record that the last look found; file, level and time are the caller's.
  void decode(Found const& found, Record& record) const;

  std::uint64_t bytesMissed() const noexcept { return bytesMissed_; }

 private:
  struct Span {
    std::uint64_t begin;
    std::uint64_t end;
  };
  struct Parsed {
    Message message;
    std::uint64_t size;
  };

  std::uint64_t oldest(std::uint64_t position) const noexcept;
  bool tryToCopy();
  void giveUpHoles(std::uint64_t from);
  std::byte const* bytesAt(std::uint64_t position) const noexcept;
  void scan(Span span, bool beginsWithRecord, std::vector<Found>& found);
  std::optional<Parsed> parse(std::uint64_t position, std::uint64_t end) const;
  void addDamage(Span hole, std::vector<Damage>& damage) const;

  FileView const& file_;
  std::uint64_t control_;  // offsets in the file
  std::uint64_t data_;
  std::uint64_t ringBytes_;

  std::uint64_t seenUpTo_ = 0;
  bool recordBeginsThere_ = true;  // at seenUpTo_, as far as is known
  bool looked_ = false;
  std::uint64_t bytesMissed_ = 0;
  std::vector<Span> holes_;  // by position

  bool impossible_ = false;       // the position makes no sense
  std::uint64_t position_ = 0;    // of the writer, before the copy was made
  std::uint64_t intactFrom_ = 0;  // nothing from here on was overwritten meanwhile
  std::uint64_t copiedFrom_ = 0;
  std::vector<std::byte> copy_;
};

}  // namespace Ringlog
