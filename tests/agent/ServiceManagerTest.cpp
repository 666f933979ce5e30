#include "tests/agent/AgentFixture.h"

namespace {

class ServiceManager : public OruTest::AgentFixture {
 protected:
  // How often the process has gone to sleep so far.
  long sleeps() const {
    std::ifstream status("/proc/" + std::to_string(agent->pid()) + "/status");
    std::string const word = "voluntary_ctxt_switches:";
    std::string line;
    while (std::getline(status, line))
      if (line.starts_with(word)) return std::stol(line.substr(word.size()));
    return -1;
  }
  // Lets the agent work, and waits until it has nothing to do any more.
  void workAndSettle() {
    bringUp("S1", 5.0, {1});
    requestReset("slice", 1.0, "S1");
    ASSERT_TRUE(awaitsAnswer(1.0, "slice,S1"));
    ASSERT_TRUE(staysQuietFor(std::chrono::milliseconds(500)));
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
  workAndSettle();
  long const before = sleeps();
  ASSERT_LT(0, before);
  EXPECT_TRUE(staysQuietFor(std::chrono::seconds(2)));
  EXPECT_EQ(before, sleeps());
}

TEST_F(ServiceManager, WithAWatchdogAnIdleAgentWakesUpForThatOnly) {
  ::setenv("WATCHDOG_USEC", "500000", 1);
  startAgent();
  ::unsetenv("WATCHDOG_USEC");
  workAndSettle();
  while (serviceManager.isPending()) serviceManager.take();
  ASSERT_TRUE(serviceManager.awaits("WATCHDOG=1"));
  long const before = sleeps();
  int const times = 6;
  for (int i = 0; i < times; ++i) EXPECT_EQ("WATCHDOG=1", serviceManager.take());
  // The first and the last sleep may be counted or not.
  long const slept = sleeps() - before;
  EXPECT_LE(times - 1, slept);
  EXPECT_GE(times + 1, slept);
}

}  // namespace
