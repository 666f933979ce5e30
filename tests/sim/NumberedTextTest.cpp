#include "sim/NumberedText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Oru::Sim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string reasonFor(std::string const& text) {
  try {
    static_cast<void>(numbersOf(text));
  } catch (std::invalid_argument const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(NumberedText, RangesAndSingleNumbersKeepTheirOrder) {
  EXPECT_THAT(numbersOf("7"), ElementsAre(7));
  EXPECT_THAT(numbersOf("1-4"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(numbersOf("9,1-3,0"), ElementsAre(9, 1, 2, 3, 0));
  EXPECT_THAT(numbersOf("65535"), ElementsAre(65535));
}

TEST(NumberedText, WhatIsNoNumberIsRefusedWithTheReason) {
  for (auto const* text : {"", "a", "1-", "-1", "1,,2", "1 ", "+1", "65536", "1-2-3"}) {
    EXPECT_THAT(reasonFor(text), HasSubstr("where a number from 0 to 65535 belongs")) << text;
  }
  EXPECT_EQ(reasonFor("4-1"), "has the range \"4-1\" backwards");
  EXPECT_EQ(reasonFor("1-3,2"), "has 2 twice");
  EXPECT_EQ(reasonFor("0-4096"), "has more than 4096 numbers");
  EXPECT_EQ(numbersOf("0-4095").size(), 4096u);
}

TEST(NumberedText, PlaceholdersBecomeTheirNumbers) {
  Placeholders const values{{"slice", 3}, {"port", 12}};
  EXPECT_EQ(expanded("Ethernet{slice}/{port}", values), "Ethernet3/12");
  EXPECT_EQ(expanded("{slice}{slice}", values), "33");
  EXPECT_EQ(expanded("plain", values), "plain");
}

TEST(NumberedText, WordsAreReplacedWhereverTheyStand) {
  EXPECT_EQ(replaced("{a}/{a}b", "{a}", "x"), "x/xb");
  EXPECT_EQ(replaced("{a}", "{a}", "{a}{a}"), "{a}{a}");
  EXPECT_EQ(replaced("plain", "{a}", "x"), "plain");
}

TEST(NumberedText, UnknownPlaceholdersAndLoneBracesAreRefused) {
  Placeholders const values{{"slice", 3}};
  EXPECT_THROW(expanded("{chip}", values), std::invalid_argument);
  EXPECT_THROW(expanded("{slice", values), std::invalid_argument);
  EXPECT_THROW(expanded("slice}", values), std::invalid_argument);
  EXPECT_THROW(expanded("{}", values), std::invalid_argument);
}

}  // namespace
}  // namespace Oru::Sim
