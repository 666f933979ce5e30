#include "launcher/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/launcher/FakeSurroundings.h"

namespace Oru::Launcher {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestTools::FakeClock;
using TestTools::FakeCommands;
using TestTools::FakeProcesses;

class AgentProcessTest : public testing::Test, private AgentProcess::Observer {
 protected:
  AgentStatus const& status() const { return agent.status(); }
  AgentState state() const { return status().state; }

  // The agent runs, and its process has had time to become stable.
  void runStably() {
    agent.entryIs(std::nullopt);
    clock.advance(commands.limits.backoff.stable);
  }

  AgentStatus recordOf(ProcessIdentity const& process, AgentState recorded = AgentState::running) {
    AgentStatus record;
    record.state = recorded;
    record.since = 5;
    record.process = process;
    record.startTime = 4;
    record.starts = 3;
    record.wantedRestarts = 1;
    record.crashes = 1;
    record.restart = 8;
    return record;
  }

  FakeClock clock;
  FakeProcesses processes{clock};
  FakeCommands commands;
  std::vector<std::string> events;
  AgentProcess agent{{AgentKind::chip, "Chip1"}, {processes, clock, commands, *this}};

 private:
  void changed(AgentProcess const&, std::string const& event) override { events.push_back(event); }
};

TEST_F(AgentProcessTest, AnEntryStartsTheProcess) {
  agent.entryIs(std::nullopt);

  EXPECT_EQ(processes.only().command.argv, (std::vector<std::string>{"agent", "Chip1"}));
  EXPECT_EQ(processes.only().startNumber, 1U);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().process->pid, processes.onlyPid());
  EXPECT_EQ(status().startTime, clock.wallTime());
  EXPECT_EQ(status().since, clock.wallTime());
  EXPECT_EQ(status().starts, 1U);
  EXPECT_EQ(status().wantedRestarts + status().crashes, 0U);
  EXPECT_THAT(events, ElementsAre("started as process 101"));
}

TEST_F(AgentProcessTest, TheSameEntryAgainDoesNothing) {
  agent.entryIs(3);
  agent.entryIs(3);
  agent.entryIs(std::nullopt);
  agent.entryIs(3);
  EXPECT_EQ(processes.starts, 1);
  EXPECT_THAT(processes.only().signals, IsEmpty());
}

TEST_F(AgentProcessTest, WithoutItsEntryTheProcessIsAskedToStop) {
  agent.entryIs(std::nullopt);
  agent.entryDel();
  EXPECT_EQ(state(), AgentState::stopping);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));

  processes.end(processes.onlyPid(), {ProcessEnd::How::killed, SIGTERM});
  EXPECT_TRUE(agent.isGone());
  EXPECT_EQ(status().crashes, 0U);
  EXPECT_FALSE(clock.nextTimer());
}

TEST_F(AgentProcessTest, AProcessThatIgnoresTheRequestIsKilledAfterTheGraceTime) {
  agent.entryIs(std::nullopt);
  agent.entryDel();
  clock.advance(4.9);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  clock.advance(0.1);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM, SIGKILL));
  EXPECT_EQ(state(), AgentState::stopping);
  EXPECT_EQ(events.back(), "did not stop in 5 s, is killed");

  processes.end(processes.onlyPid(), {ProcessEnd::How::killed, SIGKILL});
  EXPECT_TRUE(agent.isGone());
}

TEST_F(AgentProcessTest, AProcessThatEndsByItselfIsStartedAgainWithGrowingDelays) {
  agent.entryIs(std::nullopt);
  double const delays[] = {1, 2, 4, 8, 8};
  for (double const delay : delays) {
    processes.end(processes.onlyPid());
    EXPECT_EQ(state(), AgentState::backoff);
    EXPECT_EQ(status().nextStart, clock.wallTime() + delay);
    EXPECT_FALSE(status().process);
    EXPECT_EQ(clock.nextTimer(), delay);
    clock.advance(delay);
    EXPECT_EQ(state(), AgentState::running);
    EXPECT_FALSE(status().nextStart);
  }
  EXPECT_EQ(status().crashes, 5U);
  EXPECT_EQ(status().wantedRestarts, 0U);
  EXPECT_EQ(status().starts, 6U);
  EXPECT_EQ(processes.only().startNumber, 6U);
}

