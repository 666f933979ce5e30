#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/Export.h"

namespace Kesh {

// The untyped core of the keyed collections (the typed face is HashMap2018).
//
// PROMISES
//   1. Iteration order is insertion order, always. A key that is removed and inserted again stands
//      at the end.
//   2. A lookup takes the key's hash with it and never hashes.
//   3. Any member may be removed at any time, by anybody: the one that an iterator stands on,
//      others, all of them, also while the collection grows. No iterator is invalidated by that, nor
//      by growth.
//   4. A removed member that an iterator stands on is stale: the iterator reads it as null through
//      `currNodeNonStale`, and `currNodeMaybeStale` still reads its key (its value went to the
//      remover). `advance` goes on with the next member that survives.
//   5. Members inserted during an iteration are visited by it, since they stand at the end.
//   6. A collection allocates nothing until its first insertion. A failed allocation changes
//      nothing.
//   7. A pointer to a member is good until the next insertion or removal; what must last longer is
//      copied.
//   8. A collection outlives its iterators (asserted).
//
// HOW. One block holds the entries in the order of their insertion, and an index over them (open
// addressing, linear probing, at most a quarter full). An index slot holds an entry's position plus one,
// zero when free:
//
//      entries   0:[tag A..] 1:[tag B..] 2:[ dead ] 3:[tag D..] 4:[end] | room     size 4, live 3
//      index     [ 0 | 2 | 0 | 0 | 4 | 1 | 0 | 0 | ... ]                  4 slots per entry of room
//
// A tag is the key's 31-bit hash with the top bit set while the entry lives, zero when it is dead.
// Behind the last entry stands a tag of its own, for which the block has room, so that a step of an
// iteration asks nothing but tags. An iterator is a position, counted while it lives. Removing an
// entry frees its index slot (shifting back what probed past it) and leaves a dead entry. Dead
// entries are squeezed out (`compact`) once there are more than three for each that lives, and
// instead of growing when a quarter of the room is dead; but never while an iterator lives, since
// that would move what positions mean: growth then keeps the positions.
//
// The key of an entry that is removed while somebody iterates is kept, for the iterators that stand
// on it: `keepKey` chains the entry through its tag (the second bit marks such a tag) to those that
// went before it. The typed iterator's destructor tells the core with `leave`; when the last one
// left, it has `dropStaleG` release the chain, and `tidy` drop what is dead at the end.
//
// COSTS. Lookup: one multiplication, one index slot, one entry, one comparison. Insertion and
// removal: constant, amortised. Iteration: one tag per entry. Memory: the entry, rounded up, plus
// 16 bytes of index, over a fill of a half to one.
//
// What happens once per lookup, insertion, removal and step stands in this header and is given the
// table of operations: the typed face passes a constant, so that sizes, comparisons and releases
// are folded in where they are used. What happens once per many is compiled once, in the source.
class ORU_EXPORT HashMap2018Generic {
 public:
  // What the core must know of an instantiation. An entry begins with its 32-bit tag.
  struct Operations {
    std::uint32_t entrySize;
    std::uint32_t keyOffset;
    // Entries may be copied and moved as bytes, and dropped: `copy`, `shift` and the releases need
    // not be called.
    bool trivial;
    bool (*compare)(void const* keyInEntry, void const* key) noexcept;
    void (*copy)(void* to, void const* from);
    // Moves what an entry holds to a free one.
    void (*shift)(void* to, void* from) noexcept;
    void (*releaseKey)(void* entry) noexcept;
    void (*releaseValue)(void* entry) noexcept;
    // Moves the value over *out, leaves only the key.
    void (*takeValue)(void* entry, void* out) noexcept;
  };

  explicit HashMap2018Generic(Operations const& operations) noexcept : operations_(&operations) {}
  HashMap2018Generic(HashMap2018Generic const& other);
  // The other collection is left empty; it must have no iterators.
  HashMap2018Generic(HashMap2018Generic&& other) noexcept;
  ~HashMap2018Generic() {
    if (capacity() != 0 || iterators_ != 0) releaseMembers();
  }
  void swap(HashMap2018Generic& other) noexcept;

  std::uint32_t size() const noexcept { return live_; }

