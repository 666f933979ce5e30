// The promises of the keyed collections, one after the other, through the typed face.

#include "runtime/kesh/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/RangeException.h"
#include "runtime/vunda/String.h"
#include "tests/runtime/kesh/HashMap2018Samples.h"
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/HeapProbe.h"

namespace {

using Kesh::HashMap2018;
using OruTest::abcd;
using OruTest::contents;
using OruTest::heapAllocations;
using OruTest::heapLive;
using OruTest::HN_Test;
using OruTest::Names;
using OruTest::Nodes;
using OruTest::Numbers;
using OruTest::Sample;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

String named(int i) { return String(("key" + std::to_string(i)).c_str()); }

// A key that counts how often it is hashed, and whose hash the test chooses.
struct CountingKey {
  std::uint32_t number = 0;
  std::uint32_t hashValue = 0;
  static inline int hashed = 0;

  std::uint32_t hash() const {
    ++hashed;
    return hashValue;
  }
  bool operator==(CountingKey const& other) const { return number == other.number; }
};
using Counting = HashMap2018<HN_Test, CountingKey, int>;

// --- 1. order ---------------------------------------------------------------------------------

TEST(HashMap2018, IteratesInTheOrderOfInsertion) {
  Names map;
  for (int i = 0; i < 500; ++i) map.newMember(named(i * 7 % 500), i);
  int expected = 0;
  for (auto it = map.iterator(); it; ++it, ++expected) {
    ASSERT_EQ(it.key(), named(expected * 7 % 500));
    ASSERT_EQ(it.value(), expected);
  }
  EXPECT_EQ(expected, 500);
  map.verify();
}

TEST(HashMap2018, RemovalKeepsTheOrderOfTheOthers) {
  Names map = abcd();
  map.deleteMember("b");
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1), Pair("c", 3), Pair("d", 4)));
}

TEST(HashMap2018, AKeyInsertedAgainStandsAtTheEnd) {
  Names map = abcd();
  map.deleteMember("b");
  map.newMember("b", 5);
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1), Pair("c", 3), Pair("d", 4), Pair("b", 5)));
}

TEST(HashMap2018, OverwritingKeepsThePlace) {
  Names map = abcd();
  EXPECT_TRUE(map.memberIs("b", 9));
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1), Pair("b", 9), Pair("c", 3), Pair("d", 4)));
}

TEST(HashMap2018, OrderSurvivesCompaction) {
  Names map;
  for (int i = 0; i < 100; ++i) map.newMember(named(i), i);
  for (int i = 0; i < 100; ++i) {
    if (i % 5 != 0) map.deleteMember(named(i));
    map.verify();
  }
  int expected = 0;
  for (auto it = map.iterator(); it; ++it, expected += 5) ASSERT_EQ(it.value(), expected);
  EXPECT_EQ(expected, 100);
}

// --- 2. hashing -------------------------------------------------------------------------------

TEST(HashMap2018, ALookupHashesItsKeyOnceAndNothingElse) {
  Counting map;
  for (std::uint32_t i = 0; i < 20; ++i) map.newMember({i, i * 8}, 0);
  CountingKey::hashed = 0;
  EXPECT_NE(map.lookup({3, 24}), nullptr);
  EXPECT_EQ(CountingKey::hashed, 1);
  EXPECT_EQ(map.lookup({99, 24}), nullptr);
  EXPECT_EQ(CountingKey::hashed, 2);
}

TEST(HashMap2018, GrowthAndCompactionAndIterationHashNothing) {
  Counting map;
  CountingKey::hashed = 0;
  for (std::uint32_t i = 0; i < 100; ++i) map.newMember({i, i}, 0);
  EXPECT_EQ(CountingKey::hashed, 100);
  map.reserve(1000);
  for (std::uint32_t i = 0; i < 90; ++i) map.deleteMember({i, i});
  EXPECT_EQ(CountingKey::hashed, 190);
  Counting const copy = map;
  for (auto it = copy.iterator(); it; ++it) EXPECT_GE(it.key().number, 90U);
  map.memberDelAll();
  EXPECT_EQ(CountingKey::hashed, 190);
}

TEST(HashMap2018, KeysOfOneHashAreToldApart) {
  Counting map;
  for (std::uint32_t i = 0; i < 50; ++i) map.newMember({i, 7}, static_cast<int>(i));
  map.verify();
  for (std::uint32_t i = 0; i < 50; i += 2) EXPECT_TRUE(map.deleteMember({i, 7}));
  map.verify();
  for (std::uint32_t i = 0; i < 50; ++i) {
    ASSERT_EQ(map.value({i, 7}), i % 2 ? static_cast<int>(i) : 0) << i;
    ASSERT_EQ(map.has({i, 7}), i % 2 == 1) << i;
  }
}

