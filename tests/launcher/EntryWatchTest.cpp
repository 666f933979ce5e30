#include "launcher/EntryWatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/launcher/FakeSurroundings.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace Oru::Launcher {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EntryWatchTest : public testing::Test {
 protected:
  std::vector<std::string> problemTexts() const {
    std::vector<std::string> texts;
    for (auto const& problem : problems.problems()) texts.push_back(textOf(problem));
    return texts;
  }

  Mount::EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  Mount::ProblemList problems;
  TestTools::FakeClock clock;
  TestTools::FakeProcesses processes{clock};
  TestTools::FakeCommands commands;
  ProcessTable table{processes, clock, commands, [](AgentId const&, std::string const&) {}};
  EntryWatch watch{backend, problems, clock, table};
};

TEST_F(EntryWatchTest, WhatCannotBeReadIsTriedAgainAfterLongerAndLongerDelays) {
  backend.othersPut({"launcher", "chip", "Chip1"}, "{}");
  backend.readsFail(true);
  watch.start();
  EXPECT_THAT(problemTexts(),
              ElementsAre("cannot read launcher/chip/Chip1.json: Input/output error"));
  for (double const delay : {0.1, 0.2, 0.4, 0.8}) {
    ASSERT_NEAR(delay, clock.nextTimer().value(), 1e-3);
    clock.advance(delay + 1e-6);
  }
  clock.advance(3600);
  EXPECT_LE(clock.nextTimer().value(), 60);

  backend.readsFail(false);
  clock.advance(60);
  EXPECT_THAT(problemTexts(), IsEmpty());
  EXPECT_EQ(1U, processes.running.size());
  EXPECT_EQ(std::nullopt, clock.nextTimer());
}

TEST_F(EntryWatchTest, TheFirstDelayAfterASuccessIsShortAgain) {
  backend.listsFail({"launcher", "chip"}, true);
  watch.start();
  clock.advance(10);
  backend.listsFail({"launcher", "chip"}, false);
  clock.advance(60);
  ASSERT_EQ(std::nullopt, clock.nextTimer());

  backend.listsFail({"launcher", "chip"}, true);
  backend.tellAll();
  OruTest::settle(loop);
  EXPECT_NEAR(0.1, clock.nextTimer().value(), 1e-3);
}

class ARefusedEntry : public EntryWatchTest {
 protected:
  static inline AgentId const chip1{AgentKind::chip, "Chip1"};
  static inline AgentStatus const waiting = [] {
    AgentStatus status;
    status.state = AgentState::backoff;
    status.starts = 1;
    status.restart = 7;
    return status;
  }();

  void restoreRunning() {
    AgentStatus running = waiting;
    running.state = AgentState::running;
    running.process = processes.orphan();
    table.restore(chip1, running);
  }
  AgentState state() const {
    AgentStatus const* status = table.status(chip1);
    return status == nullptr ? AgentState::gone : status->state;
  }
  void entryIs(std::string const& text) {
    backend.othersPut({"launcher", "chip", "Chip1"}, text);
    OruTest::settle(loop);
  }
};

TEST_F(ARefusedEntry, StartsAnAgentThatIsKnownFromItsRecordAndNoOther) {
  table.restore(chip1, waiting);
  backend.othersPut({"launcher", "chip", "Chip1"}, "nonsense");
  backend.othersPut({"launcher", "chip", "Chip2"}, "nonsense");
  watch.start();
  ASSERT_EQ(1U, processes.running.size());
  EXPECT_EQ(chip1, processes.only().id);
  EXPECT_EQ(2U, processes.only().startNumber);
}

TEST_F(ARefusedEntry, KeepsAnAgentThatWasFoundRunningAndCrashes) {
  restoreRunning();
  entryIs("nonsense");
  watch.start();
  processes.end(processes.onlyPid());
  EXPECT_EQ(AgentState::backoff, state());
  clock.advance(1);
  EXPECT_EQ(AgentState::running, state());
}

TEST_F(ARefusedEntry, IsComparedWithTheRecordWhenItIsGoodAgain) {
  restoreRunning();
  entryIs("nonsense");
  watch.start();
  entryIs(R"({"restart": 7})");
  EXPECT_EQ(AgentState::running, state());
  entryIs("nonsense");
  entryIs(R"({"restart": 8})");
  EXPECT_EQ(AgentState::stopping, state());
}

TEST_F(ARefusedEntry, SaysNothingOfTheRestartNumberThatNoRecordHas) {
  table.adopt(chip1, processes.orphan(), 1);
  entryIs("nonsense");
  watch.start();
  entryIs(R"({"restart": 7})");
  EXPECT_EQ(AgentState::running, state());
}

TEST_F(ARefusedEntry, DoesNotBringBackAnAgentThatIsGone) {
  restoreRunning();
  entryIs("{}");
  watch.start();
  backend.othersRemove({"launcher", "chip", "Chip1"});
  OruTest::settle(loop);
  processes.end(processes.onlyPid());
  ASSERT_EQ(AgentState::gone, state());
  entryIs("nonsense");
  EXPECT_EQ(AgentState::gone, state());
  EXPECT_TRUE(processes.running.empty());
}

TEST_F(ARefusedEntry, EndsItsAgentWhenItGoes) {
  restoreRunning();
  entryIs("nonsense");
  watch.start();
  backend.othersRemove({"launcher", "chip", "Chip1"});
  OruTest::settle(loop);
  EXPECT_EQ(AgentState::stopping, state());
}

}  // namespace
}  // namespace Oru::Launcher
