#include "state/ChipCollection.h"

#include <gtest/gtest.h>

namespace {

using Oru::Central::ChipCollection;
using Oru::Central::DeviceId;

ChipCollection chipsOf(std::initializer_list<std::uint16_t> ids) {
  ChipCollection chips;
  for (auto id : ids) chips.chipIs(DeviceId(id), true);
  return chips;
}

TEST(ChipCollection, IsEmptyAtFirst) {
  ChipCollection const chips;
  EXPECT_TRUE(chips.chip().empty());
  EXPECT_FALSE(chips.has(DeviceId(0)));
}

TEST(ChipCollection, HoldsWhatWasAddedUntilItIsRemoved) {
  ChipCollection chips = chipsOf({3, 5});
  EXPECT_TRUE(chips.has(DeviceId(3)));
  EXPECT_TRUE(chips.has(DeviceId(5)));
  chips.chipDel(DeviceId(3));
  EXPECT_FALSE(chips.has(DeviceId(3)));
  EXPECT_EQ(chips, chipsOf({5}));
}

TEST(ChipCollection, AddingTwiceAddsOnce) { EXPECT_EQ(chipsOf({3, 3}).chip().size(), 1U); }

TEST(ChipCollection, RemovingWhatIsAbsentChangesNothing) {
  ChipCollection chips = chipsOf({3});
  chips.chipDel(DeviceId(4));
  EXPECT_EQ(chips, chipsOf({3}));
}

TEST(ChipCollection, AKeyThatIsFalseIsNotInTheSet) {
  ChipCollection chips = chipsOf({3});
  chips.chipIs(DeviceId(3), false);
  EXPECT_FALSE(chips.has(DeviceId(3)));
  EXPECT_TRUE(chips.chip().has(DeviceId(3)));
  EXPECT_NE(chips, ChipCollection());
}

TEST(ChipCollection, CopiesAreIndependent) {
  ChipCollection const original = chipsOf({1, 2});
  ChipCollection copy = original;
  copy.chipDel(DeviceId(1));
  EXPECT_TRUE(original.has(DeviceId(1)));
  copy = original;
  EXPECT_EQ(copy, original);
}

TEST(ChipCollection, ComparesAsASet) {
  EXPECT_EQ(chipsOf({1, 2, 3}), chipsOf({3, 1, 2}));
  EXPECT_NE(chipsOf({1, 2, 3}), chipsOf({1, 2}));
  EXPECT_NE(chipsOf({1, 2}), chipsOf({1, 3}));
}

}  // namespace
