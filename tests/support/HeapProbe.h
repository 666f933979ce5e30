#pragma once

#include <cstddef>

namespace OruTest {

// The global operator new of a test program that links `oru-heap-probe`: counts the allocations of
// each thread, and makes one of them fail.

// Allocations of this thread so far, and those of them that are not yet freed (by this thread).
std::size_t heapAllocations() noexcept;
std::ptrdiff_t heapLive() noexcept;

// While it lives, the `nth` allocation of this thread (0: the next one) raises std::bad_alloc. One
// at a time.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t nth) noexcept;
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;
  ~FailingAllocation();

  // Whether that allocation came.
  bool happened() const noexcept;
};

}  // namespace OruTest
