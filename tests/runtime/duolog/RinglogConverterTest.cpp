#include "runtime/duolog/RinglogConverter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using Duolog::RinglogConverter;

struct Position {
  int x;
  int y;
};

std::string valueToStrep(Position const& position) {
  return "(" + std::to_string(position.x) + "|" + std::to_string(position.y) + ")";
}

template <typename... Values>
std::string filled(std::string const& text, Values const&... values) {
  RinglogConverter converter(text);
  static_cast<void>((converter << ... << values));
  return converter.text();
}

TEST(RinglogConverter, ValuesReplacePlaceholdersInOrder) {
  EXPECT_EQ(filled("chipName %s genTime %s", Vunda::String("Chip1"), Vunda::Duration(12.5)),
            "chipName Chip1 genTime 12.5");
}

TEST(RinglogConverter, TheFirstOfBothKindsOfPlaceholdersIsReplaced) {
  EXPECT_EQ(filled("%x %s", 255, 255), "ff 255");
  EXPECT_EQ(filled("%s %x", 255, 255), "255 ff");
}

TEST(RinglogConverter, ValueWithoutPlaceholderIsNotWritten) {
  EXPECT_EQ(filled("only %s", 1, 2, 3), "only 1");
  EXPECT_EQ(filled("none", 1), "none");
}

TEST(RinglogConverter, PlaceholderWithoutValueStays) { EXPECT_EQ(filled("%s %s", 1), "1 %s"); }

TEST(RinglogConverter, TextPutInIsNotSearchedForPlaceholders) {
  EXPECT_EQ(filled("%s %s", "%s%x", "b"), "%s%x b");
}

TEST(RinglogConverter, DurationsAndDoublesPrintSixDigits) {
  EXPECT_EQ(filled("%s", Vunda::Duration(1764000000.25)), "1.764e+09");
  EXPECT_EQ(filled("%s", Vunda::Duration(12.5)), "12.5");
  EXPECT_EQ(filled("%s", Vunda::Duration(0)), "0");
  EXPECT_EQ(filled("%s", 1.0 / 3), "0.333333");
  EXPECT_EQ(filled("%s", 1.5f), "1.5");
  EXPECT_EQ(filled("%s", std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(filled("%s", std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(RinglogConverter, BooleansPrintAsWords) {
  EXPECT_EQ(filled("%s %s", true, false), "true false");
}

TEST(RinglogConverter, TextsPrintAsTheyAre) {
  std::string const standard = "d";
  EXPECT_EQ(filled("%s%s%s%s%s", Vunda::String("a"), "b", 'c', standard, std::string_view("e")),
            "abcde");
}

TEST(RinglogConverter, IntegersOfEveryWidthPrint) {
  EXPECT_EQ(filled("%s %s %s", std::uint8_t{200}, std::int16_t{-3}, std::uint64_t{1} << 63),
            "200 -3 9223372036854775808");
}

TEST(RinglogConverter, HexadecimalIsAsWideAsTheType) {
  EXPECT_EQ(filled("%x %x", std::int16_t{-1}, std::int64_t{-1}), "ffff ffffffffffffffff");
}

TEST(RinglogConverter, HexadecimalOfWhatIsNoIntegerIsItsText) {
  EXPECT_EQ(filled("%x %x %x", 12.5, "text", true), "12.5 text true");
}

TEST(RinglogConverter, OtherTypesPrintTheirGenericRepresentation) {
  EXPECT_EQ(filled("at %s", Position{3, 4}), "at (3|4)");
}

}  // namespace
