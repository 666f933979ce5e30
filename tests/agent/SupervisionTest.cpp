#include <unistd.h>

#include <sstream>

#include "mount/Json.h"
#include "tests/agent/AgentFixture.h"

namespace {

using OruTest::TreePath;

// Counts how often files are renamed into place in some directories.
class RenameCount {
 public:
  void watch(std::string const& directory) const {
    EXPECT_LE(0, ::inotify_add_watch(inotify_.get(), directory.c_str(), IN_MOVED_TO)) << directory;
  }
  std::map<std::string, int> take() const {
    std::map<std::string, int> counts;
    alignas(inotify_event) char events[65536];
    auto const length = ::read(inotify_.get(), events, sizeof events);
    for (char const* at = events; at < events + length;) {
      auto const& event = *reinterpret_cast<inotify_event const*>(at);
      at += sizeof event + event.len;
      ++counts[event.name];
    }
    return counts;
  }

 private:
  Oru::Mount::UniqueFd const inotify_{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

class Supervision : public OruTest::AgentFixture {
 protected:
  // What the agent has logged so far, without the times.
  std::vector<std::string> logged() const {
    std::vector<std::string> texts;
    std::istringstream log(agent->errors());
    std::string const program = " oru-agent: ";
    for (std::string line; std::getline(log, line);)
      texts.push_back(line.substr(line.find(program) + program.size()));
    return texts;
  }
};

TEST_F(Supervision, ASliceIsBroughtUpStepByStep) {
  startAgent();
  insertSlice("S1", 5.0, {1, 2});
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsFile({"hw", "status", "S1"}));
  EXPECT_EQ(0.0, configured("S1", 1));
  EXPECT_FALSE(json({"config", "S1", "C1"}).at("enabled").get<bool>());

  reportSlice("S1", {1, 2});
  EXPECT_TRUE(awaitsFile({"launcher", "chip", "C2"}));
  EXPECT_TRUE(awaitsStarted("S1", 1));
  EXPECT_TRUE(awaits([&] { return genTime({"hw", "status", "S1"}) == 5.0; }));
  EXPECT_TRUE(json({"config", "S1", "C1"}).at("enabled").get<bool>());
  EXPECT_FALSE(stands({"system", "chips", "1"}));

  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
  EXPECT_EQ(configured("S1", 1), genTime({"system", "chips", "1"}));
  EXPECT_EQ("S1", json({"system", "chips", "1"}).at("slice"));
  EXPECT_EQ(Json::object({{"Eth1", 1}}), json({"system", "interfaces", "1"}).at("intfToPortId"));
  EXPECT_EQ(Json::array({1}), json({"system", "slices", "S1"}).at("chips"));
}

TEST_F(Supervision, NamesThatNoFileCouldHaveWorkAsWell) {
  startAgent();
  std::string const slice = "Line Card 3/1 100%";
  bringUp(slice, 5.0, {1});
  EXPECT_TRUE(std::filesystem::exists(root + "/launcher/slice/Line%20Card%203%2F1%20100%25.json"));
  requestReset("chip", 1.0, slice, "C1");
  EXPECT_TRUE(awaitsAnswer(1.0, Oru::Mount::resetKeyName("chip", slice, "C1")));
}

TEST_F(Supervision, APulledBoardTakesItsAgentsWithItInBothOrders) {
  startAgent();
  bringUp("S1", 5.0, {1});
  bringUp("S2", 5.0, {2});
  pullSlice("S1");
  EXPECT_TRUE(awaitsNoFile({"hw", "status", "S1"}));
  EXPECT_TRUE(stands({"launcher", "slice", "S1"}));
  withdrawSlice("S1");
  EXPECT_TRUE(awaitsNoFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsNoFile({"launcher", "chip", "C1"}));
  EXPECT_TRUE(awaitsWithdrawn(1));
  EXPECT_TRUE(awaitsNoFile({"system", "slices", "S1"}));
  EXPECT_FALSE(json({"config", "S1", "C1"}).at("enabled").get<bool>());

  withdrawSlice("S2");
  EXPECT_TRUE(awaitsNoFile({"launcher", "slice", "S2"}));
  EXPECT_TRUE(awaitsWithdrawn(2));
  pullSlice("S2");
  EXPECT_TRUE(awaitsNoFile({"hw", "status", "S2"}));
  EXPECT_TRUE(agent->runs());
}

TEST_F(Supervision, ABoardThatComesBackStartsAnew) {
  startAgent();
  bringUp("S1", 5.0, {1});
  double const before = configured("S1", 1);
  pullSlice("S1");
  withdrawSlice("S1");
  ASSERT_TRUE(awaitsWithdrawn(1));
  ASSERT_TRUE(awaitsNoFile({"launcher", "slice", "S1"}));
  insertSlice("S1", 6.0, {1});
  ASSERT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  ASSERT_TRUE(awaitsFile({"hw", "status", "S1"}));  // is written after that
  reportSlice("S1", {1});
  EXPECT_TRUE(awaits([&] { return genTime({"hw", "status", "S1"}) == 6.0; }));
  EXPECT_GT(configured("S1", 1), before);
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
}

TEST_F(Supervision, ABoardThatComesBackTooSoonWaitsForTheOldStatusToGo) {
  startAgent();
  bringUp("S1", 5.0, {1});
  pullSlice("S1");
  ASSERT_TRUE(awaitsNoFile({"hw", "status", "S1"}));
  insertSlice("S1", 6.0, {1});
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  waits until status/S1/"));
  withdrawSlice("S1");
  EXPECT_TRUE(awaitsNoProblem());
  EXPECT_TRUE(awaitsFile({"hw", "status", "S1"}));
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(agent->runs());
}

TEST_F(Supervision, ABoardThatIsExchangedIsReset) {
  startAgent();
  bringUp("S1", 5.0, {1});
  double const before = configured("S1", 1);
  insertSlice("S1", 6.0, {1});
  EXPECT_TRUE(awaitsWithdrawn(1));
  EXPECT_TRUE(awaits([&] { return configured("S1", 1) > before; }));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
}

TEST_F(Supervision, WhatIsDetectedWhatRunsAndWhatIsWithdrawnIsLogged) {
  using Lines = std::vector<std::string>;
  startAgent();
  bringUp("S1", 5.0, {1, 2});
  Lines expected{"supervising " + root, "slice S1 detected, 2 chips",
                 "chip C1 of slice S1 (device 1) runs, 1 interface",
                 "chip C2 of slice S1 (device 2) runs, 1 interface"};
  EXPECT_EQ(expected, logged());

  double const request = configured("S1", 1) + 1.0;
  requestReset("chip", request, "S1", "C1");
  ASSERT_TRUE(awaitsAnswer(request, "chip,S1,C1"));
  report("S1", 1, configured("S1", 1));
  ASSERT_TRUE(awaitsPublished(1));
  expected.push_back("chip C1 of slice S1 (device 1) withdrawn");
  expected.push_back("chip C1 of slice S1 (device 1) runs, 1 interface");
  EXPECT_EQ(expected, logged());

  insertSlice("S1", 6.0, {1, 2});
  ASSERT_TRUE(awaits([&] { return genTime({"hw", "status", "S1"}) == 6.0; }));
  report("S1", 2, configured("S1", 2));
  ASSERT_TRUE(awaitsPublished(2));
  for (auto const* line : {"slice S1 detected, 2 chips", "chip C1 of slice S1 (device 1) withdrawn",
                           "chip C2 of slice S1 (device 2) withdrawn",
                           "chip C2 of slice S1 (device 2) runs, 1 interface"})
    expected.push_back(line);
  EXPECT_EQ(expected, logged());

  pullSlice("S1");
  withdrawSlice("S1");
  ASSERT_TRUE(awaitsNoFile({"launcher", "slice", "S1"}));
  expected.push_back("chip C2 of slice S1 (device 2) withdrawn");
  EXPECT_EQ(expected, logged());
}

TEST_F(Supervision, AChipThatIsAddedToALiveSliceComesUp) {
  startAgent();
  bringUp("S1", 5.0, {1});
  insertSlice("S1", 6.0, {1, 2});
  EXPECT_TRUE(awaitsFile({"launcher", "chip", "C2"}));
  EXPECT_TRUE(awaitsStarted("S1", 2));
  report("S1", 2, configured("S1", 2));
  EXPECT_TRUE(awaitsPublished(2));
}

TEST_F(Supervision, AGenerationThatArrivesBeforeTheChipsReportedIsFollowedAllTheSame) {
  put({"features", "F1"}, {{"enabled", true}});
  startAgent();
  insertSlice("S1", 0.0, {1});
  ASSERT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  reportSlice("S1", {});
  // Features run with the first slice, whose machine is there then.
  ASSERT_TRUE(awaitsFile({"launcher", "feature", "F1"}));
  insertSlice("S1", 5.0, {1});
  ASSERT_TRUE(awaitsStarted("S1", 1));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
}

TEST_F(Supervision, ARequestResetsItsChipOnce) {
  startAgent();
  bringUp("S1", 5.0, {1, 2});
  double const before = configured("S1", 1);
  double const other = configured("S1", 2);
  requestReset("chip", before + 1.0, "S1", "C1");
  EXPECT_TRUE(awaitsAnswer(before + 1.0, "chip,S1,C1"));
  EXPECT_GT(configured("S1", 1), before + 1.0);
  EXPECT_EQ(other, configured("S1", 2));
  EXPECT_TRUE(awaitsWithdrawn(1));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
}

TEST_F(Supervision, AnOutdatedRequestIsAnsweredAndResetsNothing) {
  startAgent();
  bringUp("S1", 5.0, {1});
  double const before = configured("S1", 1);
  requestReset("allSlices", 1.0);
  EXPECT_TRUE(awaitsAnswer(1.0, "allSlices"));
  EXPECT_EQ(before, configured("S1", 1));
}

// What it makes of a point in time is above that, and is understood all the same.
TEST_F(Supervision, ARequestFromTheEndOfTimeResetsItsChip) {
  startAgent();
  bringUp("S1", 5.0, {1});
  requestReset("chip", Oru::Mount::latestTime, "S1", "C1");
  EXPECT_TRUE(awaitsAnswer(Oru::Mount::latestTime, "chip,S1,C1"));
  EXPECT_GT(configured("S1", 1), Oru::Mount::latestTime);
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
  EXPECT_TRUE(awaitsNoProblem());
}

TEST_F(Supervision, AResetOfAllChipsWritesEachFileOnce) {
  startAgent();
  bringUp("S1", 5.0, {1, 2, 3, 4});
  bringUp("S2", 5.0, {5, 6, 7, 8});
  RenameCount count;
  for (auto const* directory : {"config/S1", "config/S2", "system/slices", "system/chips",
                                "system/interfaces", "launcher/chip", "hw/status"})
    count.watch(root + '/' + directory);
  double const request = configured("S2", 8) + 1.0;
  requestReset("allSlices", request);
  ASSERT_TRUE(awaitsAnswer(request, "allSlices"));
  std::map<std::string, int> const expected{
      {"C1.json", 1}, {"C2.json", 1}, {"C3.json", 1}, {"C4.json", 1}, {"C5.json", 1},
      {"C6.json", 1}, {"C7.json", 1}, {"C8.json", 1}, {"S1.json", 1}, {"S2.json", 1}};
  EXPECT_EQ(expected, count.take());
}

TEST_F(Supervision, WithdrawingARequestWithdrawsItsAnswer) {
  startAgent();
  requestReset("slice", 1.0, "S1");
  EXPECT_TRUE(awaitsAnswer(1.0, "slice,S1"));
  EXPECT_FALSE(tree.remove({"reset", "request", "test", "slice,S1"}));
  EXPECT_TRUE(awaitsNoFile({"reset", "status", "test", "slice,S1"}));
}

TEST_F(Supervision, FeaturesBecomeLauncherEntriesAndAreRestartedOnRequest) {
  put({"features", "F1"}, {{"enabled", true}});
  startAgent();
  bringUp("S1", 5.0, {1});
  EXPECT_TRUE(awaitsFile({"launcher", "feature", "F1"}));
  put({"features", "F2"}, {{"enabled", true}});
  EXPECT_TRUE(awaitsFile({"launcher", "feature", "F2"}));
  requestReset("featureAgents", 7.5);
  EXPECT_TRUE(awaitsAnswer(7.5, "featureAgents"));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F1"}).at("restart"));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F2"}).at("restart"));
  EXPECT_FALSE(tree.remove({"features", "F1"}));
  EXPECT_TRUE(awaitsNoFile({"launcher", "feature", "F1"}));
}

TEST_F(Supervision, ALateRequestForTheFeatureAgentsIsAnsweredAndLoggedAndRestartsNone) {
  put({"features", "F1"}, {{"enabled", true}});
  startAgent();
  bringUp("S1", 5.0, {1});
  EXPECT_TRUE(awaitsFile({"launcher", "feature", "F1"}));
  requestReset("featureAgents", 7.5);
  EXPECT_TRUE(awaitsAnswer(7.5, "featureAgents"));
  requestReset("featureAgents", 7.25);
  EXPECT_TRUE(awaitsAnswer(7.25, "featureAgents"));
  EXPECT_TRUE(agent->awaitsError(
      "no feature agent restarted: the request of 7.25 is not newer than that of 7.5\n"));
  EXPECT_EQ(7.5, json({"launcher", "feature", "F1"}).at("restart"));
}

}  // namespace