TEST_F(AgentProcessTest, StableRunningBringsTheFirstDelayBack) {
  agent.entryIs(std::nullopt);
  processes.end(processes.onlyPid());
  clock.advance(1);
  clock.advance(9.5);
  processes.end(processes.onlyPid());
  EXPECT_EQ(clock.nextTimer(), 2);
  clock.advance(2);
  clock.advance(10);
  processes.end(processes.onlyPid());
  EXPECT_EQ(clock.nextTimer(), 1);
}

TEST_F(AgentProcessTest, AnEndWithStatusZeroIsACrashToo) {
  agent.entryIs(std::nullopt);
  processes.end(processes.onlyPid(), {ProcessEnd::How::exited, 0});
  EXPECT_EQ(state(), AgentState::backoff);
  EXPECT_EQ(status().crashes, 1U);
  EXPECT_EQ(status().lastExit->end.reason(), "exited with status 0");
  EXPECT_EQ(status().lastExit->time, clock.wallTime());
  EXPECT_EQ(events.back(), "exited with status 0; next start in 1 s");
}

TEST_F(AgentProcessTest, AnEntryRemovedInBackoffEndsIt) {
  agent.entryIs(std::nullopt);
  processes.end(processes.onlyPid());
  agent.entryDel();
  EXPECT_TRUE(agent.isGone());
  EXPECT_FALSE(clock.nextTimer());
  EXPECT_EQ(processes.starts, 1);
}

TEST_F(AgentProcessTest, AChangedRestartNumberRestartsWithoutDelay) {
  agent.entryIs(1);
  agent.entryIs(2);
  EXPECT_EQ(state(), AgentState::stopping);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  EXPECT_EQ(processes.starts, 1);

  processes.end(processes.onlyPid(), {ProcessEnd::How::exited, 0});
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().wantedRestarts, 1U);
  EXPECT_EQ(status().crashes, 0U);
  EXPECT_EQ(status().restart, 2);
  EXPECT_EQ(processes.starts, 2);
}

TEST_F(AgentProcessTest, AFirstRestartNumberOfAKnownEntryIsAChange) {
  agent.entryIs(std::nullopt);
  agent.entryIs(1);
  EXPECT_EQ(state(), AgentState::stopping);
}

TEST_F(AgentProcessTest, ManyRestartsWantedWhileItStopsAreOne) {
  agent.entryIs(1);
  agent.entryIs(2);
  agent.entryIs(3);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  processes.end(processes.onlyPid());
  EXPECT_EQ(status().wantedRestarts, 1U);
  EXPECT_EQ(status().restart, 3);
  EXPECT_EQ(state(), AgentState::running);
}

TEST_F(AgentProcessTest, AWantedRestartCutsTheBackoffShortAndBeginsItAnew) {
  agent.entryIs(1);
  processes.end(processes.onlyPid());
  clock.advance(1);
  processes.end(processes.onlyPid());
  EXPECT_EQ(clock.nextTimer(), 2);

  agent.entryIs(2);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_FALSE(clock.nextTimer());
  EXPECT_EQ(status().wantedRestarts, 1U);
  EXPECT_EQ(status().crashes, 2U);
  processes.end(processes.onlyPid());
  EXPECT_EQ(clock.nextTimer(), 1);
}