TEST(HashMap2018, KeysWhoseHashesDifferInTheHighestBitOnlyAreToldApart) {
  Numbers map;
  map.newMember(5, 1);
  map.newMember(0x80000005, 2);
  map.newMember(0x40000005, 3);
  map.verify();
  EXPECT_EQ(map.value(5), 1);
  EXPECT_EQ(map.value(0x80000005), 2);
  EXPECT_EQ(map.value(0x40000005), 3);
  EXPECT_TRUE(map.deleteMember(5));
  EXPECT_TRUE(map.has(0x80000005));
  EXPECT_FALSE(map.has(5));
}

// --- 3. removal at any time, 4. stale members ---------------------------------------------------

TEST(HashMap2018, AnIteratorReadsItsRemovedMemberAsNullAndItsKeyStill) {
  Names map = abcd();
  auto it = map.iterator();
  ++it;
  map.deleteMember("b");
  map.verify();
  EXPECT_TRUE(it);
  EXPECT_EQ(it.currNodeNonStale(), nullptr);
  EXPECT_EQ(it.value(), 0);
  EXPECT_EQ(it.key(), String("b"));
  ++it;
  EXPECT_EQ(it.key(), String("c"));
  EXPECT_EQ(it.value(), 3);
}

TEST(HashMap2018, AnIteratorSkipsWhatWasRemovedAheadOfIt) {
  Names map = abcd();
  auto it = map.iterator();
  map.deleteMember("b");
  map.deleteMember("c");
  ++it;
  EXPECT_EQ(it.key(), String("d"));
  map.deleteMember("d");
  ++it;
  EXPECT_FALSE(it);
}

TEST(HashMap2018, AnIteratorIsNotDisturbedByARemovalBehindIt) {
  Names map = abcd();
  auto it = map.iterator();
  ++it;
  map.deleteMember("a");
  EXPECT_EQ(it.value(), 2);
  ++it;
  EXPECT_EQ(it.value(), 3);
}

TEST(HashMap2018, RemovingEachCurrentMemberEmptiesTheCollection) {
  Names map;
  for (int i = 0; i < 200; ++i) map.newMember(named(i), i);
  int visited = 0;
  for (auto it = map.iterator(); it; ++it, ++visited) {
    EXPECT_TRUE(map.deleteMember(it.key()));
    map.verify();
  }
  EXPECT_EQ(visited, 200);
  EXPECT_TRUE(map.empty());
  EXPECT_FALSE(map.iterator());
}

TEST(HashMap2018, RemovesTheMemberThatAnIteratorStandsOnAndNoOther) {
  Names map = abcd();
  auto it = map.iterator();
  ++it;
  EXPECT_TRUE(map.deleteMember(it));
  EXPECT_FALSE(map.deleteMember(it)) << "it is stale";
  map.newMember("b", 9);
  EXPECT_FALSE(map.deleteMember(it)) << "another member of the same key";
  EXPECT_EQ(it.key(), String("b"));
  ++it;
  EXPECT_EQ(it.key(), String("c"));
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1), Pair("c", 3), Pair("d", 4), Pair("b", 9)));
}

TEST(HashMap2018, AllMembersMayGoWhileIteratorsStandAnywhere) {
  Names map = abcd();
  auto first = map.iterator();
  auto third = map.iterator();
  ++ ++third;
  map.memberDelAll();
  map.verify();
  EXPECT_EQ(first.currNodeNonStale(), nullptr);
  EXPECT_EQ(third.key(), String("c"));
  ++first;
  ++third;
  EXPECT_FALSE(first);
  EXPECT_FALSE(third);
}

TEST(HashMap2018, AKeyRemovedAndInsertedAgainIsAnotherMember) {
  Names map = abcd();
  auto it = map.iterator();
  map.deleteMember("a");
  map.newMember("a", 11);
  EXPECT_EQ(it.currNodeNonStale(), nullptr);
  EXPECT_EQ(map.value("a"), 11);
  std::vector<int> rest;
  for (++it; it; ++it) rest.push_back(it.value());
  EXPECT_THAT(rest, ElementsAre(2, 3, 4, 11));
  map.verify();
}

