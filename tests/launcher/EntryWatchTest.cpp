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

}  // namespace
}  // namespace Oru::Launcher
