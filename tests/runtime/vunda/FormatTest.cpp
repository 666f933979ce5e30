#include "runtime/vunda/Format.h"

#include <gtest/gtest.h>

namespace {

TEST(Format, StringPrintsItsCharacters) {
  EXPECT_EQ(fmt::format("<{}>", Vunda::String("Slice1")), "<Slice1>");
  EXPECT_EQ(fmt::format("<{}>", Vunda::String()), "<>");
  EXPECT_EQ(fmt::format("<{:>8}>", Vunda::String("Slice1")), "<  Slice1>");
}

TEST(Format, DurationPrintsTheShortestFormOfItsSeconds) {
  EXPECT_EQ(fmt::format("{}", Vunda::Duration(12.5)), "12.5");
  EXPECT_EQ(fmt::format("{}", Vunda::Duration(0)), "0");
  EXPECT_EQ(fmt::format("{}", Vunda::Duration(1764000000.123456)), "1764000000.123456");
}

TEST(Format, DurationTakesTheFormatSpecificationOfADouble) {
  EXPECT_EQ(fmt::format("{:.3f}", Vunda::Duration(12.5)), "12.500");
  EXPECT_EQ(fmt::format("{:08.1f}", Vunda::Duration(-12.5)), "-00012.5");
  EXPECT_EQ(fmt::format("{:e}", Vunda::Duration(12.5)), "1.250000e+01");
}

}  // namespace
