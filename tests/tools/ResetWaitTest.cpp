#include <optional>

#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/Json.h"
#include "tests/agent/ProgramRun.h"
#include "tests/mount/LoopTurns.h"
#include "tests/tools/ToolFixture.h"

namespace {

using Oru::Mount::latestTime;
using OruTest::ProgramRun;

// `oructl reset --wait` as a process of its own; the test plays oru-agent.
class ResetWaitTest : public OruTest::ToolFixture, Oru::Mount::Backend::Observer {
 protected:
  ResetWaitTest() : watch_(backend_.watch({}, *this)) {}

  void start(std::vector<std::string> const& arguments) {
    std::vector<std::string> command{ORUCTL, "--tree", root, "reset"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    program.emplace(command);
  }
  // The request's time, as soon as it stands.
  double awaitRequest(std::string const& name) {
    TreePath const path{"reset", "request", "oructl", name};
    EXPECT_TRUE(OruTest::turnUntil(loop_, [&] { return stands(path); }));
    return json(path).at("genTime");
  }
  // What oru-agent writes once the request is carried out.
  void answer(std::string const& name) {
    putText({"reset", "status", "oructl", name},
            tree.read({"reset", "request", "oructl", name}).text);
  }

  std::optional<ProgramRun> program;

 private:
  void changed(std::vector<Oru::Mount::Backend::Change> const&) override {}

  Oru::Mount::EventLoop loop_;
  Oru::Mount::FileBackend backend_{loop_, root};
  std::unique_ptr<Oru::Mount::Backend::Watch> watch_;
};

TEST_F(ResetWaitTest, WaitsForTheAnswerAndUntilTheChipRunsAgain) {
  putUp("Slice1", "Chip1", 0, 200.0);
  start({"chip", "Chip1", "--wait"});
  double const genTime = awaitRequest("chip,Slice1,Chip1") + 1.0;
  ASSERT_FALSE(tree.remove({"system", "chips", "0"}));
  putConfig("Slice1", "Chip1", 0, genTime, true);
  answer("chip,Slice1,Chip1");
  EXPECT_TRUE(program->runs());
  putStatus("Slice1", "Chip1", 0, genTime);
  putPublished("Slice1", "Chip1", 0, genTime);
  EXPECT_EQ(0, program->wait());
  EXPECT_EQ(0u, program->output().find("requested: reset of chip Slice1/Chip1\n"
                                       "chip Slice1/Chip1: reset, runs again after "));
  EXPECT_EQ("", program->errors());
}

TEST_F(ResetWaitTest, SaysOfEachChipWhatBecameOfIt) {
  putUp("Slice1", "Chip1", 0, 200.0);
  putUp("Slice2", "Chip2", 1, latestTime + 1.0);  // no request is newer
  putBoard("Slice3", "Chip3", 2);
  start({"all", "--wait"});
  double const genTime = awaitRequest("allSlices") + 1.0;
  putConfig("Slice1", "Chip1", 0, genTime, true);
  putStatus("Slice1", "Chip1", 0, genTime);
  putPublished("Slice1", "Chip1", 0, genTime);
  answer("allSlices");
  EXPECT_EQ(1, program->wait());
  EXPECT_EQ(0u, program->output().find("requested: reset of all slices\n"
                                       "chip Slice2/Chip2: outdated: configured 10000-01-01 "
                                       "00:00:00.000, requested 9999-12-31 23:59:59.000\n"))
      << program->output();
  EXPECT_NE(std::string::npos,
            program->output().find("\nslice Slice3: not inserted\n"
                                   "chip Slice1/Chip1: reset, runs again after "));
}

TEST_F(ResetWaitTest, AChipThatIsPulledAfterItsResetIsNotBack) {
  putUp("Slice1", "Chip1", 0, 200.0);
  start({"chip", "Chip1", "--wait"});
  putConfig("Slice1", "Chip1", 0, awaitRequest("chip,Slice1,Chip1") + 1.0, false);
  ASSERT_FALSE(tree.remove({"hw", "config", "Slice1"}));
  answer("chip,Slice1,Chip1");
  EXPECT_EQ(1, program->wait());
  EXPECT_EQ(
      "requested: reset of chip Slice1/Chip1\n"
      "chip Slice1/Chip1: reset, and taken away since\n",
      program->output());
}

TEST_F(ResetWaitTest, AChipThatTheSliceHasNoMoreIsNotFound) {
  putUp("Slice1", "Chip1", 0, 200.0);
  putConfig("Slice1", "Former", 1, 100.0, false);
  start({"chip", "Former", "--wait"});
  awaitRequest("chip,Slice1,Former");
  answer("chip,Slice1,Former");
  EXPECT_EQ(1, program->wait());
  EXPECT_EQ(
      "requested: reset of chip Slice1/Former\n"
      "chip Slice1/Former: not found\n",
      program->output());
}

TEST_F(ResetWaitTest, FeatureAgentsAreWaitedForByTheirRestart) {
  put({"launcher", "feature", "Telemetry"}, Json::object());
  start({"features", "--wait"});
  double const genTime = awaitRequest("featureAgents");
  put({"launcher", "feature", "Telemetry"}, {{"restart", genTime}});
  answer("featureAgents");
  auto status = running(5);
  status["restart"] = genTime;
  put({"launcher-status", "feature", "Telemetry"}, status);
  EXPECT_EQ(0, program->wait());
  EXPECT_NE(std::string::npos,
            program->output().find("feature agent Telemetry: reset, runs again after "));
}

// oru-agent knows of a request that the tree does not hold any more.
TEST_F(ResetWaitTest, FeatureAgentsThatAreNotRestartedAreOutdated) {
  put({"launcher", "feature", "Telemetry"}, {{"restart", 1000.0}});
  start({"features", "--wait"});
  awaitRequest("featureAgents");
  answer("featureAgents");
  EXPECT_EQ(1, program->wait());
  EXPECT_EQ(0u, program->output().find("requested: reset of the feature agents\n"
                                       "feature agent Telemetry: outdated: last restarted for "
                                       "1970-01-01 00:16:40.000, requested "))
      << program->output();
}

TEST_F(ResetWaitTest, WithoutAnAnswerItGivesUpInTime) {
  putUp("Slice1", "Chip1", 0, 200.0);
  start({"slice", "Slice1", "--wait", "--timeout", "200ms"});
  EXPECT_EQ(4, program->wait());
  EXPECT_EQ("oructl: no answer to the reset of slice Slice1 within 0.2 s; does oru-agent run?\n",
            program->errors());
}

TEST_F(ResetWaitTest, AChipThatDoesNotComeBackIsToldAtTheEnd) {
  putUp("Slice1", "Chip1", 0, 200.0);
  start({"chip", "Chip1", "--wait", "--timeout", "2s"});
  putConfig("Slice1", "Chip1", 0, awaitRequest("chip,Slice1,Chip1") + 1.0, true);
  answer("chip,Slice1,Chip1");
  EXPECT_EQ(4, program->wait());
  EXPECT_EQ("oructl: chip Slice1/Chip1 was reset and does not run again within 2.0 s\n",
            program->errors());
}

TEST_F(ResetWaitTest, ATreeThatIsMovedAwayIsWaitedFor) {
  putUp("Slice1", "Chip1", 0, 200.0);
  start({"chip", "Chip1", "--wait"});
  double const genTime = awaitRequest("chip,Slice1,Chip1") + 1.0;
  std::filesystem::rename(root, folder / "away");
  EXPECT_TRUE(program->awaitsError("the tree is away"));
  std::filesystem::rename(folder / "away", root);
  putConfig("Slice1", "Chip1", 0, genTime, true);
  putPublished("Slice1", "Chip1", 0, genTime);
  answer("chip,Slice1,Chip1");
  EXPECT_EQ(0, program->wait()) << program->errors();
}

}  // namespace
