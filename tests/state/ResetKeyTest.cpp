#include "state/ResetKey.h"

#include <gtest/gtest.h>

#include <compare>
#include <string>
#include <vector>

#include "runtime/duolog/RinglogConverter.h"
#include "runtime/kordo/HashMix.h"
#include "runtime/ringlog/RingValue.h"

namespace {

using Oru::Central::ResetKey;
using Oru::Central::ResetType;
using Vunda::String;

ResetKey const key(ResetType::slice, "Chip1", "Slice2");

TEST(ResetKey, DefaultIsAChipResetWithEmptyNames) {
  ResetKey const initial;
  EXPECT_EQ(initial.resetType(), ResetType::chip);
  EXPECT_TRUE(initial.chipName().empty());
  EXPECT_TRUE(initial.sliceName().empty());
}

TEST(ResetKey, KeepsWhatItWasMadeOf) {
  EXPECT_EQ(key.resetType(), ResetType::slice);
  EXPECT_EQ(key.chipName(), String("Chip1"));
  EXPECT_EQ(key.sliceName(), String("Slice2"));
}

TEST(ResetKey, HashMixesTypeThenChipThenSlice) {
  Kordo::HashMix byHand(0);
  byHand.mix(1).mix(String("Chip1").hash()).mix(String("Slice2").hash());
  EXPECT_EQ(key.hash(), byHand.value());
}

TEST(ResetKey, HashWidensTheTypeWithoutSign) {
  ResetKey const unknown(static_cast<ResetType>(0xfe), "", "");
  Kordo::HashMix byHand(0);
  byHand.mix(0xfe).mix(String().hash()).mix(String().hash());
  EXPECT_EQ(unknown.hash(), byHand.value());
}

TEST(ResetKey, DefaultHashesTypeZeroAndTheEmptyStringTwice) {
  Kordo::HashMix byHand(0);
  byHand.mix(0).mix(String("").hash()).mix(String("").hash());
  EXPECT_EQ(ResetKey().hash(), byHand.value());
}

TEST(ResetKey, EqualKeysOfDifferentMakingHashEqually) {
  ResetKey const again(ResetType::slice, String(std::string("Chip1")),
                       String(std::string("Slice2")));
  EXPECT_EQ(again, key);
  EXPECT_TRUE(again.isEq(key));
  EXPECT_EQ(again.hash(), key.hash());
}

TEST(ResetKey, EachMemberMakesADifference) {
  for (ResetKey const& other :
       {ResetKey(ResetType::chip, "Chip1", "Slice2"), ResetKey(ResetType::slice, "Chip2", "Slice2"),
        ResetKey(ResetType::slice, "Chip1", "Slice3"),
        ResetKey(ResetType::slice, "Slice2", "Chip1")}) {
    EXPECT_NE(other, key) << ringText(other);
    EXPECT_FALSE(other.isEq(key)) << ringText(other);
    EXPECT_NE(other.hash(), key.hash()) << ringText(other);
  }
}

TEST(ResetKey, OrderIsByTypeThenChipThenSlice) {
  std::vector<ResetKey> const ascending{
      ResetKey(),
      ResetKey(ResetType::chip, "", "B"),
      ResetKey(ResetType::chip, "A", "Z"),
      ResetKey(ResetType::chip, "B", "A"),
      ResetKey(ResetType::chip, "B", "B"),
      ResetKey(ResetType::slice, "", ""),
      ResetKey(ResetType::featureAgents, "", ""),
      ResetKey(static_cast<ResetType>(200), "", ""),
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(ascending[i] <=> ascending[j], i <=> j) << i << " and " << j;
      EXPECT_EQ(ascending[i] == ascending[j], i == j) << i << " and " << j;
    }
  }
}

TEST(ResetKey, PrintsTypeChipAndSliceInRingRecords) {
  EXPECT_EQ(Ringlog::ringValue(key), "slice,Chip1,Slice2");
  EXPECT_EQ(Ringlog::ringValue(ResetKey()), "chip,,");
  EXPECT_EQ(Ringlog::ringValue(ResetKey(static_cast<ResetType>(9), "C", "S")), "9,C,S");
}

TEST(ResetKey, PrintsItsGenericFormInTextTraces) {
  Duolog::RinglogConverter line("key %s");
  line << key;
  EXPECT_EQ(line.text(), "key {resetType=slice chipName=Chip1 sliceName=Slice2}");
}

}  // namespace
