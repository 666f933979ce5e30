#include "tools/Times.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>

namespace {

using namespace Oru::Tools;

TEST(Times, PointsInTimeAreLocalWithMilliseconds) {
  ::setenv("TZ", "EST5", 1);
  ::tzset();
  EXPECT_EQ("2024-11-21 06:00:00.250", timeText(1732186800.25));
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  EXPECT_EQ("2024-11-21 11:00:00.250", timeText(1732186800.25));
  EXPECT_EQ("9999-12-31 23:59:59.000", timeText(253402300799.0));
}

TEST(Times, ZeroMeansNever) { EXPECT_EQ("-", timeText(0.0)); }

TEST(Times, LengthsOfTimeHaveTwoUnits) {
  EXPECT_EQ("0.0 s", durationText(-1.0));
  EXPECT_EQ("1.3 s", durationText(1.26));
  EXPECT_EQ("59.9 s", durationText(59.9));
  EXPECT_EQ("1 min 0 s", durationText(60.4));
  EXPECT_EQ("2 min 5 s", durationText(125));
  EXPECT_EQ("3 h 10 min", durationText(3 * 3600 + 10 * 60 + 59));
  EXPECT_EQ("4 d 2 h", durationText(4 * 86400 + 2 * 3600));
}

}  // namespace
