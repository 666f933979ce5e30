#include "mount/RetryDelay.h"

#include <gtest/gtest.h>

namespace {

using Oru::Mount::RetryDelay;
using std::chrono::milliseconds;

TEST(RetryDelay, GrowsFromATenthOfASecondToAMinute) {
  RetryDelay delay;
  EXPECT_EQ(milliseconds(100), delay.next());
  EXPECT_EQ(milliseconds(200), delay.next());
  EXPECT_EQ(milliseconds(400), delay.next());
  for (int i = 0; i < 10; ++i) delay.next();
  EXPECT_EQ(milliseconds(60000), delay.next());
}

TEST(RetryDelay, IsTheFirstOneAgainAfterSuccess) {
  RetryDelay delay;
  delay.next();
  delay.next();
  delay.reset();
  EXPECT_EQ(milliseconds(100), delay.next());
}

}  // namespace
