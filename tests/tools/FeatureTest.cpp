#include "tests/tools/ToolFixture.h"

namespace {

class FeatureTest : public OruTest::ToolFixture {
 protected:
  TreePath const telemetry{"features", "Telemetry"};
};

TEST_F(FeatureTest, SwitchingOnANewFeatureMakesItKnown) {
  EXPECT_EQ(0, run({"feature", "on", "Telemetry"}));
  EXPECT_EQ("feature Telemetry is new and on\n", out);
  EXPECT_EQ("{\"enabled\":true}\n", tree.read(telemetry).text);
}

TEST_F(FeatureTest, AKnownFeatureIsSwitchedAndRemoved) {
  put(telemetry, {{"enabled", true}});
  EXPECT_EQ(0, run({"feature", "off", "Telemetry"}));
  EXPECT_EQ("feature Telemetry is off\n", out);
  EXPECT_EQ("{\"enabled\":false}\n", tree.read(telemetry).text);
  EXPECT_EQ(0, run({"feature", "remove", "Telemetry"}));
  EXPECT_EQ("feature Telemetry is removed\n", out);
  EXPECT_FALSE(stands(telemetry));
}

TEST_F(FeatureTest, AMisspeltFeatureIsNeitherSwitchedOffNorRemoved) {
  put(telemetry, {{"enabled", true}});
  for (auto const* how : {"off", "remove"}) {
    EXPECT_EQ(2, run({"feature", how, "Telemtry"}));
    EXPECT_EQ("oructl: there is no feature \"Telemtry\"; did you mean \"Telemetry\"?\n", err);
  }
  EXPECT_EQ(1u, tree.list({"features"}).members.size());
}

TEST_F(FeatureTest, AFeatureWithABadFileCanBePutRight) {
  putText(telemetry, "x");
  EXPECT_EQ(0, run({"feature", "off", "Telemetry"}));
  EXPECT_EQ("{\"enabled\":false}\n", tree.read(telemetry).text);
}

TEST_F(FeatureTest, WrongUseIsTold) {
  EXPECT_EQ(2, run({"feature", "of", "Telemetry"}));
  EXPECT_EQ("oructl: \"of\" is none of on, off, remove; did you mean \"on\"?\n", err);
  EXPECT_EQ(2, run({"feature", "on"}));
  EXPECT_EQ(2, run({"feature", "on", ""}));
  EXPECT_EQ("oructl: the name of a feature is not empty\n", err);
  EXPECT_TRUE(tree.list({"features"}).members.empty());
}

}  // namespace
