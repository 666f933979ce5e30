#include "tests/support/AllocationGuard.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "runtime/kesh/Dir.h"

namespace {

using OruTest::AllocationGuard;
using Vunda::Ptr;

testing::TestInfo const& thisTest() {
  return *testing::UnitTest::GetInstance()->current_test_info();
}

TEST(AllocationGuard, AcceptsATestThatReleasesWhatItMade) {
  AllocationGuard guard;
  guard.OnTestStart(thisTest());
  Vunda::makeNode<Kesh::Dir>("released");
  guard.OnTestEnd(thisTest());
}

TEST(AllocationGuard, FailsATestThatLeavesANodeBehind) {
  static AllocationGuard guard;
  static Ptr<Kesh::Dir> left;
  guard.OnTestStart(thisTest());
  left = Vunda::makeNode<Kesh::Dir>("left");
  EXPECT_NONFATAL_FAILURE(guard.OnTestEnd(thisTest()), "Kesh::Dir");
  left = nullptr;
}

TEST(AllocationGuard, FailsATestThatReleasesWhatOthersMade) {
  static AllocationGuard guard;
  static Ptr<Kesh::Dir> older;
  older = Vunda::makeNode<Kesh::Dir>("older");
  guard.OnTestStart(thisTest());
  older = nullptr;
  EXPECT_NONFATAL_FAILURE(guard.OnTestEnd(thisTest()), "Kesh::Dir");
}

}  // namespace