  // The entry of a key, or null.
  [[gnu::always_inline]] void* lookupNodeG(Operations const& of, void const* key,
                                           std::uint32_t hash) const noexcept {
    std::uint32_t slot = home(hash | liveBit);
    return find(of, key, hash | liveBit, slot);
  }
  // The entry of a key. When there was none, `isNew` is set, and the caller constructs key and value
  // in the free entry that is returned, without failing.
  [[gnu::always_inline]] void* newMemberG(Operations const& of, void const* key, std::uint32_t hash,
                                          bool& isNew) {
    std::uint32_t const wanted = hash | liveBit;
    std::uint32_t slot = home(wanted);
    void* const found = find(of, key, wanted, slot);
    isNew = found == nullptr;
    if (!isNew) return found;
    if (size_ == capacity()) slot = freeSlotInMoreRoom(wanted);
    void* const fresh = entry(of, size_);
    tag(fresh) = wanted;
    index_[slot] = ++size_;
    tag(entry(of, size_)) = endTag;
    ++live_;
    return fresh;
  }
  // Removes a member and moves its value over *out, a default value; false when there is none.
  [[gnu::always_inline]] bool deleteMemberG(Operations const& of, void const* key,
                                            std::uint32_t hash, void* out) noexcept {
    std::uint32_t slot = home(hash | liveBit);
    void* const found = find(of, key, hash | liveBit, slot);
    if (found == nullptr) return false;
    removeAt(of, slot, index_[slot] - 1, out);
    return true;
  }
  // Makes room for that many members without further growth.
  void reserve(std::uint32_t members);
  // Returns the storage of an empty collection without iterators.
  void emptyAllBuckets() noexcept;

  // Asserts every invariant (for tests).
  void verify() const;

  // A position among the entries.
  class Iterator {
   public:
    Iterator(Operations const& of, HashMap2018Generic const& map) noexcept : map_(&map) {
      ++map_->iterators_;
      skipDead(of);
    }
    // One more iterator; each ends with leave().
    Iterator(Iterator const& other) noexcept : map_(other.map_), offset_(other.offset_) {
      ++map_->iterators_;
    }
    Iterator& operator=(Iterator const&) = delete;
    // The iterator's end, which the typed face announces. When it was the last one, and keys were
    // kept for it, it returns the collection, for dropStaleG.
    [[nodiscard]] HashMap2018Generic* leave() const noexcept {
      bool const staleKeys = --map_->iterators_ == 0 && map_->stale_ != 0;
      return staleKeys ? const_cast<HashMap2018Generic*>(map_) : nullptr;
    }

    bool atEnd() const noexcept { return isEnd(standing()); }
    // Goes on; it must not be at the end.
    void advance(Operations const& of) noexcept {
      ORU_ASSERT(!atEnd());
      offset_ += of.entrySize;
      skipDead(of);
    }
    // The entry that the iterator stands on; null when it was removed since, and at the end.
    void* currNodeNonStale() const noexcept { return isLive(standing()) ? standing() : nullptr; }
    // The entry that the iterator stands on, not at the end, even when it was removed since: then
    // only its key may be read.
    void* currNodeMaybeStale() const noexcept {
      ORU_ASSERT(!atEnd());
      return standing();
    }

   private:
    friend class HashMap2018Generic;

    void* standing() const noexcept { return map_->block_ + offset_; }
    void skipDead(Operations const& of) noexcept {
      while (!isLive(standing()) && !isEnd(standing())) offset_ += of.entrySize;
    }

    HashMap2018Generic const* map_;
    std::size_t offset_ = 0;  // in bytes: the position times the size of an entry
  };

  // Removes the member that an iterator stands on, as above; it must not be stale.
  void deleteCurrentG(Operations const& of, Iterator const& at, void* out) noexcept {
    void* const removed = at.standing();
    auto const position = static_cast<std::uint32_t>(at.offset_ / of.entrySize);
    freeSlot(slotOf(tag(removed), position));
    of.takeValue(removed, out);
    --live_;
    keepKey(removed, position);
  }

  // Releases the keys that were kept for iterators, of which none is left, then tidies up what
  // their removals left.
  void dropStaleG(Operations const& of) noexcept {
    while (stale_ != 0) {
      void* const removed = entry(of, stale_ - 1);
      stale_ = tag(removed) & ~keptKeyBit;
      tag(removed) = 0;
      of.releaseKey(removed);
    }
    tidy();
  }

 private:
  template <class, class, class>
  friend class HashMap2018;

  static constexpr std::uint32_t liveBit = 0x80000000;
  static constexpr std::uint32_t keptKeyBit = 0x40000000;  // in the tag of a dead entry
  static constexpr std::uint32_t endTag = 1;               // behind the last entry
  static constexpr std::uint32_t greatestCapacity = 0x20000000;
  static constexpr std::uint32_t firstCapacity = 4;

  static std::uint32_t& tag(void* entry) noexcept { return *static_cast<std::uint32_t*>(entry); }
  static bool isLive(void const* entry) noexcept {
    return __builtin_expect((*static_cast<std::uint32_t const*>(entry) & liveBit) != 0, 1);
  }
  static bool isEnd(void const* entry) noexcept {
    return *static_cast<std::uint32_t const*>(entry) == endTag;
  }
  static bool isOccupied(void const* entry) noexcept {
    return (*static_cast<std::uint32_t const*>(entry) & (liveBit | keptKeyBit)) != 0;
  }

