#include "runtime/vunda/RangeException.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(RangeException, CarriesItsMessage) {
  try {
    Vunda::RangeException::throwException("Some::Type::value > Some::Type::max not allowed");
  } catch (Vunda::RangeException const& raised) {
    EXPECT_STREQ(raised.what(), "Some::Type::value > Some::Type::max not allowed");
  }
}

TEST(RangeException, IsAStandardRangeError) {
  EXPECT_THROW(Vunda::RangeException::throwException("no"), std::out_of_range);
}

}  // namespace
