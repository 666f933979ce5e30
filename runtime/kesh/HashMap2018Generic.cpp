#include "runtime/kesh/HashMap2018Generic.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/RangeException.h"

namespace Kesh {

constinit HashMap2018Generic::NoBlock HashMap2018Generic::noBlock_;

HashMap2018Generic::HashMap2018Generic(HashMap2018Generic const& other)
    : operations_(other.operations_) {
  if (other.live_ == 0) return;
  allocate(other.capacity());
  if (operations_->trivial && other.size_ == other.live_) {
    std::memcpy(block_, other.block_, blockBytes(capacity()));
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
  endAt(size_);
}

HashMap2018Generic::HashMap2018Generic(HashMap2018Generic&& other) noexcept
    : operations_(other.operations_) {
  swap(other);
}

void HashMap2018Generic::swap(HashMap2018Generic& other) noexcept {
  ORU_ASSERT(iterators_ == 0 && other.iterators_ == 0);
  std::swap(block_, other.block_);
  std::swap(index_, other.index_);
  std::swap(indexMask_, other.indexMask_);
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
  live_ = 0;
  emptyAllBuckets();
}

void HashMap2018Generic::emptyAllBuckets() noexcept {
  ORU_ASSERT(live_ == 0 && iterators_ == 0);
  freeBlock(block_);
  block_ = reinterpret_cast<char*>(&noBlock_);
  index_ = noBlock_.index;
  indexMask_ = 1;
  indexShift_ = 31;
  size_ = 0;
}

std::uint32_t HashMap2018Generic::freeSlotFor(std::uint32_t tag) const noexcept {
  std::uint32_t slot = home(tag);
  while (index_[slot] != 0) slot = next(slot);
  return slot;
}

std::uint32_t HashMap2018Generic::freeSlotInMoreRoom(std::uint32_t tag) {
  makeRoom();
  return freeSlotFor(tag);
}

// Moves back every entry of the probe sequence that would not be found past the free slot.
void HashMap2018Generic::closeGap(std::uint32_t slot) noexcept {
  std::uint32_t gap = slot;
  for (std::uint32_t at = next(slot); index_[at] != 0; at = next(at)) {
    std::uint32_t const wanted = home(tag(entry(index_[at] - 1)));
    if (((at - wanted) & indexMask_) < ((at - gap) & indexMask_)) continue;
    index_[gap] = index_[at];
    gap = at;
  }
  index_[gap] = 0;
}

// After removals, while nobody iterates: drops dead entries at the end, and all once they are many.
void HashMap2018Generic::tidy() noexcept {
  std::uint32_t end = live_ == 0 ? 0 : size_;
  while (end > 0 && !isLive(entry(end - 1))) --end;
  if (end != size_) endAt(end);
  if (tooManyAreDead()) compact();
}

void HashMap2018Generic::compact() noexcept {
  std::uint32_t kept = 0;
  std::uint32_t from = 0;
  while (from < size_) {
    std::uint32_t end = from;
    while (end < size_ && isLive(entry(end))) ++end;
    if (kept != from) shiftRun(kept, from, end);
    kept += end - from;
    for (from = end; from < size_ && !isLive(entry(from));) ++from;
  }
  endAt(kept);
}

// Moves the live entries from `from` to `end` down to `to`.
void HashMap2018Generic::shiftRun(std::uint32_t to, std::uint32_t from,
                                  std::uint32_t end) noexcept {
  for (std::uint32_t at = from; at < end; ++at)
    index_[slotOf(tag(entry(at)), at)] = at - from + to + 1;
  if (operations_->trivial) {
    std::memmove(entry(to), entry(from), std::size_t{end - from} * operations_->entrySize);
    return;
  }
  for (; from < end; ++from, ++to) shiftEntry(entry(to), entry(from));
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
  if (nobodyIterates && capacity() != 0 && size_ - live_ >= capacity() / 4) return compact();
  moveToBlock(capacity() == 0 ? firstCapacity : capacity() * 2, nobodyIterates);
}

void HashMap2018Generic::reserve(std::uint32_t members) {
  std::uint32_t const needed = size_ - live_ + std::min(members, greatestCapacity + 1);
  if (needed > capacity())
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
  endAt(size_);
  freeBlock(oldBlock);
}

void HashMap2018Generic::allocate(std::uint32_t capacity) {
  if (capacity > greatestCapacity) {
    Vunda::RangeException::throwException(
        "Kesh::HashMap2018 of more than 536870912 entries not allowed");
  }
  char* const memory = static_cast<char*>(::operator new(blockBytes(capacity)));
  block_ = memory;
  index_ = reinterpret_cast<std::uint32_t*>(memory + entryBytes(capacity));
  tag(block_) = endTag;
  indexMask_ = slots(capacity) - 1;
  indexShift_ = 32U - static_cast<std::uint32_t>(std::countr_zero(slots(capacity)));
  std::memset(index_, 0, indexBytes(capacity));
}

void HashMap2018Generic::freeBlock(char* block) noexcept {
  if (block != reinterpret_cast<char*>(&noBlock_)) ::operator delete(block);
}

void HashMap2018Generic::verify() const {
  std::uint32_t living = 0;
  for (std::uint32_t position = 0; position < size_; ++position) {
    void* const member = entry(position);
    if (!isLive(member)) continue;
    ++living;
    ORU_ASSERT(lookupNodeG(*operations_, keyIn(*operations_, member), tag(member)) == member);
  }
  ORU_ASSERT(living == live_);
  ORU_ASSERT(size_ <= capacity());
  ORU_ASSERT(isEnd(entry(size_)));
  std::uint32_t indexed = 0;
  for (std::uint32_t slot = 0; slot < slots(capacity()); ++slot) indexed += index_[slot] != 0;
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
