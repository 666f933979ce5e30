#include "launcher/AgentStatusJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "mount/Json.h"

namespace Oru::Launcher {
namespace {

using nlohmann::json;
using testing::StartsWith;

AgentStatus runningStatus() {
  AgentStatus status;
  status.state = AgentState::running;
  status.since = 1790000000.5;
  status.process = ProcessIdentity{4711, 987654321, "boot"};
  status.startTime = 1790000000.25;
  status.starts = 4;
  status.wantedRestarts = 1;
  status.crashes = 2;
  status.restart = 17;
  status.lastExit = AgentStatus::Exit{{ProcessEnd::How::killed, 9}, 1789999999};
  return status;
}

std::string refusalOf(std::string const& text) {
  try {
    agentStatusOf(text);
  } catch (Mount::JsonError const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(AgentStatusJson, HoldsWhatEverybodyMayKnow) {
  EXPECT_EQ(json::parse(jsonOf(runningStatus())), json::parse(R"json({
    "state": "running", "since": 1790000000.5, "pid": 4711, "startTicks": 987654321,
    "bootId": "boot", "startTime": 1790000000.25, "starts": 4,
    "restarts": {"wanted": 1, "crashes": 2}, "restart": 17,
    "lastExit": {"time": 1789999999, "signal": 9, "reason": "killed by signal 9 (Killed)"}})json"));
}

TEST(AgentStatusJson, LeavesOutWhatIsNot) {
  AgentStatus status;
  status.state = AgentState::failed;
  status.since = 1;
  status.nextStart = 2;
  status.problem = "agent: No such file or directory in PATH";
  EXPECT_EQ(json::parse(jsonOf(status)), json::parse(R"({
    "state": "failed", "since": 1, "starts": 0, "restarts": {"wanted": 0, "crashes": 0},
    "nextStart": 2, "problem": "agent: No such file or directory in PATH"})"));
}

TEST(AgentStatusJson, IsReadBackAsItWasWritten) {
  AgentStatus status = runningStatus();
  EXPECT_EQ(agentStatusOf(jsonOf(status)), status);

  status.state = AgentState::backoff;
  status.process.reset();
  status.restart.reset();
  status.lastExit->end = {ProcessEnd::How::exited, 3};
  status.nextStart = 1790000001.125;
  status.problem = "why";
  EXPECT_EQ(agentStatusOf(jsonOf(status)), status);

  status.lastExit->end = {};
  EXPECT_EQ(agentStatusOf(jsonOf(status)), status);
}

TEST(AgentStatusJson, SaysWhenTheExitIsNotKnown) {
  AgentStatus status = runningStatus();
  status.lastExit->end = {};
  auto const exit = json::parse(jsonOf(status))["lastExit"];
  EXPECT_EQ(exit["reason"], "exit status unknown: the process was started by an earlier launcher");
  EXPECT_FALSE(exit.contains("code"));
  EXPECT_FALSE(exit.contains("signal"));
}

TEST(AgentStatusJson, OtherTextsAreRefused) {
  auto const with = [](char const* field, json const& value) {
    json changed = json::parse(jsonOf(runningStatus()));
    changed[field] = value;
    return refusalOf(changed.dump());
  };
  EXPECT_THAT(with("state", "gone"), StartsWith("state is not a state of an agent"));
  EXPECT_THAT(with("pid", 0), StartsWith("pid is not"));
  EXPECT_THAT(with("pid", 1), StartsWith("pid is not")) << "a signal to its group goes to all";
  EXPECT_THAT(with("starts", -1), StartsWith("starts is not"));
  EXPECT_THAT(with("since", "now"), StartsWith("since is not"));
  EXPECT_THAT(with("restarts", json::object()), StartsWith("restarts.wanted is missing"));
  EXPECT_THAT(with("colour", 1), StartsWith("colour is not"));
  EXPECT_THAT(refusalOf("{"), StartsWith("is not JSON"));
}

}  // namespace
}  // namespace Oru::Launcher
