#include "tests/agent/AgentFixture.h"

namespace {

class ServiceManager : public OruTest::AgentFixture {
 protected:
  // How often the process has gone to sleep so far.
  std::string sleeps() const {
    std::ifstream status("/proc/" + std::to_string(agent->pid()) + "/status");
    std::string line;
    while (std::getline(status, line))
      if (line.starts_with("voluntary_ctxt_switches")) return line;
    return {};
  }
};

TEST_F(ServiceManager, HearsOfTheStartTheStateAndTheEnd) {
  agent.emplace(std::vector<std::string>{ORU_AGENT, "--tree", root});
  EXPECT_EQ("STATUS=0 slices, 0 chips running", serviceManager.take());
  EXPECT_EQ("READY=1", serviceManager.take());
  bringUp("S1", 5.0, {1});
  EXPECT_TRUE(serviceManager.awaits("STATUS=1 slice, 1 chip running"));
  agent->signal(SIGTERM);
  EXPECT_TRUE(serviceManager.awaits("STOPPING=1"));
  EXPECT_EQ(0, agent->wait());
}

TEST_F(ServiceManager, TheWatchdogIsFed) {
  ::setenv("WATCHDOG_USEC", "200000", 1);
  startAgent();
  ::unsetenv("WATCHDOG_USEC");
  EXPECT_TRUE(serviceManager.awaits("WATCHDOG=1"));
  EXPECT_TRUE(serviceManager.awaits("WATCHDOG=1"));
}

TEST_F(ServiceManager, AnIdleAgentWakesUpForNothing) {
  startAgent();
  bringUp("S1", 5.0, {1});
  // The agent has settled once its answer to the last thing asked is there.
  requestReset("slice", 1.0, "S1");
  ASSERT_TRUE(awaitsAnswer(1.0, "slice,S1"));
  ASSERT_TRUE(staysQuietFor(std::chrono::milliseconds(500)));
  auto const before = sleeps();
  ASSERT_FALSE(before.empty());
  EXPECT_TRUE(staysQuietFor(std::chrono::seconds(2)));
  EXPECT_EQ(before, sleeps());
}

}  // namespace