TEST_F(AgentProcessTest, AnEntryPutBackWhileItStopsStartsItAfterTheOldProcessIsGone) {
  agent.entryIs(std::nullopt);
  agent.entryDel();
  agent.entryIs(std::nullopt);
  EXPECT_EQ(state(), AgentState::stopping);
  EXPECT_EQ(processes.starts, 1);

  clock.advance(5);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM, SIGKILL));
  EXPECT_EQ(processes.starts, 1);

  processes.end(processes.onlyPid(), {ProcessEnd::How::killed, SIGKILL});
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(processes.starts, 2);
  EXPECT_EQ(status().wantedRestarts, 1U);
}

TEST_F(AgentProcessTest, AnEntryRemovedWhileARestartIsUnderWayStopsItForGood) {
  agent.entryIs(1);
  agent.entryIs(2);
  agent.entryDel();
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  processes.end(processes.onlyPid());
  EXPECT_TRUE(agent.isGone());
  EXPECT_EQ(processes.starts, 1);
}

TEST_F(AgentProcessTest, WhatCannotBeStartedIsTriedAgainWithBackoff) {
  processes.failure = "agent: Permission denied";
  agent.entryIs(std::nullopt);
  EXPECT_EQ(state(), AgentState::failed);
  EXPECT_EQ(status().problem, "agent: Permission denied");
  EXPECT_EQ(status().starts, 0U);
  EXPECT_EQ(status().startTime, 0);
  EXPECT_EQ(clock.nextTimer(), 1);
  EXPECT_THAT(events, ElementsAre("cannot be started: agent: Permission denied; next try in 1 s"));

  clock.advance(1);
  EXPECT_EQ(clock.nextTimer(), 2);
  processes.failure.clear();
  clock.advance(2);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().problem, "");
  EXPECT_EQ(status().crashes, 0U);
}

TEST_F(AgentProcessTest, AnAgentWithoutCommandFails) {
  commands.unknown = "Chip1";
  agent.entryIs(std::nullopt);
  EXPECT_EQ(state(), AgentState::failed);
  EXPECT_EQ(status().problem, "no command for chip Chip1");
  agent.entryDel();
  EXPECT_TRUE(agent.isGone());
}

TEST_F(AgentProcessTest, RetryStartsWhatWaits) {
  processes.failure = "no";
  agent.entryIs(std::nullopt);
  processes.failure.clear();
  agent.retry();
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().wantedRestarts, 0U);
  agent.retry();
  EXPECT_EQ(processes.starts, 1);
}

TEST_F(AgentProcessTest, ARecordedProcessThatRunsGoesOn) {
  auto const process = processes.orphan();
  auto const record = recordOf(process);
  agent.restore(record);
  agent.entryIs(8);

  EXPECT_EQ(status(), record);
  EXPECT_EQ(processes.starts, 1);
  EXPECT_THAT(processes.only().signals, IsEmpty());
  EXPECT_THAT(processes.remainsKilled, IsEmpty());
  EXPECT_THAT(events, ElementsAre("goes on as process 101"));
}

TEST_F(AgentProcessTest, ARestartWantedInTheMeantimeIsCarriedOut) {
  agent.restore(recordOf(processes.orphan()));
  agent.entryIs(9);
  EXPECT_EQ(state(), AgentState::stopping);
  processes.end(processes.onlyPid(), {});
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().wantedRestarts, 2U);
  EXPECT_EQ(status().starts, 4U);
}

TEST_F(AgentProcessTest, AnAdoptedProcessWithoutEntryIsStopped) {
  agent.restore(recordOf(processes.orphan()));
  agent.entryDel();
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  processes.end(processes.onlyPid(), {});
  EXPECT_TRUE(agent.isGone());
}

TEST_F(AgentProcessTest, AProcessRecordedAsStoppingIsAskedAgainAndThenReplaced) {
  agent.restore(recordOf(processes.orphan(), AgentState::stopping));
  EXPECT_EQ(state(), AgentState::stopping);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM));
  agent.entryIs(8);
  clock.advance(5);
  EXPECT_THAT(processes.only().signals, ElementsAre(SIGTERM, SIGKILL));
  processes.end(processes.onlyPid(), {});
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_FALSE(processes.only().adopted);
}

