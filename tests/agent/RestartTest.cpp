#include "tests/agent/AgentFixture.h"

namespace {

using OruTest::TreePath;

class Restart : public OruTest::AgentFixture {};

TEST_F(Restart, AnAgentThatWasKilledTakesUpWhatStandsAndChangesNothing) {
  put({"features", "F1"}, {{"enabled", true}});
  startAgent();
  bringUp("S1", 5.0, {1, 2});
  bringUp("S2", 6.0, {3});
  requestReset("slice", 1.0, "S1");
  ASSERT_TRUE(awaitsAnswer(1.0, "slice,S1"));
  ASSERT_TRUE(awaits([&] { return genTime({"hw", "status", "S2"}) == 6.0; }));
  auto const before = content();
  killAgent();
  startAgent();
  EXPECT_EQ(before, content());
  EXPECT_NE(std::string::npos, agent->errors().find("3 chips running on from before"));
  EXPECT_NE(std::string::npos, agent->errors().find("slice S2 detected, 1 chip\n"));
  EXPECT_EQ(std::string::npos, agent->errors().find(" runs, "));
  // It follows what goes on.
  requestReset("allSlices", configured("S1", 1) + 1.0);
  EXPECT_TRUE(awaitsWithdrawn(1));
  EXPECT_TRUE(awaitsWithdrawn(3));
}

TEST_F(Restart, SigtermLeavesAgentsAndStateAsTheyAre) {
  startAgent();
  bringUp("S1", 5.0, {1});
  auto const before = content();
  EXPECT_EQ(0, stopAgent());
  EXPECT_EQ(before, content());
  startAgent();
  EXPECT_EQ(before, content());
}

TEST_F(Restart, ARequestThatWasAnsweredIsNotCarriedOutAgain) {
  startAgent();
  bringUp("S1", 5.0, {1});
  requestReset("chip", configured("S1", 1) + 1.0, "S1", "C1");
  ASSERT_TRUE(awaitsFile({"reset", "status", "test", "chip,S1,C1"}));
  double const after = configured("S1", 1);
  killAgent();
  startAgent();
  EXPECT_EQ(after, configured("S1", 1));
  report("S1", 1, after);
  EXPECT_TRUE(awaitsPublished(1));
}

// The crash came between the two.
TEST_F(Restart, ARequestThatWasCarriedOutAndNotAnsweredIsAnsweredAndNotCarriedOutAgain) {
  startAgent();
  bringUp("S1", 5.0, {1, 2});
  double const request = configured("S1", 2) + 1.0;
  requestReset("slice", request, "S1");
  ASSERT_TRUE(awaitsAnswer(request, "slice,S1"));
  double const first = configured("S1", 1);
  double const second = configured("S1", 2);
  killAgent();
  EXPECT_FALSE(tree.remove({"reset", "status", "test", "slice,S1"}));
  startAgent();
  EXPECT_TRUE(awaitsAnswer(request, "slice,S1"));
  EXPECT_EQ(first, configured("S1", 1));
  EXPECT_EQ(second, configured("S1", 2));
}

TEST_F(Restart, FeatureAgentsAreNotRestartedAgainForAnAnsweredRequest) {
  put({"features", "F1"}, {{"enabled", true}});
  startAgent();
  bringUp("S1", 5.0, {1});
  requestReset("featureAgents", 7.5);
  ASSERT_TRUE(awaitsAnswer(7.5, "featureAgents"));
  killAgent();
  // A feature agent that was added meanwhile has nothing to be restarted for.
  put({"features", "F2"}, {{"enabled", true}});
  startAgent();
  EXPECT_TRUE(awaitsFile({"launcher", "feature", "F2"}));
  EXPECT_EQ(Json::object(), json({"launcher", "feature", "F2"}));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F1"}).at("restart"));
}

TEST_F(Restart, ARestartOfFeatureAgentsThatWasBrokenOffIsFinished) {
  for (auto const* feature : {"F1", "F2"}) put({"features", feature}, {{"enabled", true}});
  startAgent();
  bringUp("S1", 5.0, {1});
  requestReset("featureAgents", 7.5);
  ASSERT_TRUE(awaitsAnswer(7.5, "featureAgents"));
  killAgent();
  // As if it had been killed between the two.
  put({"launcher", "feature", "F2"}, Json::object());
  EXPECT_FALSE(tree.remove({"reset", "status", "test", "featureAgents"}));
  startAgent();
  EXPECT_TRUE(awaitsAnswer(7.5, "featureAgents"));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F1"}).at("restart"));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F2"}).value("restart", 0.0));
}

