#include "state/ResetType.h"

#include <gtest/gtest.h>

#include <string>

#include "state/ResetReason.h"

namespace {

using Oru::Central::ResetReason;
using Oru::Central::ResetType;
using Vunda::String;

static_assert(sizeof(ResetType) == 1 && sizeof(ResetReason) == 4);
static_assert(static_cast<int>(ResetType::chip) == 0);
static_assert(static_cast<int>(ResetType::slice) == 1);
static_assert(static_cast<int>(ResetType::featureAgents) == 4);

TEST(ResetType, TextsAreTheNames) {
  EXPECT_EQ(stringValue(ResetType::chip), String("chip"));
  EXPECT_EQ(stringValue(ResetType::slice), String("slice"));
  EXPECT_EQ(stringValue(ResetType::allSlices), String("allSlices"));
  EXPECT_EQ(stringValue(ResetType::featureAgents), String("featureAgents"));
}

TEST(ResetType, TextOfAnUnknownTypeIsItsNumber) {
  for (int number : {3, 5, 17, 255}) {
    EXPECT_EQ(stringValue(static_cast<ResetType>(number)), String(std::to_string(number)));
  }
}

TEST(ResetReason, TextsAreTheNames) {
  EXPECT_EQ(stringValue(ResetReason::unspecified), String("unspecified"));
  EXPECT_EQ(stringValue(ResetReason::userRequest), String("userRequest"));
  EXPECT_EQ(stringValue(ResetReason::agentFailure), String("agentFailure"));
  EXPECT_EQ(stringValue(ResetReason::hardwareFault), String("hardwareFault"));
  EXPECT_EQ(stringValue(ResetReason::softwareUpdate), String("softwareUpdate"));
  EXPECT_EQ(stringValue(ResetReason::configChange), String("configChange"));
}

TEST(ResetReason, TextOfAnUnknownReasonIsItsNumber) {
  EXPECT_EQ(stringValue(static_cast<ResetReason>(6)), String("6"));
  EXPECT_EQ(stringValue(static_cast<ResetReason>(0xffffffff)), String("4294967295"));
}

}  // namespace
