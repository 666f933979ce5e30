#include "tests/support/HeapProbe.h"

#include <cstdlib>
#include <new>

namespace OruTest {

namespace {

struct Heap {
  std::size_t allocations = 0;
  std::ptrdiff_t live = 0;
  bool armed = false;
  bool failed = false;
  std::size_t before = 0;
};
constinit thread_local Heap heap;

bool failsNow() noexcept {
  if (!heap.armed) return false;
  if (heap.before-- != 0) return false;
  heap.armed = false;
  return heap.failed = true;
}

}  // namespace

std::size_t heapAllocations() noexcept { return heap.allocations; }
std::ptrdiff_t heapLive() noexcept { return heap.live; }

FailingAllocation::FailingAllocation(std::size_t nth) noexcept {
  heap.before = nth;
  heap.failed = false;
  heap.armed = true;
}

FailingAllocation::~FailingAllocation() { heap.armed = false; }

bool FailingAllocation::happened() const noexcept { return heap.failed; }

namespace {

void* allocate(std::size_t size) {
  if (failsNow()) throw std::bad_alloc();
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (!memory) throw std::bad_alloc();
  ++heap.allocations;
  ++heap.live;
  return memory;
}

void release(void* memory) noexcept {
  if (memory) --heap.live;
  std::free(memory);
}

}  // namespace

}  // namespace OruTest

void* operator new(std::size_t size) { return OruTest::allocate(size); }
void* operator new[](std::size_t size) { return OruTest::allocate(size); }
void operator delete(void* memory) noexcept { OruTest::release(memory); }
void operator delete[](void* memory) noexcept { OruTest::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { OruTest::release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { OruTest::release(memory); }
