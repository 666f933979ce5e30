#pragma once

// What a trace file holds, byte by byte; shared by the writer and the reader.
// docs/ring-trace-format.md is the same in prose, with one record worked through.
//
//   0          FileHeader
//   4096       id table: one 32-bit word per message id, where in the file its description is; 0
//              = not set
//   + table    descriptions: Description and its texts, one after the other, at multiples of 4
//   + ...      rings, level 1 first, each: 4096 bytes RingControl, then ringBytes of records
//
// All numbers are in the byte order of the machine that wrote the file, which the header tells.
// Nothing in the file is a pointer.

#include <cstddef>
#include <cstdint>

namespace Ringlog {

// Levels 1 to `levels` have a ring each: level n the ring n - 1.
inline constexpr unsigned levels = 16;

// Limits of one message. A longer string or text loses its tail.
inline constexpr std::size_t maxArguments = 16;
inline constexpr std::size_t maxStringBytes = 2048;
inline constexpr std::size_t maxNameBytes = 1024;
inline constexpr std::size_t maxTextBytes = 4096;

// Type codes of arguments, and how a record holds each (packed, no padding between arguments).
enum class TypeCode : char {
  String = 'p',    // 16-bit length, then the characters
  Double = 'd',    // 8 bytes
  Unsigned = 'u',  // 8 bytes
  Signed = 'i',    // 8 bytes
  Bool = 'b',      // 1 byte
};

// Which placeholders a message's text has.
enum class TextStyle : std::uint8_t {
  Braces = '{',   // "{}": numbers in their shortest form
  Percent = '%',  // "%s", "%x": as a standard stream prints, doubles with six digits
};

namespace Layout {

inline constexpr char magic[8] = {'R', 'I', 'N', 'G', 'L', 'O', 'G', '\n'};
inline constexpr std::uint32_t byteOrderMark = 0x01020304;
inline constexpr std::uint32_t version = 1;
inline constexpr std::size_t pageBytes = 4096;
inline constexpr std::uint64_t minRingBytes = 64 * 1024;
inline constexpr std::uint64_t maxRingBytes = 16 * 1024 * 1024;
inline constexpr std::uint32_t maxMessages = 64 * 1024;
inline constexpr std::uint32_t maxDescriptionBytes = 16 * 1024 * 1024;

// The counter at a moment of wall-clock time (nanoseconds since 1970, UTC).
struct ClockPair {
  std::uint64_t ticks;
  std::int64_t wallNanoseconds;
};

// Which counter the records' time stamps are read from. A reader needs only the clock pairs; this
// is for people.
enum class ClockKind : std::uint32_t {
  TimeStampCounter = 1,
  VirtualCounter = 2,
  MonotonicClock = 3
};

struct FileHeader {
  char magic[8];
  std::uint32_t byteOrder;
  std::uint32_t version;
  std::uint64_t fileBytes;
  std::uint64_t ringBytes;  // a power of two
  std::uint32_t ringCount;
  std::uint32_t messageCapacity;   // words of the id table
  std::uint32_t descriptionBytes;  // size of the area of descriptions, a multiple of 4096
  std::uint32_t descriptionUsed;   // of these, in use
  std::uint32_t processId;
  ClockKind clockKind;
  std::uint64_t recordsDropped;  // not written because their message could not be described
  ClockPair opened;              // taken when the file was made
  ClockPair latest[2];           // the newer of the two is latest[latestCount & 1]
  std::uint32_t latestCount;     // pairs taken since
  std::uint32_t reserved;
};
static_assert(sizeof(FileHeader) == 120);

// Followed by the file's name, the function's name, the type codes and the text, without
// terminators.
struct Description {
  std::uint32_t line;
  std::uint16_t fileBytes;
  std::uint16_t functionBytes;
  std::uint16_t textBytes;
  std::uint8_t codeCount;
  TextStyle style;
};
static_assert(sizeof(Description) == 12);

// `position` counts all bytes ever reserved in the ring; the next record begins at data[position &
// mask].
struct RingControl {
  std::uint64_t position;
  std::uint64_t mask;  // ringBytes - 1
};
static_assert(sizeof(RingControl) == 16);

// Followed by the arguments. Records begin at multiples of 8.
struct RecordHeader {
  std::uint64_t tag;  // (id << idShift) + the position behind the record; written last
  std::uint64_t ticks;
};
static_assert(sizeof(RecordHeader) == 16);

// A tag's upper bits are the id, its lower ones the position. The sum may carry from the one into
// the other: a reader subtracts the position.
inline constexpr unsigned idShift = 48;
static_assert(maxMessages <= 1u << (64 - idShift));

inline constexpr std::size_t recordAlignment = 8;
inline constexpr std::size_t maxRecordBytes =
    sizeof(RecordHeader) + maxArguments * (sizeof(std::uint16_t) + maxStringBytes);
static_assert(maxRecordBytes < minRingBytes);

constexpr std::uint64_t roundUp(std::uint64_t value, std::uint64_t to) {
  return (value + to - 1) & ~(to - 1);
}

// Where the parts of a file begin.
struct Sections {
  std::uint64_t ids = pageBytes;
  std::uint64_t descriptions;
  std::uint64_t rings;
  std::uint64_t ringStride;
  std::uint64_t fileBytes;

  constexpr Sections(std::uint32_t messageCapacity, std::uint32_t descriptionBytes,
                     std::uint32_t ringCount, std::uint64_t ringBytes)
      : descriptions(ids + roundUp(messageCapacity * sizeof(std::uint32_t), pageBytes)),
        rings(descriptions + descriptionBytes),
        ringStride(pageBytes + ringBytes),
        fileBytes(rings + ringCount * ringStride) {}
};

}  // namespace Layout

}  // namespace Ringlog
