#pragma once

// One ring of a trace file: where the records of one level go, newest over oldest. The object is
// the ring's control page in the mapped file; its data follow, mapped twice back to back, so that a
// record that runs over the end of the ring is still one piece of memory:
//
//   this          this + 4096
//   | control     | data, first mapping        | data again: the same bytes |
//                 ^0            ^begin & mask  ^ringBytes
//                               |======record======|
//
// `position_` counts bytes and never goes back. To write a record: (1) reserve, position_ += size;
// (2) write time stamp and arguments at data[begin & mask]; (3) write the tag: (id << 48) + the
// position behind the record.
//
//             oldest byte                         begin        position_
//   ...-------|----------------------------------|............|
//             position_ - ringBytes    complete    reserved, tag not yet written
//
// INVARIANTS  position_ and every record's size are multiples of 8.
//             A complete record that begins at position p holds tag - p == (id << 48) + size. A
//             tag left over from an earlier lap is a ring's length or more too small, so that its
//             size is absurd: it is never taken for a record, and a record that was torn by a
//             crash is recognised by its missing tag.
//             A record at p is intact as long as position_ <= p + ringBytes.
//
// COST of a record with one double: load, add and store of the position (one locked add while other
// threads write), the counter, and four stores.
//
// THREADS  One thread writes, or ThreadControl::tsp_ is set: then any number of threads write, each
// its own record. A thread that stalls between (1) and (3) for as long as the others need to fill
// the whole ring damages records of the next lap; size the rings so that this takes seconds. Not to
// be used in signal handlers while tsp_ is clear.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "runtime/ringlog/Clock.h"
#include "runtime/ringlog/Layout.h"
#include "runtime/vunda/ThreadControl.h"

namespace Ringlog {

// Bytes that an argument takes in a record.
constexpr std::size_t encodedBytes(double) noexcept { return 8; }
constexpr std::size_t encodedBytes(std::uint64_t) noexcept { return 8; }
constexpr std::size_t encodedBytes(std::int64_t) noexcept { return 8; }
constexpr std::size_t encodedBytes(bool) noexcept { return 1; }
constexpr std::size_t encodedBytes(std::string_view text) noexcept {
  return sizeof(std::uint16_t) + (text.size() < maxStringBytes ? text.size() : maxStringBytes);
}

// A record being written: put the arguments in the order of the message's type codes, then end it.
class Msg {
 public:
  Msg(std::byte* record, std::uint64_t tag) noexcept
      : record_(record), next_(record + sizeof(Layout::RecordHeader)), tag_(tag) {}

  void put(double value) noexcept { copy(&value, sizeof value); }
  void put(std::uint64_t value) noexcept { copy(&value, sizeof value); }
  void put(std::int64_t value) noexcept { copy(&value, sizeof value); }
  void put(bool value) noexcept { copy(&value, sizeof value); }
  [[gnu::always_inline]] void put(std::string_view text) noexcept {
    auto const bytes = static_cast<std::uint16_t>(encodedBytes(text) - sizeof(std::uint16_t));
    copy(&bytes, sizeof bytes);
    copyText(text.data(), bytes);
  }

  // Completes the record: a reader takes it from here on.
  void endMsg() noexcept {
    static_assert(offsetof(Layout::RecordHeader, tag) == 0);
    std::atomic_ref<std::uint64_t>(*reinterpret_cast<std::uint64_t*>(record_))
        .store(tag_, std::memory_order_release);
  }

 private:
  [[gnu::always_inline]] void copy(void const* from, std::size_t bytes) noexcept {
    std::memcpy(next_, from, bytes);
    next_ += bytes;
  }

  // The C library's copy: a compiler that sees how long a text is at most copies in line with a string
  // instruction, whose start alone takes longer than all the rest of a record.
  [[gnu::always_inline]] void copyText(char const* from, std::size_t bytes) noexcept {
    asm("" : "+r"(bytes));
    copy(from, bytes);
  }

  std::byte* record_;
  std::byte* next_;
  std::uint64_t tag_;
};

// A message's id as its records' tags hold it.
constexpr std::uint64_t idTag(std::int32_t id) noexcept {
  return static_cast<std::uint64_t>(static_cast<std::uint32_t>(id)) << Layout::idShift;
}

class Ring {
 public:
  constexpr explicit Ring(std::uint64_t bytes) noexcept : position_(0), mask_(bytes - 1) {}
  Ring(Ring const&) = delete;
  Ring& operator=(Ring const&) = delete;

  // Starts a record of message `id` whose arguments take `argumentBytes` in all (the sum of
  // encodedBytes).
  Msg startMsg(std::int32_t id, std::size_t argumentBytes) noexcept {
    return Vunda::ThreadControl::threadSafe() ? startSharedMsg(idTag(id), argumentBytes)
                                              : startLoneMsg(idTag(id), argumentBytes);
  }

  // The same for a caller that has looked at the thread-safe mode: no other thread writes. The tag
  // is read last, which saves a register and an instruction. Always in line, as what writes the
  // arguments: then the record's place never leaves the registers.
  [[gnu::always_inline]] Msg startLoneMsg(std::uint64_t const& tag,
                                          std::size_t argumentBytes) noexcept {
    std::uint64_t const size = recordBytes(argumentBytes);
    std::uint64_t const begin = position_.load(std::memory_order_relaxed);
    position_.store(begin + size, std::memory_order_relaxed);
    return start(tag, begin, begin + size);
  }

  // The same: other threads may write.
  Msg startSharedMsg(std::uint64_t const& tag, std::size_t argumentBytes) noexcept {
    std::uint64_t const size = recordBytes(argumentBytes);
    std::uint64_t const begin = position_.fetch_add(size, std::memory_order_relaxed);
    return start(tag, begin, begin + size);
  }

 private:
  static constexpr std::uint64_t recordBytes(std::size_t argumentBytes) noexcept {
    return Layout::roundUp(sizeof(Layout::RecordHeader) + argumentBytes, Layout::recordAlignment);
  }

  [[gnu::always_inline]] Msg start(std::uint64_t const& tag, std::uint64_t begin,
                                   std::uint64_t end) noexcept {
    orderStores();
    std::byte* const record = data() + (begin & mask_);
    storeTicks(record + offsetof(Layout::RecordHeader, ticks));
    return Msg(record, tag + end);
  }

  std::byte* data() noexcept { return reinterpret_cast<std::byte*>(this) + Layout::pageBytes; }

  // A reader that sees any byte of the new record also sees the reservation, and so gives up what
  // the record overwrites.
  static void orderStores() noexcept {
#if defined(__x86_64__)
    std::atomic_signal_fence(std::memory_order_release);  // the machine keeps stores in order
#else
    std::atomic_thread_fence(std::memory_order_release);
#endif
  }

  std::atomic<std::uint64_t> position_;
  std::uint64_t mask_;
};

static_assert(sizeof(Ring) == sizeof(Layout::RingControl));
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

}  // namespace Ringlog
