#include "tests/support/HeapProbe.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "runtime/vunda/String.h"

namespace {

using OruTest::FailingAllocation;
using OruTest::heapAllocations;
using OruTest::heapLive;

TEST(HeapProbe, CountsTheLibrarysAllocationsToo) {
  auto const allocations = heapAllocations();
  auto const live = heapLive();
  {
    Vunda::String const text("counted");
    EXPECT_EQ(heapAllocations(), allocations + 1);
    EXPECT_EQ(heapLive(), live + 1);
  }
  EXPECT_EQ(heapLive(), live);
}

TEST(HeapProbe, FailsTheAllocationAskedForAndNoOther) {
  std::unique_ptr<int> first, second, third;
  FailingAllocation const failing(1);
  first = std::make_unique<int>(1);
  EXPECT_FALSE(failing.happened());
  EXPECT_THROW(second = std::make_unique<int>(2), std::bad_alloc);
  EXPECT_TRUE(failing.happened());
  third = std::make_unique<int>(3);
  EXPECT_EQ(*first + *third, 4);
}

TEST(HeapProbe, FailsNothingOnceItIsGone) {
  { FailingAllocation const failing(0); }
  EXPECT_EQ(*std::make_unique<int>(7), 7);
}

}  // namespace