TEST(HashMap2018, GrowthDisturbsNoIteratorNotEvenOnAStaleMember) {
  Names map = abcd();
  auto onStale = map.iterator();
  auto onLive = map.iterator();
  ++onLive;
  map.deleteMember("a");
  for (int i = 0; i < 300; ++i) map.newMember(named(i), 100 + i);
  map.verify();
  EXPECT_EQ(onStale.key(), String("a"));
  EXPECT_EQ(onStale.currNodeNonStale(), nullptr);
  EXPECT_EQ(onLive.key(), String("b"));
  EXPECT_EQ(onLive.value(), 2);
  ++onStale;
  EXPECT_EQ(onStale.key(), String("b"));
}

TEST(HashMap2018, RemovalDuringGrowthDisturbsNothing) {
  Names map;
  map.newMember(named(0), 0);
  auto it = map.iterator();
  for (int i = 1; i < 300; ++i) {
    map.newMember(named(i), i);
    if (i % 3 == 0) map.deleteMember(named(i - 1));
    ASSERT_EQ(it.value(), 0);
  }
  map.verify();
  for (int expected = 0; it; ++it, ++expected) {
    if (expected % 3 == 2 && expected != 299) ++expected;
    ASSERT_EQ(it.value(), expected);
  }
}

TEST(HashMap2018, ARemovedValueGoesToTheRemoverAtOnceWhoeverIterates) {
  Nodes map;
  bool gone = false;
  map.newMember("a", makeNode<Sample>(&gone));
  auto it = map.iterator();
  Ptr<Sample> removed;
  EXPECT_TRUE(map.deleteMember("a", removed));
  EXPECT_EQ(removed->useCount(), 1U);
  EXPECT_FALSE(gone);
  removed = nullptr;
  EXPECT_TRUE(gone);
  EXPECT_EQ(it.value(), nullptr);
}

TEST(HashMap2018, KeysOfRemovedMembersAreReleasedWithTheLastIterator) {
  HashMap2018<HN_Test, String, int> map;
  String const key("kept");
  auto const live = heapLive();
  map.newMember(String("kept"), 1);
  map.newMember(String("other"), 2);
  {
    std::optional first(map.iterator());
    auto second = *first;
    map.deleteMember("kept");
    map.deleteMember("other");
    EXPECT_EQ(heapLive(), live + 3) << "the storage and two keys";
    first.reset();
    EXPECT_EQ(heapLive(), live + 3);
    EXPECT_EQ(second.key(), key);
  }
  EXPECT_EQ(heapLive(), live + 1);
  map.verify();
}

TEST(HashMap2018, ACopiedIteratorGoesItsOwnWay) {
  Names map = abcd();
  auto it = map.iterator();
  ++it;
  auto copy = it;
  ++copy;
  EXPECT_EQ(it.value(), 2);
  EXPECT_EQ(copy.value(), 3);
}

// --- 5. insertion during an iteration -----------------------------------------------------------

TEST(HashMap2018, MembersInsertedDuringAnIterationAreVisitedByIt) {
  Names map;
  map.newMember(named(0), 0);
  int visited = 0;
  for (auto it = map.iterator(); it; ++it, ++visited) {
    EXPECT_EQ(it.value(), visited);
    if (visited < 50) map.newMember(named(visited + 1), visited + 1);
  }
  EXPECT_EQ(visited, 51);
}

TEST(HashMap2018, AnIteratorAtTheEndStandsOnWhatIsInsertedThen) {
  Names map;
  auto it = map.iterator();
  EXPECT_FALSE(it);
  for (int i = 0; i < 20; ++i) {
    map.newMember(named(i), i);
    ASSERT_TRUE(it);
    EXPECT_EQ(it.value(), i);
    ++it;
    ASSERT_FALSE(it);
  }
  EXPECT_TRUE(map.deleteMember(named(19)));
  EXPECT_FALSE(it);
}

// --- 6. allocation ------------------------------------------------------------------------------

TEST(HashMap2018, AllocatesNothingUntilItsFirstInsertion) {
  auto const before = heapAllocations();
  Numbers map;
  EXPECT_FALSE(map.has(1));
  EXPECT_FALSE(map.deleteMember(1));
  EXPECT_FALSE(map.iterator());
  Numbers copy = map;
  Numbers const moved = std::move(copy);
  EXPECT_TRUE(moved.empty());
  map.memberDelAll();
  EXPECT_EQ(heapAllocations(), before);
  map.newMember(1, 1);
  EXPECT_EQ(heapAllocations(), before + 1);
}

