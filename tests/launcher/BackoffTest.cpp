#include "launcher/Backoff.h"

#include <gtest/gtest.h>

namespace Oru::Launcher {
namespace {

constexpr BackoffLimits limits{1, 3, 20, 10};

TEST(Backoff, DelaysGrowByTheFactorUpToTheLongest) {
  Backoff backoff;
  EXPECT_EQ(backoff.delayAfter(0, limits), 1);
  EXPECT_EQ(backoff.delayAfter(0, limits), 3);
  EXPECT_EQ(backoff.delayAfter(9.9, limits), 9);
  EXPECT_EQ(backoff.delayAfter(0, limits), 20);
  EXPECT_EQ(backoff.delayAfter(0, limits), 20);
}

TEST(Backoff, AStableRunBeginsTheSeriesAgain) {
  Backoff backoff;
  backoff.delayAfter(0, limits);
  backoff.delayAfter(0, limits);
  EXPECT_EQ(backoff.delayAfter(10, limits), 1);
  EXPECT_EQ(backoff.delayAfter(0, limits), 3);
}

TEST(Backoff, ResetBeginsTheSeriesAgain) {
  Backoff backoff;
  backoff.delayAfter(0, limits);
  backoff.reset();
  EXPECT_EQ(backoff.delayAfter(0, limits), 1);
}

}  // namespace
}  // namespace Oru::Launcher