TEST_F(Restart, WhatChangedMeanwhileIsTakenUp) {
  startAgent();
  bringUp("S1", 5.0, {1});
  bringUp("S2", 5.0, {2});
  EXPECT_EQ(0, stopAgent());
  pullSlice("S2");
  withdrawSlice("S2");
  insertSlice("S3", 5.0, {3});
  requestReset("chip", configured("S1", 1) + 1.0, "S1", "C1");
  startAgent();
  EXPECT_TRUE(awaitsNoFile({"launcher", "slice", "S2"}));
  EXPECT_TRUE(awaitsNoFile({"launcher", "chip", "C2"}));
  EXPECT_TRUE(awaitsNoFile({"hw", "status", "S2"}));
  EXPECT_TRUE(awaitsWithdrawn(2));
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S3"}));
  EXPECT_TRUE(awaitsWithdrawn(1));
  EXPECT_TRUE(awaitsFile({"reset", "status", "test", "chip,S1,C1"}));
}

TEST_F(Restart, APulledSliceWhoseStatusStandsIsStoppedWhenThatGoes) {
  startAgent();
  bringUp("S1", 5.0, {1});
  EXPECT_EQ(0, stopAgent());
  pullSlice("S1");
  startAgent();
  EXPECT_TRUE(awaitsNoFile({"hw", "status", "S1"}));
  EXPECT_TRUE(stands({"launcher", "slice", "S1"}));
  withdrawSlice("S1");
  EXPECT_TRUE(awaitsNoFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsNoFile({"launcher", "chip", "C1"}));
}

TEST_F(Restart, AConfigurationThatIsRefusedCostsNoAgentItsEntry) {
  startAgent();
  bringUp("S1", 5.0, {1});
  EXPECT_EQ(0, stopAgent());
  auto const good = tree.read({"hw", "config", "S1"}).text;
  putText({"hw", "config", "S1"}, "{\"genTime\":");
  startAgent();
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  is not JSON"));
  EXPECT_TRUE(stands({"launcher", "slice", "S1"}));
  EXPECT_TRUE(stands({"launcher", "chip", "C1"}));
  EXPECT_TRUE(awaitsWithdrawn(1)) << "nothing good is known of it";
  putText({"hw", "config", "S1"}, good);
  EXPECT_TRUE(awaitsNoProblem());
  EXPECT_TRUE(stands({"launcher", "chip", "C1"}));
  EXPECT_TRUE(awaitsPublished(1));
}

TEST_F(Restart, ASliceOfWhichAConfigurationIsLostIsTakenOverAnew) {
  startAgent();
  bringUp("S1", 5.0, {1, 2});
  double const before = configured("S1", 2);
  EXPECT_EQ(0, stopAgent());
  EXPECT_FALSE(tree.remove({"config", "S1", "C1"}));
  startAgent();
  EXPECT_TRUE(awaitsStarted("S1", 1));
  EXPECT_GT(configured("S1", 2), before);
  EXPECT_TRUE(awaits([&] { return genTime({"hw", "status", "S1"}) == 5.0; }));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
  EXPECT_TRUE(awaitsNoProblem());
}

TEST_F(Restart, GenerationsStayAboveThoseOfBeforeThoughTheClockWasSetBack) {
  double const far = 4e9;
  insertSlice("S1", 5.0, {1});
  put({"config", "S1", "C1"},
      {{"deviceId", 1}, {"enabled", true}, {"genTime", far}, {"syncGenTime", far}});
  reportSlice("S1", {1});
  startAgent();
  EXPECT_TRUE(awaits([&] { return configured("S1", 1) > far; }));
}

TEST_F(Restart, WhatAKilledAgentHadHalfWrittenIsRemoved) {
  startAgent();
  bringUp("S1", 5.0, {1});
  std::string const left = "/.oru-" + std::to_string(agent->pid()) + ".tmp";
  killAgent();
  std::vector<std::string> const own{"/config/S1",        "/hw/status",      "/system/chips",
                                     "/system/slices",    "/launcher/slice", "/launcher/chip",
                                     "/launcher/feature", "/problems"};
  for (auto const& directory : own) std::ofstream(root + directory + left) << "{";
  std::ofstream(root + "/status/S1" + left) << "{";
  startAgent();
  for (auto const& directory : own)
    EXPECT_FALSE(std::filesystem::exists(root + directory + left)) << directory;
  EXPECT_TRUE(std::filesystem::exists(root + "/status/S1" + left)) << "is not the agent's";
  EXPECT_TRUE(awaitsNoProblem());
}

}  // namespace
