#pragma once

#include <cstddef>
#include <cstdint>

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
// addressing, linear probing, at most half full). An index slot holds an entry's position plus one,
// zero when free:
//
//      entries   0:[tag A..] 1:[tag B..] 2:[ dead ] 3:[tag D..] | room            size 4, live 3
//      index     [ 0 | 2 | 0 | 0 | 4 | 1 | 0 | 0 ]
//
// A tag is the key's 31-bit hash with the top bit set while the entry lives, zero when it is dead.
// An iterator is a position. Removing an entry frees its index slot (shifting back what probed past
// it) and leaves a dead entry. Dead entries are squeezed out (`compact`) once there are more than
// three for each that lives, and instead of growing when a quarter of the room is dead; but never
// while an iterator lives, since that would move what positions mean: growth then keeps the
// positions. As long as an iterator lives, the keys of removed entries are kept too, chained through
// their tags (the second bit marks such a tag); the last iterator releases them.
//
// COSTS. Lookup: one multiplication, one index slot, one entry, one comparison. Insertion and
// removal: constant, amortised. Iteration: one test per entry. Memory: the entry, rounded up, plus
// 8 bytes of index, over a fill of a half to one.
class ORU_EXPORT HashMap2018Generic {
 public:
  // What the core must know of an instantiation. An entry begins with its 32-bit tag.
  struct Operations {
    std::uint32_t entrySize;
    std::uint32_t keyOffset;
    // The key is one 32-bit word, equal exactly when its bits are: `compare` is not called.
    bool wordKey;
    // Entries may be copied, moved and dropped as bytes: `copy` to `releaseValue` are not called.
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
  ~HashMap2018Generic();
  void swap(HashMap2018Generic& other) noexcept;

  std::uint32_t size() const noexcept { return live_; }

  // The entry of a key, or null.
  void* lookupNodeG(void const* key, std::uint32_t hash) const noexcept;
  // The entry of a key. When there was none, `isNew` is set, and the caller constructs key and value
  // in the free entry that is returned, without failing.
  void* memberG(void const* key, std::uint32_t hash, bool& isNew);
  // Removes a member and moves its value over *out, a default value; false when there is none.
  bool deleteMemberG(void const* key, std::uint32_t hash, void* out) noexcept;
  // Makes room for that many members without further growth.
  void reserve(std::uint32_t members);
  // Returns the storage of an empty collection without iterators.
  void emptyAllBuckets() noexcept;

  // Asserts every invariant (for tests).
  void verify() const;

  class Iterator;
  // Removes the member that an iterator stands on, as above; it must not be stale.
  void deleteCurrentG(Iterator const& at, void* out) noexcept;

  class Iterator {
   public:
    explicit Iterator(HashMap2018Generic const& map) noexcept : map_(&map) {
      ++map_->iterators_;
      skipDead();
    }
    Iterator(Iterator const& other) noexcept : map_(other.map_), position_(other.position_) {
      ++map_->iterators_;
    }
    Iterator& operator=(Iterator const&) = delete;
    ~Iterator() {
      if (--map_->iterators_ == 0 && map_->stale_ != 0) map_->dropStale();
    }

    bool atEnd() const noexcept { return position_ >= map_->size_; }
    void advance() noexcept {
      ++position_;
      skipDead();
    }
    // The entry that the iterator stands on; null when it was removed since, or at the end.
    void* currNodeNonStale() const noexcept {
      void* const entry = currNodeMaybeStale();
      return entry && isLive(entry) ? entry : nullptr;
    }
    // The entry that the iterator stands on, even when it was removed since: then only its key may
    // be read.
    void* currNodeMaybeStale() const noexcept { return atEnd() ? nullptr : map_->entry(position_); }

   private:
    friend class HashMap2018Generic;

    void skipDead() noexcept {
      while (position_ < map_->size_ && !isLive(map_->entry(position_))) ++position_;
    }

    HashMap2018Generic const* map_;
    std::uint32_t position_ = 0;
  };

 private:
  template <class, class, class>
  friend class HashMap2018;

  static constexpr std::uint32_t liveBit = 0x80000000;
  static constexpr std::uint32_t keptKeyBit = 0x40000000;  // in the tag of a dead entry
  static constexpr std::uint32_t greatestCapacity = 0x20000000;
  static constexpr std::uint32_t firstCapacity = 4;

  static std::uint32_t& tag(void* entry) noexcept { return *static_cast<std::uint32_t*>(entry); }
  static bool isLive(void const* entry) noexcept {
    return (*static_cast<std::uint32_t const*>(entry) & liveBit) != 0;
  }

  static bool isOccupied(void const* entry) noexcept {
    return (*static_cast<std::uint32_t const*>(entry) & (liveBit | keptKeyBit)) != 0;
  }

  void* entry(std::uint32_t position) const noexcept {
    return block_ + std::size_t{position} * operations_->entrySize;
  }
  void const* keyIn(void const* entry) const noexcept {
    return static_cast<char const*>(entry) + operations_->keyOffset;
  }
  static std::size_t indexBytes(std::uint32_t capacity) noexcept {
    return std::size_t{capacity} * 2 * sizeof(std::uint32_t);
  }
  std::size_t blockBytes(std::uint32_t capacity) const noexcept {
    return std::size_t{capacity} * operations_->entrySize + indexBytes(capacity);
  }
  std::uint32_t indexMask() const noexcept { return capacity_ * 2 - 1; }
  std::uint32_t home(std::uint32_t tag) const noexcept {
    return (tag * 0x9e3779b9U) >> indexShift_;
  }

  bool sameKey(void const* keyInEntry, void const* key) const noexcept;
  // The slot that refers to the key's entry, or the free one where it would be referred to.
  std::uint32_t slotOf(void const* key, std::uint32_t tag) const noexcept;
  std::uint32_t slotOf(std::uint32_t position) const noexcept;
  std::uint32_t freeSlotFor(std::uint32_t tag) const noexcept;
  void removeAt(std::uint32_t slot, void* out) noexcept;
  void freeSlot(std::uint32_t slot) noexcept;
  void makeRoom();
  void moveToBlock(std::uint32_t capacity, bool squeeze);
  void allocate(std::uint32_t capacity);
  bool tooManyAreDead() const noexcept { return size_ - live_ > 3 * live_ + firstCapacity; }
  void compact() noexcept;
  void tidy() noexcept;
  void dropStale() const noexcept;
  void shiftEntry(void* to, void* from) const noexcept;
  void copyEntries(HashMap2018Generic const& other);
  void releaseMembers() noexcept;

  Operations const* operations_;
  char* block_ = nullptr;
  std::uint32_t* index_ = nullptr;
  std::uint32_t capacity_ = 0;
  std::uint32_t indexShift_ = 31;
  std::uint32_t size_ = 0;  // entries in use, dead ones included
  std::uint32_t live_ = 0;
  mutable std::uint32_t iterators_ = 0;
  mutable std::uint32_t stale_ =
      0;  // position plus one of the newest removed entry whose key is kept, 0 for none
};

}  // namespace Kesh
