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
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/HeapProbe.h"

namespace {

using Kesh::HashMap2018;
using OruTest::heapAllocations;
using OruTest::heapLive;
using OruTest::Sample;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

struct HN_Test;
using Names = HashMap2018<HN_Test, String, int>;
using Numbers = HashMap2018<HN_Test, std::uint32_t, int>;
using Nodes = HashMap2018<HN_Test, String, Ptr<Sample>>;

String named(int i) { return String(("key" + std::to_string(i)).c_str()); }

template <class Map>
auto contents(Map const& map) {
  using Key = std::remove_cvref_t<decltype(map.iterator().key())>;
  using Value = decltype(map.iterator().value());
  std::vector<std::pair<Key, Value>> all;
  for (auto it = map.iterator(); it; ++it) all.emplace_back(it.key(), it.value());
  map.verify();
  return all;
}

Names abcd() {
  Names map;
  int value = 0;
  for (char const* key : {"a", "b", "c", "d"}) map.newMember(key, ++value);
  return map;
}

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

TEST(HashMap2018DeathTest, CannotBeAssignedToWhileItIsIterated) {
  auto const assign = [] {
    Names map = abcd();
    auto const it = map.iterator();
    map = Names();
  };
  EXPECT_DEATH(assign(), "Assertion `iterators_ == 0 && other.iterators_ == 0' failed");
}

// --- the typed face ------------------------------------------------------------------------------

TEST(HashMap2018DeathTest, ANewMemberMustBeAbsent) {
  Names map = abcd();
  EXPECT_DEATH(map.newMember("a", 1), "Assertion `isNew' failed");
}

TEST(HashMap2018, LooksUpByKey) {
  Names const map = abcd();
  EXPECT_EQ(map.size(), 4U);
  EXPECT_FALSE(map.empty());
  EXPECT_TRUE(map.has("c"));
  EXPECT_FALSE(map.has("x"));
  ASSERT_NE(map.lookup("c"), nullptr);
  EXPECT_EQ(*map.lookup("c"), 3);
  EXPECT_EQ(map.lookup("x"), nullptr);
  EXPECT_EQ(map.value("d"), 4);
  EXPECT_EQ(map.value("x"), 0);
  auto it = map.iterator();
  EXPECT_EQ(it.currNodeNonStale()->key(), String("a"));
  EXPECT_EQ(it.currNodeNonStale()->value(), 1);
}

TEST(HashMap2018, MemberIsTellsWhetherItWrote) {
  Names map;
  EXPECT_TRUE(map.memberIs("a", 0)) << "a first insertion, whatever the value";
  EXPECT_FALSE(map.memberIs("a", 0));
  EXPECT_TRUE(map.memberIs("a", 1));
  EXPECT_FALSE(map.memberIs("a", 1));
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1)));
}

TEST(HashMap2018, DeletingAnAbsentKeyChangesNothing) {
  Names map = abcd();
  int out = 77;
  EXPECT_FALSE(map.deleteMember("x"));
  EXPECT_FALSE(map.deleteMember("x", out));
  EXPECT_EQ(out, 77);
  EXPECT_EQ(map.size(), 4U);
}

TEST(HashMap2018, DeletingHandsTheValueOver) {
  Names map = abcd();
  int out = 0;
  EXPECT_TRUE(map.deleteMember("c", out));
  EXPECT_EQ(out, 3);
  EXPECT_FALSE(map.has("c"));
}

TEST(HashMap2018, AKeyReadFromAMemberMayNameTheMemberToInsertOrRemove) {
  Names map = abcd();
  for (auto it = map.iterator(); it; ++it) map.memberIs(it.currNodeNonStale()->key(), 7);
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 7), Pair("b", 7), Pair("c", 7), Pair("d", 7)));
  map.deleteMember(map.iterator().currNodeNonStale()->key());
  EXPECT_FALSE(map.has("a"));
}

TEST(HashMap2018, TheKeyOfARemovedMemberMayNameItsReinsertionThatMakesTheCollectionGrow) {
  Names map = abcd();
  auto it = map.iterator();
  map.deleteMember("a");
  EXPECT_TRUE(map.memberIs(it.key(), 9));
  map.verify();
  EXPECT_EQ(map.value("a"), 9);
  EXPECT_EQ(it.key(), String("a"));
}

