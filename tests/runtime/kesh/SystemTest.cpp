#include "runtime/kesh/System.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

namespace {

using Kesh::System;
using Vunda::Duration;

constexpr double infinity = std::numeric_limits<double>::infinity();

double now = 0;

// A clock that the test sets.
class SystemTime : public testing::Test {
 protected:
  SystemTime() {
    System::clockIs([] { return Duration(now); });
  }
  ~SystemTime() override { System::clockIs(nullptr); }

  static double timeAt(double clock) {
    now = clock;
    return System::currentTime().seconds();
  }
  static double above(double time) { return std::nextafter(time, infinity); }
};

TEST_F(SystemTime, IsTheClocksWhileTheClockGoesForward) {
  EXPECT_EQ(timeAt(1700000000.5), 1700000000.5);
  EXPECT_EQ(timeAt(1700000001.5), 1700000001.5);
}

TEST_F(SystemTime, IsTheNextValueAboveTheLastWhileTheClockStandsStill) {
  EXPECT_EQ(timeAt(1000), 1000);
  EXPECT_EQ(timeAt(1000), above(1000));
  EXPECT_EQ(timeAt(1000), above(above(1000)));
  EXPECT_EQ(timeAt(1001), 1001);
}

TEST_F(SystemTime, StaysAboveTheLastWhenTheClockIsSetBack) {
  EXPECT_EQ(timeAt(1000), 1000);
  EXPECT_EQ(timeAt(10), above(1000));
  EXPECT_EQ(timeAt(999), above(above(1000)));
  EXPECT_EQ(timeAt(1000.5), 1000.5);
}

TEST_F(SystemTime, StaysAboveTheLastWhenTheClockGivesNoFiniteNumber) {
  EXPECT_EQ(timeAt(1000), 1000);
  EXPECT_EQ(timeAt(std::nan("")), above(1000));
  EXPECT_EQ(timeAt(infinity), above(above(1000)));
  EXPECT_EQ(timeAt(-infinity), above(above(above(1000))));
  EXPECT_EQ(timeAt(1001), 1001);
}

TEST_F(SystemTime, IsNeverZeroWhichMeansNeverSet) {
  EXPECT_GT(timeAt(0), 0);
  System::clockIs([] { return Duration(-5); });
  EXPECT_GT(System::currentTime(), Duration(0));
}

TEST_F(SystemTime, StaysAboveTheFloor) {
  System::currentTimeFloorIs(Duration(5000));
  EXPECT_EQ(timeAt(1000), above(5000));
  EXPECT_EQ(timeAt(5001), 5001);
}

TEST_F(SystemTime, AFloorThatTheClockGivesExactlyIsExceeded) {
  System::currentTimeFloorIs(Duration(5000));
  EXPECT_EQ(timeAt(5000), above(5000));
}

TEST_F(SystemTime, AFloorBelowThePresentOneOrNotFiniteChangesNothing) {
  System::currentTimeFloorIs(Duration(5000));
  System::currentTimeFloorIs(Duration(100));
  System::currentTimeFloorIs(Duration(infinity));
  System::currentTimeFloorIs(Duration(std::nan("")));
  EXPECT_EQ(timeAt(1000), above(5000));
  System::currentTimeFloorIs(Duration(2000));
  EXPECT_EQ(timeAt(1000), above(above(5000)));
}

// Infinity would be handed out twice: a restarted chip would look restarted already.
using SystemTimeDeathTest = SystemTime;
TEST_F(SystemTimeDeathTest, EndsTheProcessWhenNoFiniteTimeIsLeft) {
  constexpr double greatest = std::numeric_limits<double>::max();
  System::currentTimeFloorIs(Duration(std::nextafter(greatest, 0.0)));
  EXPECT_EQ(timeAt(1000), greatest);
  EXPECT_DEATH(timeAt(1000), "Assertion `std::isfinite\\(next\\)' failed");
}

TEST_F(SystemTime, ReplacingTheClockForgetsFloorAndLastValue) {
  System::currentTimeFloorIs(Duration(5000));
  EXPECT_GT(timeAt(1000), 5000);
  System::clockIs([] { return Duration(7); });
  EXPECT_EQ(System::currentTime(), Duration(7));
}

TEST(SystemWallClock, IsSecondsSinceTheEpochAndStrictlyIncreasing) {
  System::clockIs(nullptr);
  auto const wall = [] {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  double const before = wall();
  Duration last = System::currentTime();
  EXPECT_GE(last.seconds(), before);
  for (int i = 0; i < 10000; ++i) {
    Duration const next = System::currentTime();
    ASSERT_GT(next, last);
    last = next;
  }
  EXPECT_LE(last.seconds(), wall() + 0.01);
}

}  // namespace
