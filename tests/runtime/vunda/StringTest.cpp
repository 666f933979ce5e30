#include "runtime/vunda/String.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/vunda/RangeException.h"
#include "tests/support/HeapProbe.h"
#include "tests/support/MovedOut.h"

namespace {

using OruTest::FailingAllocation;
using OruTest::heapAllocations;
using OruTest::heapLive;
using OruTest::movedOut;
using Vunda::String;
using namespace std::literals;

static_assert(sizeof(String) == sizeof(void*));

int sign(int value) { return (value > 0) - (value < 0); }

TEST(String, HoldsTheTextItWasMadeFrom) {
  String const text("Linecard3");
  EXPECT_STREQ(text.data(), "Linecard3");
  EXPECT_EQ(text.length(), 9U);
  EXPECT_EQ(text.view(), "Linecard3");
  EXPECT_FALSE(text.empty());
}

TEST(String, DefaultNullAndEmptyTextAreTheEmptyString) {
  for (String const& text :
       {String(), String(static_cast<char const*>(nullptr)), String(""), String(""sv)}) {
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.length(), 0U);
    EXPECT_STREQ(text.data(), "");
    EXPECT_EQ(text, String());
    EXPECT_EQ(text.hash(), String::hashOf(""));
  }
}

TEST(String, TheEmptyStringAllocatesNothing) {
  auto const before = heapAllocations();
  String const empty("");
  String const copy = empty;
  EXPECT_EQ(copy.length(), 0U);
  EXPECT_EQ(heapAllocations(), before);
}

TEST(String, OneAllocationPerRepresentationAndNoneForACopy) {
  auto const before = heapAllocations();
  auto const live = heapLive();
  {
    String const text("some text that is longer than any small buffer would be");
    EXPECT_EQ(heapAllocations(), before + 1);
    String copy = text;
    String moved = std::move(copy);
    copy = moved;
    EXPECT_EQ(copy.data(), text.data());
    EXPECT_EQ(heapAllocations(), before + 1);
  }
  EXPECT_EQ(heapLive(), live);
}

TEST(String, ARepresentationLivesAsLongAsItsLastHandle) {
  String kept;
  {
    String const first("shared");
    kept = first;
  }
  EXPECT_STREQ(kept.data(), "shared");
}

TEST(String, AMovedFromStringIsEmpty) {
  String text("gone");
  String const moved = movedOut(text);
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(moved, String("gone"));
}

TEST(String, AssignmentToItselfKeepsTheText) {
  String text("same");
  String const& alias = text;
  text = alias;
  EXPECT_STREQ(text.data(), "same");
}

TEST(String, AFailedAllocationRaisesAndLeavesTheTargetAsItWas) {
  String text("before");
  {
    FailingAllocation const failing(0);
    EXPECT_THROW(text = String("after"), std::bad_alloc);
  }
  EXPECT_STREQ(text.data(), "before");
}

TEST(String, EqualityIsByContent) {
  String const first("chip"), second("chip");
  ASSERT_NE(first.data(), second.data());
  EXPECT_EQ(first, second);
  EXPECT_EQ(first.hash(), second.hash());
  EXPECT_NE(first, String("chiq"));
  EXPECT_NE(first, String("chi"));
  EXPECT_NE(first, String());
  EXPECT_NE(String(), first);
}

TEST(String, EqualHashesDoNotMakeEqualStrings) {
  auto const text = [](std::uint32_t number) { return std::to_string(number * 2654435761U); };
  std::vector<std::pair<std::uint32_t, std::uint32_t>> hashes;
  for (std::uint32_t number = 0; number < 500000; ++number) {
    hashes.emplace_back(String::hashOf(text(number)), number);
  }
  std::sort(hashes.begin(), hashes.end());
  auto const same =
      std::adjacent_find(hashes.begin(), hashes.end(),
                         [](auto const& a, auto const& b) { return a.first == b.first; });
  ASSERT_NE(same, hashes.end()) << "half a million texts and no two with one hash of 32 bits";
  String const first(text(same->second).c_str());
  String const second(text((same + 1)->second).c_str());
  ASSERT_EQ(first.hash(), second.hash());
  EXPECT_NE(first, second);
  EXPECT_NE(first.compare(second), 0);
}

