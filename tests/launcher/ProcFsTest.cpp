#include "launcher/ProcFs.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

namespace Oru::Launcher {
namespace {

TEST(ProcStat, ReadsStateGroupAndStart) {
  auto const stat = ProcStat::parse(
      "4711 (agent) S 1 4700 4700 0 -1 4194304 90 0 0 0 1 2 3 4 20 0 1 0 987654 1000 20 18446744");
  ASSERT_TRUE(stat);
  EXPECT_EQ(*stat, (ProcStat{'S', 4700, 987654}));
  EXPECT_FALSE(stat->hasEnded());
}

TEST(ProcStat, ANameWithBlanksAndParenthesesDoesNotShiftTheFields) {
  auto const stat =
      ProcStat::parse("12 (a) Z 9 (b) Z 1 10 10 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 55 0 0");
  ASSERT_TRUE(stat);
  EXPECT_EQ(*stat, (ProcStat{'Z', 10, 55}));
  EXPECT_TRUE(stat->hasEnded());
}

TEST(ProcStat, ATruncatedLineIsNone) {
  EXPECT_FALSE(ProcStat::parse(""));
  EXPECT_FALSE(ProcStat::parse("12 (agent"));
  EXPECT_FALSE(ProcStat::parse("12 (agent) S 1 10 10 0 -1 0 0"));
}

TEST(ProcStat, TheOwnProcessIsFound) {
  auto const stat = ProcStat::read(getpid());
  ASSERT_TRUE(stat);
  EXPECT_EQ(stat->group, getpgrp());
  EXPECT_FALSE(stat->hasEnded());
  auto const pids = allProcesses();
  EXPECT_EQ(std::count(pids.begin(), pids.end(), getpid()), 1);
}

TEST(ProcStat, AProcessThatWasReapedIsNotFound) {
  pid_t const child = fork();
  if (child == 0) _exit(0);
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
  EXPECT_TRUE(ProcStat::read(child).value().hasEnded());
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_FALSE(ProcStat::read(child));
}

TEST(BootId, IsOneWord) {
  EXPECT_FALSE(bootId().empty());
  EXPECT_EQ(bootId().find_first_of(" \n"), std::string::npos);
}

}  // namespace
}  // namespace Oru::Launcher
