#include "runtime/vunda/FieldId.h"

#include <gtest/gtest.h>

namespace {

using Vunda::FieldId;

TEST(FieldId, IsTheNumberItWasMadeFrom) {
  EXPECT_EQ(FieldId(266).value(), 266);
  EXPECT_EQ(FieldId().value(), 0);
  EXPECT_EQ(FieldId(266), FieldId(266));
  EXPECT_NE(FieldId(266), FieldId(265));
}

}  // namespace
