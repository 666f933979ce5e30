#include "runtime/vunda/Duration.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>
#include <type_traits>

namespace {

using Vunda::Duration;

static_assert(sizeof(Duration) == 8);
static_assert(std::is_trivially_copyable_v<Duration>);
static_assert(std::is_same_v<Kesh::Seconds, Duration>);
static_assert(!std::is_convertible_v<double, Duration>);
static_assert(Duration(2.5).seconds() == 2.5);

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Duration, ZeroMeansNeverSet) {
  EXPECT_EQ(Duration(), Duration(0.0));
  EXPECT_FALSE(Duration());
  EXPECT_FALSE(Duration(-0.0));
  EXPECT_TRUE(Duration(1e-300));
  EXPECT_TRUE(Duration(-1.0));
  EXPECT_TRUE(Duration(nan));
}

TEST(Duration, ComparesExactly) {
  Duration const time(1700000000.25);
  Duration const next(std::nextafter(time.seconds(), 2e9));
  EXPECT_EQ(time, Duration(1700000000.25));
  EXPECT_NE(time, next);
  EXPECT_LT(time, next);
  EXPECT_GT(next, time);
  EXPECT_GE(time, time);
}

TEST(Duration, NanIsUnorderedAndDiffersFromItself) {
  Duration const never(nan);
  EXPECT_FALSE(never == never);
  EXPECT_FALSE(never < Duration(1));
  EXPECT_FALSE(never >= Duration(1));
  EXPECT_TRUE((never <=> never) == std::partial_ordering::unordered);
}

TEST(Duration, IsWrittenAsTheStreamWritesADouble) {
  std::ostringstream out;
  out << Duration(1.5) << ' ' << Duration(1700000000.5) << ' ' << std::setprecision(12)
      << Duration(1700000000.5);
  EXPECT_EQ(out.str(), "1.5 1.7e+09 1700000000.5");
}

}  // namespace