  void* entry(Operations const& of, std::uint32_t position) const noexcept {
    return block_ + std::size_t{position} * of.entrySize;
  }
  void* entry(std::uint32_t position) const noexcept { return entry(*operations_, position); }
  static void const* keyIn(Operations const& of, void const* entry) noexcept {
    return static_cast<char const*>(entry) + of.keyOffset;
  }
  static std::uint32_t slots(std::uint32_t capacity) noexcept { return capacity * 4; }
  // The entries that there is room for.
  std::uint32_t capacity() const noexcept { return (indexMask_ + 1) / 4; }
  static std::size_t indexBytes(std::uint32_t capacity) noexcept {
    return std::size_t{slots(capacity)} * sizeof(std::uint32_t);
  }
  // The entries, and the tag behind them.
  std::size_t entryBytes(std::uint32_t capacity) const noexcept {
    return std::size_t{capacity} * operations_->entrySize + sizeof(std::uint32_t);
  }
  std::size_t blockBytes(std::uint32_t capacity) const noexcept {
    return entryBytes(capacity) + indexBytes(capacity);
  }
  std::uint32_t home(std::uint32_t tag) const noexcept {
    return (tag * 0x9e3779b9U) >> indexShift_;
  }
  std::uint32_t next(std::uint32_t slot) const noexcept { return (slot + 1) & indexMask_; }

  // Follows a key's probe sequence from its home slot: to the slot that refers to its entry, which
  // is returned, or to the free one where it would be referred to, and null.
  [[gnu::always_inline]] void* find(Operations const& of, void const* key, std::uint32_t wanted,
                                    std::uint32_t& slot) const noexcept {
    while (std::uint32_t const position = index_[slot]) {
      void* const candidate = entry(of, position - 1);
      if (tag(candidate) == wanted && of.compare(keyIn(of, candidate), key)) return candidate;
      slot = next(slot);
    }
    return nullptr;
  }

  // The slot that refers to a living entry.
  [[gnu::always_inline]] std::uint32_t slotOf(std::uint32_t tag,
                                              std::uint32_t position) const noexcept {
    std::uint32_t slot = home(tag);
    while (index_[slot] != position + 1) slot = next(slot);
    return slot;
  }

  [[gnu::always_inline]] void removeAt(Operations const& of, std::uint32_t slot,
                                       std::uint32_t position, void* out) noexcept {
    void* const removed = entry(of, position);
    freeSlot(slot);
    of.takeValue(removed, out);
    --live_;
    if (iterators_ != 0) return keepKey(removed, position);
    tag(removed) = 0;
    of.releaseKey(removed);
    if (position + 1 == size_ || tooManyAreDead()) tidy();
  }

  void freeSlot(std::uint32_t slot) noexcept {
    index_[slot] = 0;
    if (index_[next(slot)] != 0) closeGap(slot);
  }
  // Of a removed entry: until the last iterator is gone.
  void keepKey(void* removed, std::uint32_t position) noexcept {
    tag(removed) = keptKeyBit | stale_;
    stale_ = position + 1;
  }

  std::uint32_t freeSlotFor(std::uint32_t tag) const noexcept;
  std::uint32_t freeSlotInMoreRoom(std::uint32_t tag);
  void closeGap(std::uint32_t slot) noexcept;
  void makeRoom();
  void moveToBlock(std::uint32_t capacity, bool squeeze);
  void allocate(std::uint32_t capacity);
  static void freeBlock(char* block) noexcept;
  bool tooManyAreDead() const noexcept { return size_ - live_ > 3 * live_ + firstCapacity; }
  void compact() noexcept;
  void tidy() noexcept;
  void shiftEntry(void* to, void* from) const noexcept;
  void shiftRun(std::uint32_t to, std::uint32_t from, std::uint32_t end) noexcept;
  void copyEntries(HashMap2018Generic const& other);
  void releaseMembers() noexcept;

  // Drops the entries from that one on.
  void endAt(std::uint32_t position) noexcept {
    size_ = position;
    tag(entry(position)) = endTag;
  }

  // What a collection without storage has: nothing but the end, and an index that is free at every
  // slot. Never written.
  struct NoBlock {
    std::uint32_t end = endTag;
    std::uint32_t index[2] = {0, 0};
  };
  static NoBlock noBlock_;

  Operations const* operations_;
  char* block_ = reinterpret_cast<char*>(&noBlock_);
  std::uint32_t* index_ = noBlock_.index;
  std::uint32_t indexMask_ = 1;    // slots of the index, minus one
  std::uint32_t indexShift_ = 31;  // of a hash, to a slot
  std::uint32_t size_ = 0;         // entries in use, dead ones included
  std::uint32_t live_ = 0;
  mutable std::uint32_t iterators_ = 0;
  // Position plus one of the newest removed entry whose key is kept, 0 for none.
  std::uint32_t stale_ = 0;
};

}  // namespace Kesh
