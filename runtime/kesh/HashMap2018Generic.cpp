#include "runtime/kesh/HashMap2018Generic.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/RangeException.h"

namespace Kesh {

HashMap2018Generic::HashMap2018Generic(HashMap2018Generic const& other)
    : operations_(other.operations_) {
  if (other.live_ == 0) return;
  allocate(other.capacity_);
  if (operations_->trivial && other.size_ == other.live_) {
    std::memcpy(block_, other.block_, blockBytes(capacity_));
    size_ = live_ = other.size_;
    return;
  }
  try {
    copyEntries(other);
  } catch (...) {
    releaseMembers();
    throw;
  }
}

void HashMap2018Generic::copyEntries(HashMap2018Generic const& other) {
  for (std::uint32_t position = 0; position < other.size_; ++position) {
    void* const from = other.entry(position);
    if (!isLive(from)) continue;
    if (operations_->trivial) {
      std::memcpy(entry(size_), from, operations_->entrySize);
    } else {
      operations_->copy(entry(size_), from);
      tag(entry(size_)) = tag(from);
    }
    index_[freeSlotFor(tag(from))] = ++size_;
    ++live_;
  }
}

HashMap2018Generic::HashMap2018Generic(HashMap2018Generic&& other) noexcept
    : operations_(other.operations_) {
  swap(other);
}

HashMap2018Generic::~HashMap2018Generic() { releaseMembers(); }

void HashMap2018Generic::swap(HashMap2018Generic& other) noexcept {
  ORU_ASSERT(iterators_ == 0 && other.iterators_ == 0);
  std::swap(block_, other.block_);
  std::swap(index_, other.index_);
  std::swap(capacity_, other.capacity_);
  std::swap(indexShift_, other.indexShift_);
  std::swap(size_, other.size_);
  std::swap(live_, other.live_);
}

void HashMap2018Generic::releaseMembers() noexcept {
  ORU_ASSERT(iterators_ == 0);
  for (std::uint32_t position = 0; position < size_ && !operations_->trivial; ++position) {
    if (!isLive(entry(position))) continue;
    operations_->releaseValue(entry(position));
    operations_->releaseKey(entry(position));
  }
  size_ = live_ = 0;
  emptyAllBuckets();
}

void HashMap2018Generic::emptyAllBuckets() noexcept {
  ORU_ASSERT(live_ == 0 && iterators_ == 0);
  ::operator delete(block_);
  block_ = nullptr;
  index_ = nullptr;
  capacity_ = size_ = 0;
}

inline bool HashMap2018Generic::sameKey(void const* keyInEntry, void const* key) const noexcept {
  if (operations_->wordKey) return std::memcmp(keyInEntry, key, sizeof(std::uint32_t)) == 0;
  return operations_->compare(keyInEntry, key);
}

inline std::uint32_t HashMap2018Generic::slotOf(void const* key, std::uint32_t tag) const noexcept {
  std::uint32_t slot = home(tag);
  for (; index_[slot] != 0; slot = (slot + 1) & indexMask()) {
    void* const candidate = entry(index_[slot] - 1);
    if (HashMap2018Generic::tag(candidate) == tag && sameKey(keyIn(candidate), key)) break;
  }
  return slot;
}

std::uint32_t HashMap2018Generic::slotOf(std::uint32_t position) const noexcept {
  std::uint32_t slot = home(tag(entry(position)));
  while (index_[slot] != position + 1) slot = (slot + 1) & indexMask();
  return slot;
}

std::uint32_t HashMap2018Generic::freeSlotFor(std::uint32_t tag) const noexcept {
  std::uint32_t slot = home(tag);
  while (index_[slot] != 0) slot = (slot + 1) & indexMask();
  return slot;
}

void* HashMap2018Generic::lookupNodeG(void const* key, std::uint32_t hash) const noexcept {
  if (live_ == 0) return nullptr;
  std::uint32_t const position = index_[slotOf(key, hash | liveBit)];
  return position != 0 ? entry(position - 1) : nullptr;
}

void* HashMap2018Generic::memberG(void const* key, std::uint32_t hash, bool& isNew) {
  std::uint32_t const wanted = hash | liveBit;
  if (capacity_ == 0) makeRoom();
  std::uint32_t slot = slotOf(key, wanted);
  isNew = index_[slot] == 0;
  if (!isNew) return entry(index_[slot] - 1);
  if (size_ == capacity_) {
    makeRoom();
    slot = freeSlotFor(wanted);
  }
  void* const fresh = entry(size_);
  tag(fresh) = wanted;
  index_[slot] = ++size_;
  ++live_;
  return fresh;
}

bool HashMap2018Generic::deleteMemberG(void const* key, std::uint32_t hash, void* out) noexcept {
  if (live_ == 0) return false;
  std::uint32_t const slot = slotOf(key, hash | liveBit);
  if (index_[slot] == 0) return false;
  removeAt(slot, out);
  return true;
}

void HashMap2018Generic::deleteCurrentG(Iterator const& at, void* out) noexcept {
  removeAt(slotOf(at.position_), out);
}

void HashMap2018Generic::removeAt(std::uint32_t slot, void* out) noexcept {
  std::uint32_t const position = index_[slot] - 1;
  void* const removed = entry(position);
  freeSlot(slot);
  operations_->takeValue(removed, out);
  --live_;
  if (iterators_ != 0) {
    tag(removed) = keptKeyBit | stale_;
    stale_ = position + 1;
    return;
  }
  tag(removed) = 0;
  if (!operations_->trivial) operations_->releaseKey(removed);
  if (position + 1 == size_ || tooManyAreDead()) tidy();
}

// Moves back every entry of the probe sequence that would not be found past the free slot.
void HashMap2018Generic::freeSlot(std::uint32_t slot) noexcept {
  std::uint32_t const mask = indexMask();
  std::uint32_t hole = slot;
  for (std::uint32_t next = (hole + 1) & mask; index_[next] != 0; next = (next + 1) & mask) {
    std::uint32_t const wanted = home(tag(entry(index_[next] - 1)));
    if (((next - wanted) & mask) < ((next - hole) & mask)) continue;
    index_[hole] = index_[next];
    hole = next;
  }
  index_[hole] = 0;
}

// After removals, while nobody iterates: drops dead entries at the end, and all once they are many.
void HashMap2018Generic::tidy() noexcept {
  while (size_ > 0 && !isLive(entry(size_ - 1))) --size_;
  if (tooManyAreDead()) compact();
}

void HashMap2018Generic::compact() noexcept {
  std::uint32_t kept = 0;
  for (std::uint32_t position = 0; position < size_; ++position) {
    if (!isLive(entry(position))) continue;
    if (kept != position) {
      index_[slotOf(position)] = kept + 1;
      shiftEntry(entry(kept), entry(position));
    }
    ++kept;
  }
  size_ = kept;
}

void HashMap2018Generic::shiftEntry(void* to, void* from) const noexcept {
  if (operations_->trivial) {
    std::memcpy(to, from, operations_->entrySize);
  } else {
    operations_->shift(to, from);
    tag(to) = tag(from);
  }
}

void HashMap2018Generic::makeRoom() {
  bool const nobodyIterates = iterators_ == 0;
  if (nobodyIterates && capacity_ != 0 && size_ - live_ >= capacity_ / 4) return compact();
  moveToBlock(capacity_ == 0 ? firstCapacity : capacity_ * 2, nobodyIterates);
}

void HashMap2018Generic::reserve(std::uint32_t members) {
  std::uint32_t const needed = size_ - live_ + std::min(members, greatestCapacity + 1);
  if (needed > capacity_)
    moveToBlock(std::bit_ceil(needed < firstCapacity ? firstCapacity : needed), iterators_ == 0);
}

// Goes over to a bigger block. Without `squeeze` every entry keeps its position, dead ones and kept
// keys included.
void HashMap2018Generic::moveToBlock(std::uint32_t capacity, bool squeeze) {
  char* const oldBlock = block_;
  std::uint32_t const oldSize = size_;
  allocate(capacity);
  size_ = 0;
  for (std::uint32_t position = 0; position < oldSize; ++position) {
    void* const from = oldBlock + std::size_t{position} * operations_->entrySize;
    if (squeeze && !isLive(from)) continue;
    if (isLive(from)) index_[freeSlotFor(tag(from))] = size_ + 1;
    if (isOccupied(from)) {
      shiftEntry(entry(size_), from);
    } else {
      tag(entry(size_)) = 0;
    }
    ++size_;
  }
  ::operator delete(oldBlock);
}

void HashMap2018Generic::allocate(std::uint32_t capacity) {
  if (capacity > greatestCapacity) {
    Vunda::RangeException::throwException(
        "Kesh::HashMap2018 of more than 536870912 entries not allowed");
  }
  char* const memory = static_cast<char*>(::operator new(blockBytes(capacity)));
  block_ = memory;
  index_ =
      reinterpret_cast<std::uint32_t*>(memory + std::size_t{capacity} * operations_->entrySize);
  capacity_ = capacity;
  indexShift_ = 32U - static_cast<std::uint32_t>(std::countr_zero(capacity * 2));
  std::memset(index_, 0, indexBytes(capacity));
}

// The last iterator went: releases the keys that were kept for it, then tidies up what its removals
// left.
void HashMap2018Generic::dropStale() const noexcept {
  auto* const self = const_cast<HashMap2018Generic*>(this);
  while (stale_ != 0) {
    void* const removed = entry(stale_ - 1);
    self->stale_ = std::exchange(tag(removed), 0) & ~keptKeyBit;
    if (!operations_->trivial) operations_->releaseKey(removed);
  }
  self->tidy();
}

void HashMap2018Generic::verify() const {
  std::uint32_t living = 0;
  for (std::uint32_t position = 0; position < size_; ++position) {
    void* const member = entry(position);
    if (!isLive(member)) continue;
    ++living;
    ORU_ASSERT(lookupNodeG(keyIn(member), tag(member)) == member);
  }
  ORU_ASSERT(living == live_);
  ORU_ASSERT(size_ <= capacity_);
  std::uint32_t indexed = 0;
  for (std::uint32_t slot = 0; slot < capacity_ * 2; ++slot) indexed += index_[slot] != 0;
  ORU_ASSERT(indexed == live_);
  std::uint32_t kept = 0;
  for (std::uint32_t at = stale_; at != 0; at = tag(entry(at - 1)) & ~keptKeyBit, ++kept) {
    ORU_ASSERT(!isLive(entry(at - 1)));
    ORU_ASSERT(isOccupied(entry(at - 1)));
  }
  ORU_ASSERT(kept <= size_ - live_ && (iterators_ != 0 || kept == 0));
  if (iterators_ != 0) return;
  ORU_ASSERT(size_ == 0 || isLive(entry(size_ - 1)));
  ORU_ASSERT(!tooManyAreDead());
}

}  // namespace Kesh