TEST_F(AgentProcessTest, ARecordedProcessThatIsGoneIsACrashAndReplacedAtOnce) {
  agent.restore(recordOf({77, 1, "boot"}));
  EXPECT_EQ(state(), AgentState::backoff);
  EXPECT_THAT(processes.remainsKilled, ElementsAre(77));
  EXPECT_FALSE(clock.nextTimer());

  agent.entryIs(8);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().crashes, 2U);
  EXPECT_EQ(status().wantedRestarts, 1U);
  EXPECT_EQ(status().starts, 4U);
  EXPECT_EQ(status().lastExit->end, ProcessEnd{});
}

TEST_F(AgentProcessTest, AProcessThatWasBeingStoppedAndIsGoneIsNoCrash) {
  agent.restore(recordOf({77, 1, "boot"}, AgentState::stopping));
  agent.entryIs(8);
  EXPECT_EQ(status().crashes, 1U);
  EXPECT_EQ(state(), AgentState::running);
}

TEST_F(AgentProcessTest, ARecordWithoutProcessWaitsForItsEntry) {
  AgentStatus record = recordOf({});
  record.process.reset();
  record.state = AgentState::failed;
  record.problem = "old";
  record.nextStart = 1;
  agent.restore(record);
  agent.retry();
  EXPECT_EQ(processes.starts, 0);
  EXPECT_FALSE(agent.isGone());

  agent.entryIs(8);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().problem, "");
  EXPECT_EQ(status().crashes, 1U);
}

TEST_F(AgentProcessTest, ARecordWithoutProcessAndEntryIsForgotten) {
  AgentStatus record = recordOf({});
  record.process.reset();
  record.state = AgentState::backoff;
  agent.restore(record);
  agent.entryDel();
  EXPECT_TRUE(agent.isGone());
}

TEST_F(AgentProcessTest, AProcessInNoRecordIsAdopted) {
  auto const process = processes.orphan();
  clock.advance(7);
  agent.adopt(process, 4);
  agent.entryIs(12);

  EXPECT_EQ(state(), AgentState::running);
  EXPECT_EQ(status().starts, 4U);
  EXPECT_EQ(status().restart, 12);
  EXPECT_NEAR(status().startTime, clock.wallTime() - 7, 0.1);
  EXPECT_THAT(processes.only().signals, IsEmpty());
  EXPECT_EQ(processes.starts, 1);
}

TEST_F(AgentProcessTest, AProcessOlderThanTheRecordIsNotAdopted) {
  agent.restore(recordOf({77, 1, "boot"}));
  agent.adopt(processes.orphan(), 3);
  EXPECT_EQ(state(), AgentState::backoff);
  EXPECT_THAT(processes.running, IsEmpty());
}

TEST_F(AgentProcessTest, AProcessYoungerThanTheRecordIsAdopted) {
  agent.restore(recordOf({77, 1, "boot"}));
  agent.adopt(processes.orphan(), 4);
  agent.entryIs(8);
  EXPECT_EQ(state(), AgentState::running);
  EXPECT_TRUE(processes.only().adopted);
}

TEST_F(AgentProcessTest, OnlyOneProcessIsAdopted) {
  agent.restore(recordOf(processes.orphan()));
  agent.adopt(processes.orphan(), 9);
  EXPECT_EQ(processes.running.size(), 1U);
  EXPECT_EQ(status().process->pid, 101);
}

TEST_F(AgentProcessTest, TheRunOfAnAdoptedProcessCountsFromItsStart) {
  auto const process = processes.orphan();
  clock.advance(9);
  agent.restore(recordOf(process));
  agent.entryIs(8);
  processes.end(processes.onlyPid(), {});
  clock.advance(1);
  processes.end(processes.onlyPid());
  EXPECT_EQ(clock.nextTimer(), 2);
}

}  // namespace
}  // namespace Oru::Launcher