// Another text of the same hash: one word of four bytes is changed, and the next one undoes what that
// does to the hash.
std::string twinOf(std::string const& text, std::size_t changedWord) {
  std::vector<std::uint32_t> words(text.size() / sizeof(std::uint32_t));
  std::memcpy(words.data(), text.data(), text.size());
  auto const mixedUpTo = [&] {
    std::uint32_t state = 0;
    for (std::size_t i = 0; i <= changedWord; ++i)
      state = (std::rotl(state, 5) ^ words[i]) * 0x9e3779b1U;
    return std::rotl(state, 5);
  };
  std::uint32_t const before = mixedUpTo();
  words[changedWord] ^= 1U;
  words[changedWord + 1] ^= before ^ mixedUpTo();
  return {reinterpret_cast<char const*>(words.data()), text.size()};
}

TEST(String, EqualHashesAndLengthsDoNotHideADifferenceAnywhere) {
  std::string const letters = "abcdefghijklmnopqrstuvwxyz012345";
  for (std::size_t words = 2; words <= letters.size() / 4; ++words) {
    std::string const text = letters.substr(0, words * 4);
    String const first(text);
    EXPECT_EQ(first, String(text));
    for (std::size_t changed = 0; changed + 1 < words; ++changed) {
      String const second(twinOf(text, changed));
      ASSERT_EQ(first.hash(), second.hash());
      ASSERT_EQ(first.length(), second.length());
      EXPECT_NE(first, second) << words << " words, changed at " << changed;
    }
  }
}

TEST(String, TextsOfEveryLengthEqualThemselvesAlone) {
  std::string const letters = "abcdefghijklmnopqrstuvwxyz";
  for (std::size_t length = 1; length <= letters.size(); ++length) {
    // Another string stood in this memory before, so that what is behind the end is not zero.
    { String const dirt(std::string(length + 8, 'z')); }
    String const text(letters.substr(0, length));
    EXPECT_EQ(text, String(letters.substr(0, length)));
    EXPECT_NE(text, String(letters.substr(0, length - 1)));
    EXPECT_NE(text, String(letters.substr(0, length - 1) + '!'));
    EXPECT_EQ(text.data()[length], '\0');
  }
}

TEST(String, KeepsCharactersBehindANul) {
  String const text("a\0b"sv);
  EXPECT_EQ(text.length(), 3U);
  EXPECT_EQ(text.view(), "a\0b"sv);
  EXPECT_EQ(text.data()[3], '\0');
  EXPECT_NE(text, String("a"));
  EXPECT_NE(text, String("a\0c"sv));
  EXPECT_NE(String("a"), String("a\0"sv));
  EXPECT_NE(String("a").hash(), String("a\0"sv).hash());
}

TEST(String, ComparesAsUnsignedBytes) {
  EXPECT_LT(String("a").compare(String("b")), 0);
  EXPECT_GT(String("b").compare(String("a")), 0);
  EXPECT_EQ(String("a").compare(String("a")), 0);
  EXPECT_LT(String("a").compare(String("aa")), 0);
  EXPECT_LT(String().compare(String("a")), 0);
  EXPECT_GT(String("\xc3").compare(String("z")), 0);
  EXPECT_LT(String("a"), String("b"));
  EXPECT_GE(String("b"), String("b"));
}

TEST(String, HashOfATextIsTheHashOfItsString) {
  for (char const* text : {"", "1", "12", "123", "1234", "12345", "Ethernet3/1/1"}) {
    EXPECT_EQ(String::hashOf(text), String(text).hash()) << text;
  }
}

TEST(String, IsInsertedIntoAStreamWhole) {
  std::ostringstream out;
  out << String("a\0b"sv) << '|' << String() << '|';
  EXPECT_EQ(out.str(), "a\0b||"s);
}

TEST(String, ATextTooLongForItsLengthIsRefused) {
  std::string_view const tooLong("", std::size_t{4294967280U});
  try {
    String const text(tooLong);
    FAIL();
  } catch (Vunda::RangeException const& raised) {
    EXPECT_STREQ(raised.what(), "Vunda::String longer than 4294967279 bytes not allowed");
  }
}

RC_GTEST_PROP(StringRandom, BehavesLikeAStandardString, (std::string a, std::string b)) {
  if (*rc::gen::arbitrary<bool>()) b = a;
  String const first{std::string_view(a)}, second{std::string_view(b)};
  RC_ASSERT(first.view() == a);
  RC_ASSERT((first == second) == (a == b));
  RC_ASSERT(sign(first.compare(second)) == sign(a.compare(b)));
  RC_ASSERT(first != second || first.hash() == second.hash());
  RC_ASSERT(first.hash() == String::hashOf(a));
}

}  // namespace
