#include "state/DeviceId.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <type_traits>

#include "runtime/vunda/RangeException.h"

namespace {

using Oru::Central::DeviceId;

char const* const rangeText =
    "Oru::Central::DeviceId::value < Oru::Central::DeviceId::min or > Oru::Central::DeviceId::null "
    "not "
    "allowed";

static_assert(DeviceId::min == 0 && DeviceId::null == 64);
static_assert(!std::is_convertible_v<std::uint16_t, DeviceId>, "narrowing must be asked for");
static_assert(DeviceId(7).value() == 7, "valid ids are constants");

TEST(DeviceId, AcceptsZeroToSixtyFour) {
  for (std::uint16_t raw = 0; raw <= 64; ++raw) {
    EXPECT_EQ(DeviceId(raw).value(), raw);
  }
}

TEST(DeviceId, RefusesEveryGreaterRawNumber) {
  for (std::uint32_t raw = 65; raw <= std::numeric_limits<std::uint16_t>::max(); ++raw) {
    EXPECT_THROW(DeviceId(static_cast<std::uint16_t>(raw)), Vunda::RangeException) << raw;
  }
}

TEST(DeviceId, NamesTypeAndBoundsWhenOutOfRange) {
  EXPECT_THAT([] { DeviceId(65); },
              testing::ThrowsMessage<Vunda::RangeException>(testing::StrEq(rangeText)));
  EXPECT_THAT([] { DeviceId(-1); },
              testing::ThrowsMessage<Vunda::RangeException>(testing::StrEq(rangeText)));
}

TEST(DeviceId, IsCheckedBeforeItIsNarrowedHoweverWideItsRawNumber) {
  EXPECT_THROW(DeviceId(256), Vunda::RangeException);
  EXPECT_THROW(DeviceId(256 + 64), Vunda::RangeException);
  EXPECT_THROW(DeviceId(65536 + 3), Vunda::RangeException);
  EXPECT_THROW(DeviceId((std::uint64_t{1} << 32) + 3), Vunda::RangeException);
  EXPECT_EQ(DeviceId(std::uint64_t{64}), DeviceId(64));
  EXPECT_EQ(DeviceId(std::int8_t{3}), DeviceId(3));
}

TEST(DeviceId, RefusesNegativeNumbers) {
  EXPECT_THROW(DeviceId(-1), Vunda::RangeException);
  EXPECT_THROW(DeviceId(std::int8_t{-128}), Vunda::RangeException);
  EXPECT_THROW(DeviceId(std::numeric_limits<std::int64_t>::min() + 3), Vunda::RangeException);
}

TEST(DeviceId, SixtyFourMeansNoDeviceAndIsTheDefault) {
  EXPECT_TRUE(DeviceId().isNull());
  EXPECT_EQ(DeviceId(), DeviceId(DeviceId::null));
  EXPECT_FALSE(DeviceId(63).isNull());
  EXPECT_FALSE(DeviceId(0).isNull());
}

TEST(DeviceId, ComparesAndHashesByValue) {
  EXPECT_EQ(DeviceId(3), DeviceId(3));
  EXPECT_NE(DeviceId(3), DeviceId(4));
  EXPECT_LT(DeviceId(3), DeviceId(4));
  EXPECT_EQ(DeviceId(3).hash(), DeviceId(3).hash());
  EXPECT_NE(DeviceId(3).hash(), DeviceId(4).hash());
}

}  // namespace
