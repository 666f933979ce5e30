#include "tools/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace Oru::Tools;

TEST(Text, HarmlessTextIsShownAsItStands) {
  EXPECT_EQ("Slice 1/Zürich 线卡 ☎", shown("Slice 1/Zürich 线卡 ☎"));
}

TEST(Text, WhatATerminalActsOnIsShownAsAnEscape) {
  EXPECT_EQ("a\\x1B[31mb\\x0Ac\\x7F\\x00", shown(std::string_view("a\033[31mb\nc\x7F\0", 11)));
  EXPECT_EQ("\\u009B31m", shown("\xC2\x9B"
                                "31m"));
  EXPECT_EQ("abc\\u202Edef\\u2066", shown("abc\u202Edef\u2066"));
}

TEST(Text, BytesThatAreNoUtf8AreShownOneByOne) {
  EXPECT_EQ("\\xFF\\xC3", shown("\xFF\xC3"));
  EXPECT_EQ("\\xC0\\x80", shown("\xC0\x80"));
  EXPECT_EQ("\\xED\\xA0\\x80", shown("\xED\xA0\x80"));
}

TEST(Text, WidthCountsColumnsNotBytes) {
  EXPECT_EQ(0u, displayWidth(""));
  EXPECT_EQ(6u, displayWidth("Zürich"));
  EXPECT_EQ(4u, displayWidth("线卡"));
  EXPECT_EQ(1u, displayWidth("e\u0301"));
}

TEST(Text, FittedNeverCutsACharacter) {
  EXPECT_EQ("线", fitted("线卡", 3));
  EXPECT_EQ("Zü", fitted("Zürich", 2));
  EXPECT_EQ("e\u0301", fitted("e\u0301x", 1));
  EXPECT_EQ("ab", fitted("ab", 5));
}

TEST(Text, NumbersInNamesAreComparedAsNumbers) {
  std::vector<std::string> names{"Chip10", "Chip2",        "Chip",
                                 "Chip02", "Ethernet1/10", "Ethernet1/9"};
  std::sort(names.begin(), names.end(), NaturalOrder());
  EXPECT_EQ((std::vector<std::string>{"Chip", "Chip02", "Chip2", "Chip10", "Ethernet1/9",
                                      "Ethernet1/10"}),
            names);
}

TEST(Text, DifferentNamesAreNeverEqualInOrder) {
  EXPECT_TRUE(naturalLess("07", "7") != naturalLess("7", "07"));
  EXPECT_FALSE(naturalLess("7", "7"));
}

}  // namespace
