#include "state/IntfId.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "tests/support/HeapProbe.h"

namespace {

using Lanko::IntfId;
using OruTest::FailingAllocation;
using OruTest::heapAllocations;
using Vunda::String;

IntfId intfOf(String const& name) {
  IntfId intf;
  intf.handleInitialized(name);
  return intf;
}

// Names are interned for good: each test uses names of its own.
String ownName(char const* test, int number) {
  return String(std::string(test) + "/" + std::to_string(number));
}

TEST(IntfId, IsInvalidByDefault) {
  IntfId const intf;
  EXPECT_FALSE(intf.valid());
  EXPECT_TRUE(intf.name().empty());
  EXPECT_EQ(intf.hash(), 0U);
}

TEST(IntfId, StaysInvalidForTheEmptyName) {
  EXPECT_FALSE(intfOf("").valid());
  EXPECT_EQ(intfOf(""), IntfId());
}

TEST(IntfId, BecomesInvalidWhenGivenTheEmptyName) {
  IntfId intf = intfOf(ownName("BecomesInvalid", 0));
  ASSERT_TRUE(intf.valid());
  intf.handleInitialized("");
  EXPECT_FALSE(intf.valid());
}

TEST(IntfId, IsTheSameForEqualNamesOfDifferentMaking) {
  String const name = ownName("IsTheSame", 0);
  String const again(std::string(name.view()));
  EXPECT_EQ(intfOf(name), intfOf(again));
  EXPECT_EQ(intfOf(name).hash(), intfOf(again).hash());
}

TEST(IntfId, IsDenseInTheOrderOfFirstMeeting) {
  auto const first = intfOf(ownName("IsDense", 0)).value();
  for (int i = 1; i < 500; ++i) {
    IntfId const intf = intfOf(ownName("IsDense", i));
    EXPECT_EQ(intf.value(), first + static_cast<unsigned>(i));
    EXPECT_EQ(intf.hash(), intf.value());
  }
}

// A process of its own, in which nothing was interned yet.
TEST(IntfIdDeathTest, TheFirstNameOfAProcessHasIdOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(intfOf("First").value() == 1 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(IntfId, GivesItsNameBack) {
  IntfId const first = intfOf(ownName("GivesItsName", 0));
  for (int i = 1; i < 500; ++i) {
    EXPECT_EQ(intfOf(ownName("GivesItsName", i)).name(), ownName("GivesItsName", i));
  }
  EXPECT_EQ(first.name(), ownName("GivesItsName", 0));
}

TEST(IntfId, TakesTheNewNameWhenInitializedAgain) {
  IntfId intf = intfOf(ownName("TakesTheNewName", 0));
  IntfId const before = intf;
  intf.handleInitialized(ownName("TakesTheNewName", 1));
  EXPECT_NE(intf, before);
  EXPECT_LT(before, intf);
  EXPECT_EQ(intf.name(), ownName("TakesTheNewName", 1));
  EXPECT_EQ(before.name(), ownName("TakesTheNewName", 0));
}

TEST(IntfId, CostsNoAllocationForAKnownName) {
  String const name = ownName("CostsNoAllocation", 0);
  IntfId const known = intfOf(name);
  auto const before = heapAllocations();
  EXPECT_EQ(intfOf(name), known);
  EXPECT_EQ(known.name(), name);
  EXPECT_EQ(heapAllocations(), before);
}

TEST(IntfId, LosesNoIdWhenMemoryRunsOut) {
  auto const last = intfOf(ownName("LosesNoId", 0)).value();
  int failures = 0;
  // Enough names that each table grows on the way, whatever was interned before.
  for (int i = 1; i < 3000; ++i) {
    String const name = ownName("LosesNoId", i);
    IntfId intf;
    try {
      FailingAllocation const failing(0);
      intf.handleInitialized(name);
    } catch (std::bad_alloc const&) {
      ++failures;
      EXPECT_FALSE(intf.valid());
    }
    intf.handleInitialized(name);
    ASSERT_EQ(intf.value(), last + static_cast<unsigned>(i));
    ASSERT_EQ(intf.name(), name);
  }
  EXPECT_GE(failures, 2) << "neither table grew";
}

}  // namespace