TEST(HashMap2018, ACopyHoldsTheMembersInTheSameOrderAndIsItsOwn) {
  Names map = abcd();
  map.deleteMember("b");
  Names copy = map;
  EXPECT_EQ(contents(copy), contents(map));
  copy.newMember("e", 5);
  EXPECT_FALSE(map.has("e"));

  Numbers numbers;
  for (std::uint32_t i = 0; i < 10; ++i) numbers.newMember(i, static_cast<int>(i));
  Numbers const whole = numbers;
  EXPECT_EQ(contents(whole), contents(numbers));
  numbers.deleteMember(4);
  Numbers const holed = numbers;
  EXPECT_EQ(contents(holed), contents(numbers));
}

TEST(HashMap2018, ACopyOfACountedPointerIsAUser) {
  auto const node = makeNode<Sample>();
  Nodes map;
  map.newMember("a", node);
  {
    Nodes const copy = map;
    EXPECT_EQ(node->useCount(), 3U);
  }
  EXPECT_EQ(node->useCount(), 2U);
}

TEST(HashMap2018, AMovedCollectionLeavesAnEmptyOne) {
  Names map = abcd();
  Names const moved = std::move(map);
  EXPECT_TRUE(map.empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved.size(), 4U);
  map.newMember("a", 1);
  EXPECT_THAT(contents(map), ElementsAre(Pair("a", 1)));
}

TEST(HashMap2018, AssignmentReplacesTheMembers) {
  Names map = abcd();
  Names other;
  other.newMember("x", 9);
  map = other;
  EXPECT_THAT(contents(map), ElementsAre(Pair("x", 9)));
  EXPECT_THAT(contents(other), ElementsAre(Pair("x", 9)));
}

TEST(HashMap2018, EqualityIsOfKeysAndValuesInWhateverOrder) {
  Names const map = abcd();
  Names other = abcd();
  EXPECT_EQ(map, other);
  other.deleteMember("a");
  EXPECT_FALSE(map == other);
  other.newMember("a", 1);
  EXPECT_EQ(map, other);
  other.memberIs("a", 2);
  EXPECT_FALSE(map == other);
  other.deleteMember("a");
  other.newMember("x", 1);
  EXPECT_FALSE(map == other);
}

TEST(HashMap2018, DestructionReleasesKeysAndValues) {
  auto const live = heapLive();
  bool gone = false;
  {
    Nodes map;
    map.newMember("a", makeNode<Sample>(&gone));
    map.newMember("b", nullptr);
    map.deleteMember("b");
  }
  EXPECT_TRUE(gone);
  EXPECT_EQ(heapLive(), live);
}

TEST(HashMap2018, SmallKeysOfEveryKindAreTheirOwnHash) {
  enum class Kind : std::uint8_t { first, second };
  HashMap2018<HN_Test, Kind, int> kinds;
  kinds.newMember(Kind::second, 2);
  EXPECT_EQ(kinds.value(Kind::second), 2);
  EXPECT_FALSE(kinds.has(Kind::first));
  HashMap2018<HN_Test, std::int16_t, int> signedNumbers;
  signedNumbers.newMember(-1, 1);
  signedNumbers.newMember(1, 2);
  EXPECT_EQ(signedNumbers.value(-1), 1);
  EXPECT_EQ(signedNumbers.value(1), 2);
  EXPECT_EQ(Kesh::HashHelper::hashOf(Kind::second), 1U);
  EXPECT_EQ(Kesh::HashHelper::hashOf(std::uint16_t{7}), 7U);
  EXPECT_EQ(Kesh::HashHelper::lookupKey(std::uint16_t{7}).hash, 7U);
}

TEST(HashMap2018, AStringsLookupKeyCarriesItsHash) {
  String const text("Linecard3");
  auto const key = Kesh::HashHelper::lookupKey(text);
  static_assert(std::is_same_v<decltype(key), Kesh::HashHelper::KeyStringLegacy const>);
  EXPECT_EQ(&key.key, &text);
  EXPECT_EQ(key.hash, text.hash());
}

