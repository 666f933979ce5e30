// Keyed collections as a caller uses them: look-ups, writes, copies, comparison, kinds of keys.

#include "runtime/kesh/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "tests/runtime/kesh/HashMap2018Samples.h"
#include "tests/support/HeapProbe.h"
#include "tests/support/MovedOut.h"

namespace {

using Kesh::HashMap2018;
using OruTest::abcd;
using OruTest::contents;
using OruTest::heapLive;
using OruTest::HN_Test;
using OruTest::movedOut;
using OruTest::Names;
using OruTest::Nodes;
using OruTest::Numbers;
using OruTest::Sample;
using testing::ElementsAre;
using testing::Pair;
using Vunda::makeNode;
using Vunda::String;

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

TEST(HashMap2018, ExchangingHandsOverWhatStoodThere) {
  Names map = abcd();
  EXPECT_EQ(map.memberExchange("b", 7), 2);
  EXPECT_EQ(map.memberExchange("e", 5), 0) << "a default value";
  EXPECT_THAT(contents(map),
              ElementsAre(Pair("a", 1), Pair("b", 7), Pair("c", 3), Pair("d", 4), Pair("e", 5)));
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
  Names const moved = movedOut(map);
  EXPECT_TRUE(map.empty());
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

}  // namespace
