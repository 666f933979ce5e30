#include "tools/Reset.h"

#include <cmath>

#include "mount/Json.h"
#include "tests/tools/ToolFixture.h"
#include "tools/Failure.h"

namespace {

using Json = nlohmann::json;
using namespace Oru::Tools;

class ResetTest : public OruTest::ToolFixture {
 protected:
  TreeData data() const { return TreeData(scanTree(tree)); }
  double only(TreePath const& request) const { return json(request).at("genTime"); }
};

TEST_F(ResetTest, AChipIsNamedAloneAndItsSliceIsFound) {
  putBoard("Slice1", "Chip1", 0);
  double const before = std::floor(static_cast<double>(::time(nullptr)));
  EXPECT_EQ(0, run({"reset", "chip", "Chip1", "--cause", "CRC errors", "--reason", "3"}));
  EXPECT_EQ("requested: reset of chip Slice1/Chip1\n", out);
  auto request = json({"reset", "request", "oructl", "chip,Slice1,Chip1"});
  EXPECT_GE(request.at("genTime"), before);
  EXPECT_LT(request.at("genTime"), before + 60);
  request.erase("genTime");
  EXPECT_EQ(Json::parse(R"({"type": "chip", "slice": "Slice1", "chip": "Chip1",
                            "cause": "CRC errors", "reason": 3})"),
            request);
}

TEST_F(ResetTest, EveryKindIsWrittenAsTheTreeWantsIt) {
  putBoard("Line,Card 1", "Chip%1", 0);
  EXPECT_EQ(0, run({"reset", "chip", "Chip%1", "--as", "monitor"}));
  EXPECT_TRUE(stands({"reset", "request", "monitor", "chip,Line%2CCard 1,Chip%251"}));
  EXPECT_EQ(0, run({"reset", "slice", "Line,Card 1", "--reason", "hardwareFault"}));
  auto const slice = json({"reset", "request", "oructl", "slice,Line%2CCard 1"});
  EXPECT_EQ(3, slice.at("reason"));
  EXPECT_EQ("operator request", slice.at("cause"));
  EXPECT_EQ(0, run({"reset", "all"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "allSlices"}));
  EXPECT_EQ(0, run({"reset", "features"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "featureAgents"}));
  EXPECT_EQ(0, run({"show", "problems"})) << out;
}

TEST_F(ResetTest, ARequestIsAlwaysNewerThanTheOneThatItReplaces) {
  putBoard("Slice1", "Chip1", 0);
  TreePath const file{"reset", "request", "oructl", "slice,Slice1"};
  double const future = 9e9;
  putReset("request", "oructl", "slice", future, "Slice1");
  EXPECT_EQ(0, run({"reset", "slice", "Slice1"}));
  EXPECT_EQ(std::nextafter(future, 1e300), only(file));
}

// The clock was set back, or somebody has dated a request ahead.
TEST_F(ResetTest, ARequestIsNewerThanEveryChipThatTheTreeKnows) {
  putUp("Slice1", "Chip1", 0, 9e9);
  putConfig("Slice2", "Former", 1, 9.5e9, false);
  double const expected = std::nextafter(9.5e9, 1e300);
  EXPECT_EQ(0, run({"reset", "chip", "Chip1"}));
  EXPECT_EQ(expected, only({"reset", "request", "oructl", "chip,Slice1,Chip1"}));
  EXPECT_EQ(0, run({"reset", "slice", "Slice1"}));
  EXPECT_EQ(expected, only({"reset", "request", "oructl", "slice,Slice1"}));
  EXPECT_EQ(0, run({"reset", "all"}));
  EXPECT_EQ(expected, only({"reset", "request", "oructl", "allSlices"}));
  EXPECT_EQ(0, run({"reset", "features"}));
  EXPECT_LT(only({"reset", "request", "oructl", "featureAgents"}), 9e9);
}

TEST_F(ResetTest, ARequestForFeatureAgentsIsNewerThanAllThatTheyWereRestartedFor) {
  TreePath const file{"reset", "request", "oructl", "featureAgents"};
  put({"launcher", "feature", "Telemetry"}, {{"restart", 9e9}});
  EXPECT_EQ(0, run({"reset", "features"}));
  EXPECT_EQ(std::nextafter(9e9, 1e300), only(file));
  putReset("status", "monitor", "featureAgents", 9.5e9);
  putReset("status", "monitor", "allSlices", 9.7e9);
  EXPECT_EQ(0, run({"reset", "features"}));
  EXPECT_EQ(std::nextafter(9.5e9, 1e300), only(file));
}

TEST_F(ResetTest, NoRequestIsLaterThanWhatIsUnderstood) {
  putUp("Slice1", "Chip1", 0, std::nextafter(Oru::Mount::latestTime, 1e300));
  EXPECT_EQ(0, run({"reset", "chip", "Chip1"}));
  EXPECT_EQ(Oru::Mount::latestTime, only({"reset", "request", "oructl", "chip,Slice1,Chip1"}));
  EXPECT_EQ(0, run({"show", "problems"})) << out;
}

