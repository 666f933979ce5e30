#include "launcher/ProcessTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/launcher/FakeSurroundings.h"

namespace Oru::Launcher {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

AgentId const chip1{AgentKind::chip, "Chip1"};
AgentId const chip2{AgentKind::chip, "Chip2"};
AgentId const slice1{AgentKind::slice, "Slice1"};

class ProcessTableTest : public testing::Test {
 protected:
  TestTools::FakeClock clock;
  TestTools::FakeProcesses processes{clock};
  TestTools::FakeCommands commands;
  std::vector<std::string> events;
  ProcessTable table{processes, clock, commands,
                     [this](AgentId const& id, std::string const& event) {
                       events.push_back(toString(id) + ": " + event);
                     }};
};

TEST_F(ProcessTableTest, EachEntryHasItsProcess) {
  table.entryIs(chip1, std::nullopt);
  table.entryIs(slice1, std::nullopt);
  table.entryIs(chip2, std::nullopt);
  EXPECT_EQ(processes.running.size(), 3U);
  EXPECT_THAT(table.names(AgentKind::chip), ElementsAre("Chip1", "Chip2"));
  EXPECT_THAT(table.names(AgentKind::slice), ElementsAre("Slice1"));
  EXPECT_THAT(table.names(AgentKind::feature), IsEmpty());
  EXPECT_EQ(table.counts(), (ProcessTable::Counts{3, 0, 0, 0}));
  EXPECT_EQ(events.front(), "chip Chip1: started as process 101");
}

TEST_F(ProcessTableTest, OneNameMayBelongToSeveralKinds) {
  table.entryIs({AgentKind::chip, "A"}, std::nullopt);
  table.entryIs({AgentKind::slice, "A"}, std::nullopt);
  table.entryDel({AgentKind::chip, "A"});
  EXPECT_EQ(table.counts(), (ProcessTable::Counts{1, 1, 0, 0}));
  EXPECT_EQ(table.status({AgentKind::slice, "A"})->state, AgentState::running);
}

TEST_F(ProcessTableTest, AnAgentThatIsGoneIsKnownNoMore) {
  table.entryIs(chip1, std::nullopt);
  table.entryDel(chip1);
  EXPECT_FALSE(table.empty());
  table.forgetIfGone(chip1);
  EXPECT_EQ(table.status(chip1)->state, AgentState::stopping);

  processes.end(processes.onlyPid(), {ProcessEnd::How::exited, 0});
  EXPECT_EQ(events.back(), "chip Chip1: exited with status 0");
  EXPECT_EQ(table.status(chip1), nullptr);
  EXPECT_TRUE(table.empty());
  EXPECT_THAT(table.names(AgentKind::chip), IsEmpty());
  table.forgetIfGone(chip1);
  EXPECT_EQ(table.status(chip1), nullptr);
}

TEST_F(ProcessTableTest, AnEntryAfterTheEndBeginsANewLife) {
  table.entryIs(chip1, 1);
  processes.end(processes.onlyPid());
  table.entryDel(chip1);
  table.entryIs(chip1, 2);
  EXPECT_EQ(table.status(chip1)->crashes, 0U);
  EXPECT_EQ(table.status(chip1)->starts, 1U);
  EXPECT_EQ(table.status(chip1)->state, AgentState::running);
}

TEST_F(ProcessTableTest, RestoredAgentsKeepTheirCounters) {
  AgentStatus record;
  record.state = AgentState::backoff;
  record.starts = 5;
  record.crashes = 4;
  table.restore(chip1, record);
  EXPECT_THAT(table.names(AgentKind::chip), ElementsAre("Chip1"));
  table.entryIs(chip1, std::nullopt);
  EXPECT_EQ(table.status(chip1)->crashes, 4U);
  EXPECT_EQ(table.status(chip1)->starts, 6U);
}

TEST_F(ProcessTableTest, WithoutEntriesEverythingStops) {
  table.entryIs(chip1, std::nullopt);
  table.entryIs(slice1, std::nullopt);
  processes.end(processes.onlyPid());
  table.entryDelAll();
  EXPECT_EQ(table.counts(), (ProcessTable::Counts{0, 1, 0, 0}));
  processes.end(processes.onlyPid());
  EXPECT_TRUE(table.empty());
}

TEST_F(ProcessTableTest, RetryStartsAllThatWait) {
  processes.failure = "no";
  table.entryIs(chip1, std::nullopt);
  table.entryIs(chip2, std::nullopt);
  EXPECT_EQ(table.counts(), (ProcessTable::Counts{0, 0, 0, 2}));
  processes.failure.clear();
  table.retry();
  EXPECT_EQ(table.counts(), (ProcessTable::Counts{2, 0, 0, 0}));
}

TEST_F(ProcessTableTest, AnUnknownAgentIsNeitherStoppedNorKnown) {
  table.entryDel(chip1);
  EXPECT_EQ(table.status(chip1), nullptr);
  EXPECT_THAT(events, IsEmpty());
}

}  // namespace
}  // namespace Oru::Launcher