TEST(HashMap2018, ReservedRoomNeedsNoFurtherGrowth) {
  Numbers map;
  map.newMember(1000, 0);
  map.newMember(1001, 0);
  map.deleteMember(1000);
  map.reserve(100);
  map.verify();
  auto const before = heapAllocations();
  for (std::uint32_t i = 0; i < 99; ++i) map.newMember(i, 0);
  EXPECT_EQ(heapAllocations(), before);
}

TEST(HashMap2018, ReservesRoomForThatManyMembersBesideTheRemovedOnesThatAnIteratorKeeps) {
  Numbers map;
  for (std::uint32_t i = 1000; i < 1004; ++i) map.newMember(i, 0);
  auto it = map.iterator();
  map.deleteMember(1000);
  map.reserve(64);
  map.verify();
  EXPECT_EQ(it.key(), 1000U);
  auto const before = heapAllocations();
  for (std::uint32_t i = 0; i < 61; ++i) map.newMember(i, 0);
  EXPECT_EQ(map.size(), 64U);
  EXPECT_EQ(heapAllocations(), before);
}

TEST(HashMap2018, MoreEntriesThanCanBeNumberedAreRefusedAndNothingChanges) {
  Names map = abcd();
  for (std::uint32_t const members : {0x20000001U, 0x80000001U, 0xfffffffeU, 0xffffffffU}) {
    EXPECT_THROW(map.reserve(members), Vunda::RangeException) << members;
  }
  EXPECT_EQ(map.size(), 4U);
  map.verify();
}

TEST(HashMap2018, RemovingAllReturnsTheStorageUnlessSomebodyIterates) {
  Numbers map;
  auto const live = heapLive();
  for (std::uint32_t i = 0; i < 10; ++i) map.newMember(i, 0);
  map.memberDelAll();
  EXPECT_EQ(heapLive(), live);
  for (std::uint32_t i = 0; i < 10; ++i) map.newMember(i, 0);
  {
    auto it = map.iterator();
    map.memberDelAll();
    EXPECT_EQ(heapLive(), live + 1);
    ++it;
    EXPECT_FALSE(it);
  }
  map.newMember(1, 1);
  map.verify();
  EXPECT_EQ(map.value(1), 1);
}

TEST(HashMap2018, ASteadyStateOfInsertionsAndRemovalsStopsGrowing) {
  Numbers map;
  for (std::uint32_t i = 0; i < 100; ++i) map.newMember(i, 0);
  auto const before = heapAllocations();
  for (std::uint32_t i = 100; i < 20000; ++i) {
    map.deleteMember(i - 100);
    map.newMember(i, 0);
  }
  EXPECT_LE(heapAllocations(), before + 1);
  EXPECT_EQ(map.size(), 100U);
  map.verify();
}

TEST(HashMap2018, SuccessiveNumbersSpreadOverTheIndex) {
  Numbers map;
  constexpr std::uint32_t many = 200000;
  for (std::uint32_t i = 0; i < many; ++i) map.newMember(i * 4096, 1);
  int found = 0;
  for (std::uint32_t i = 0; i < many; ++i) found += map.value(i * 4096);
  EXPECT_EQ(found, static_cast<int>(many));
}

// --- 8. outlives its iterators ------------------------------------------------------------------

TEST(HashMap2018DeathTest, MustOutliveItsIterators) {
  auto const dieIterated = [] {
    std::optional<Names> map(std::in_place);
    map->newMember("a", 1);
    auto const it = map->iterator();
    map.reset();
  };
  EXPECT_DEATH(dieIterated(), "Assertion `iterators_ == 0' failed");
}

TEST(HashMap2018DeathTest, AnIteratorDoesNotGoBeyondTheEnd) {
  Names const map = abcd();
  Names const none;
  EXPECT_DEATH(++none.iterator(), "Assertion `!atEnd\\(\\)' failed");
  auto it = map.iterator();
  while (it) ++it;
  EXPECT_EQ(it.currNodeNonStale(), nullptr);
  EXPECT_EQ(it.value(), 0);
  EXPECT_DEATH(++it, "Assertion `!atEnd\\(\\)' failed");
  EXPECT_DEATH(it.key(), "Assertion `!atEnd\\(\\)' failed");
}

TEST(HashMap2018DeathTest, CannotBeAssignedToWhileItIsIterated) {
  auto const assign = [] {
    Names map = abcd();
    auto const it = map.iterator();
    map = Names();
  };
  EXPECT_DEATH(assign(), "Assertion `iterators_ == 0 && other.iterators_ == 0' failed");
}

}  // namespace