TEST_F(ResetTest, SeveralChipsAreSeveralRequests) {
  putBoard("Slice1", "Chip1", 0);
  putBoard("Slice2", "Chip2", 1);
  EXPECT_EQ(0, run({"reset", "chip", "Chip1", "Chip2"}));
  EXPECT_EQ(
      "requested: reset of chip Slice1/Chip1\n"
      "requested: reset of chip Slice2/Chip2\n",
      out);
  EXPECT_TRUE(stands({"reset", "request", "oructl", "chip,Slice1,Chip1"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "chip,Slice2,Chip2"}));
}

TEST_F(ResetTest, AnUnknownNameIsToldAndNothingIsWritten) {
  putBoard("Slice1", "Chip1", 0);
  EXPECT_EQ(2, run({"reset", "chip", "Chip2"}));
  EXPECT_EQ("oructl: there is no chip \"Chip2\"; did you mean \"Chip1\"?\n", err);
  EXPECT_EQ(2, run({"reset", "chip", "Chip1", "Other"}));
  EXPECT_EQ("oructl: there is no chip \"Other\"\n", err);
  EXPECT_EQ(2, run({"reset", "slice", "slice1"}));
  EXPECT_EQ("oructl: there is no slice \"slice1\"; did you mean \"Slice1\"?\n", err);
  EXPECT_EQ(2, run({"reset", "chip", "Chip1", "--slice", "Slice2"}));
  EXPECT_EQ("oructl: there is no slice \"Slice2\"; did you mean \"Slice1\"?\n", err);
  EXPECT_FALSE(std::filesystem::exists(root + "/reset"));
}

TEST_F(ResetTest, AChipOfAPulledSliceIsStillKnown) {
  putConfig("Slice1", "Chip1", 0, 100.0, false);
  EXPECT_EQ(0, run({"reset", "chip", "Chip1"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "chip,Slice1,Chip1"}));
}

TEST_F(ResetTest, AChipNameThatTwoSlicesHaveNeedsTheSlice) {
  putConfig("Slice1", "Chip1", 0, 100.0, false);
  putConfig("Slice2", "Chip1", 0, 100.0, false);
  EXPECT_EQ(2, run({"reset", "chip", "Chip1"}));
  EXPECT_EQ(
      "oructl: chip \"Chip1\" is in the slices \"Slice1\" and \"Slice2\"; say which with --slice\n",
      err);
  EXPECT_EQ(0, run({"reset", "chip", "Chip1", "--slice", "Slice2"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "chip,Slice2,Chip1"}));
  putBoard("Slice1", "Chip1", 0);  // the one that is there counts
  EXPECT_EQ(0, run({"reset", "chip", "Chip1"}));
  EXPECT_TRUE(stands({"reset", "request", "oructl", "chip,Slice1,Chip1"}));
}

TEST_F(ResetTest, WrongUseIsTold) {
  putBoard("Slice1", "Chip1", 0);
  EXPECT_EQ(2, run({"reset", "chips", "Chip1"}));
  EXPECT_EQ("oructl: \"chips\" is none of chip, slice, all, features; did you mean \"chip\"?\n",
            err);
  EXPECT_EQ(2, run({"reset", "slice"}));
  EXPECT_EQ("oructl: reset slice needs the name of a slice\n", err);
  EXPECT_EQ(2, run({"reset", "all", "Slice1"}));
  EXPECT_EQ("oructl: reset all takes no names\n", err);
  EXPECT_EQ(2, run({"reset", "slice", "Slice1", "--slice", "Slice1"}));
  EXPECT_EQ("oructl: --slice goes with reset chip only\n", err);
  EXPECT_EQ(2, run({"reset", "all", "--reason", "harwareFault"}));
  EXPECT_EQ(
      "oructl: --reason harwareFault: is neither a number from 0 to 4294967295 nor the word of a "
      "reason; did you mean \"hardwareFault\"?\n",
      err);
  EXPECT_EQ(2, run({"reset", "all", "--wait", "--timeout", "soon"}));
  EXPECT_NE(std::string::npos, err.find("oructl: --timeout: is no time such as 90s")) << err;
  EXPECT_EQ(2, run({"reset", "all", "--timeout", "5s"}));
  EXPECT_NE(std::string::npos, err.find("--timeout requires --wait")) << err;
  EXPECT_EQ(2, run({"reset", "all", "--wait", "--timeout", "200h"}));
  EXPECT_EQ("oructl: --timeout: is not a time from 0 s to a week\n", err);
  EXPECT_EQ(2, run({"reset", "all", "--as", ""}));
  EXPECT_EQ("oructl: --as: the name of a requester is not empty\n", err);
}

TEST_F(ResetTest, ATreeThatCannotBeWrittenIsTold) {
  putBoard("Slice1", "Chip1", 0);
  std::filesystem::create_directories(root + "/reset");
  std::ofstream(root + "/reset/request") << "x";
  EXPECT_EQ(3, run({"reset", "all"}));
  EXPECT_EQ(
      "oructl: cannot write " + root + "/reset/request/oructl/allSlices.json: Not a directory\n",
      err);
}

TEST_F(ResetTest, ReasonsAreWordsOrNumbers) {
  EXPECT_EQ(Oru::Central::ResetReason::configChange, reasonOf("configChange"));
  EXPECT_EQ(4294967295u, static_cast<std::uint32_t>(reasonOf("4294967295")));
  for (auto const* text : {"", "-1", "4294967296", "1x", "other"})
    EXPECT_THROW(reasonOf(text), Failure) << text;
}

}  // namespace