// --- values whose release looks at the collection
// -------------------------------------------------

struct Looker : Kesh::Typed<Looker, Vunda::Node> {
  static constexpr char const* typeName = "OruTest::Looker";
  explicit Looker(std::function<void()> action) : atEnd(std::move(action)) {}
  ~Looker() override { atEnd(); }
  std::function<void()> atEnd;
};
using Lookers = HashMap2018<HN_Test, std::uint32_t, Ptr<Looker>>;

TEST(HashMap2018, AReleasedValueSeesACollectionWithoutIt) {
  Lookers map;
  int ends = 0;
  auto const looking = [&](std::uint32_t key) {
    return makeNode<Looker>([&map, &ends, key] {
      ++ends;
      EXPECT_FALSE(map.has(key));
      map.verify();
    });
  };
  map.newMember(1, looking(1));
  map.newMember(2, looking(2));
  map.newMember(3, looking(3));
  map.deleteMember(2);
  EXPECT_EQ(ends, 1);
  map.memberDelAll();
  EXPECT_EQ(ends, 3);
}

TEST(HashMap2018, TheEndOfACollectionReleasesOneValueAfterTheOtherAndNoneFindsItself) {
  std::vector<std::uint32_t> sizes;
  {
    Lookers map;
    for (std::uint32_t key : {1U, 2U, 3U}) {
      map.newMember(key, makeNode<Looker>([&map, &sizes, key] {
                      EXPECT_FALSE(map.has(key));
                      EXPECT_EQ(map.value(key), nullptr);
                      sizes.push_back(map.size());
                      map.deleteMember(3);
                      map.verify();
                    }));
    }
  }
  EXPECT_THAT(sizes, ElementsAre(2U, 1U, 0U));
}

TEST(HashMap2018, AssignmentReleasesTheOldValuesAfterTheNewOnesStand) {
  Lookers map;
  bool stands = false;
  map.newMember(1, makeNode<Looker>([&] { stands = map.size() == 2 && map.has(5); }));
  Lookers next;
  next.newMember(5, nullptr);
  next.newMember(6, nullptr);
  map = next;
  EXPECT_TRUE(stands);
}

TEST(HashMap2018, ReleasesTheOverwrittenValueAfterTheNewOneStands) {
  Lookers map;
  Looker const* seen = nullptr;
  map.newMember(1, makeNode<Looker>([&] { seen = map.value(1).ptr(); }));
  auto const next = makeNode<Looker>([] {});
  map.memberIs(1, next);
  EXPECT_EQ(seen, next.ptr());
  map.memberDelAll();
}

TEST(HashMap2018, IsWholeAgainBeforeDeletionReleasesWhatTheOutputHeld) {
  Lookers map;
  std::uint32_t sizeThen = 99;
  map.newMember(1, nullptr);
  Ptr<Looker> out = makeNode<Looker>([&] {
    sizeThen = map.size();
    map.newMember(2, nullptr);
    map.verify();
  });
  EXPECT_TRUE(map.deleteMember(1, out));
  EXPECT_EQ(sizeThen, 0U);
  EXPECT_TRUE(map.has(2));
}

TEST(HashMap2018, RemovingAllGoesOnUntilNoneIsLeftWhateverReleasesInsertAndRemove) {
  Lookers map;
  std::vector<std::uint32_t> ends;
  auto const noting = [&ends](std::uint32_t key) {
    return makeNode<Looker>([&ends, key] { ends.push_back(key); });
  };
  map.newMember(1, makeNode<Looker>([&] {
                  ends.push_back(1);
                  map.deleteMember(3);
                  for (std::uint32_t key = 10; key < 20; ++key) map.newMember(key, noting(key));
                }));
  map.newMember(2, makeNode<Looker>([&] {
                  ends.push_back(2);
                  map.memberDelAll();
                }));
  map.newMember(3, noting(3));
  map.newMember(4, noting(4));
  map.memberDelAll();
  EXPECT_THAT(ends, ElementsAre(1, 3, 2, 4, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19));
  EXPECT_TRUE(map.empty());
  map.verify();
}

}  // namespace
