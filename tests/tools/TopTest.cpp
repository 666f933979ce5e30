#include "tools/Top.h"

#include "tests/tools/ToolFixture.h"

namespace {

using namespace Oru::Tools;

class TopTest : public OruTest::ToolFixture {};

TEST_F(TopTest, AgentsInTroubleComeFirstWithWhatTheyServe) {
  putUp("Slice1", "Chip1", 0, 200.0);
  putBoard("Slice2", "Chip2", 1);
  putStarted("Slice2", "Chip2", 1, 300.0);
  put({"launcher-status", "slice", "Slice1"}, running(11));
  put({"launcher-status", "chip", "Chip1"}, running(12));
  put({"launcher-status", "chip", "Chip2"}, crashed());
  TopSurroundings const surroundings{
      325.0,
      [](Oru::Launcher::ProcessIdentity const& process) {
        return process.pid == 11 ? std::optional(ProcessUsage{1.5, 2'500'000}) : std::nullopt;
      },
      [](pid_t, ProcessUsage const& usage) { return std::optional(usage.cpuSeconds * 10); }};
  TreeData const data(scanTree(tree));
  auto const lines = topPicture(data, surroundings, Style(false), {0, 0});
  EXPECT_EQ(
      (std::vector<std::string>{
          "1970-01-01 00:05:25   1 of 2 slices up, 1 of 2 chips up, 0 problems", "",
          "KIND   AGENT   STATE          FOR  PID  CPU %  MEMORY  RESTARTS  CRASHES  SERVES",
          "chip   Chip2   backoff     25.0 s    -      -       -         1        2  chip "
          "starting, 1 "
          "interfaces",
          "slice  Slice1  running  2 min 5 s   11   15.0  2.5 MB         0        0  slice up, 1 "
          "of 1 "
          "chips up",
          "slice  Slice2  none             -    -      -       -         -        -  slice "
          "starting, 0 "
          "of 1 chips up",
          "chip   Chip1   running  2 min 5 s   12      -       -         0        0  chip up, 1 "
          "interfaces"}),
      lines);
  for (auto const& line : topPicture(data, surroundings, Style(false), {30, 0}))
    EXPECT_LE(line.size(), 30u);
  auto const low = topPicture(data, surroundings, Style(false), {30, 5});
  ASSERT_EQ(5u, low.size());
  EXPECT_EQ("... 3 more", low.back());
  EXPECT_EQ(lines.size(), topPicture(data, surroundings, Style(false), {30, 7}).size());
}

TEST_F(TopTest, WithoutATerminalTheTableIsPrintedOnce) {
  EXPECT_EQ(0, run({"top"}));
  EXPECT_NE(std::string::npos, out.find("0 of 0 slices up, 0 of 0 chips up, 0 problems\n\nKIND"));
  EXPECT_EQ(3, runPlain({"--tree", folder / "none", "top"}));
}

TEST(ProcessUsageTest, IsReadFromTheLineOfTheProcess) {
  std::string const line =
      "7 (a) b) c) S 1 7 7 0 -1 4194560 1 2 3 4 150 50 0 0 20 0 1 0 777 1000000 25 18446744073709";
  auto const usage = ProcessUsage::parse(line, 777);
  ASSERT_TRUE(usage);
  EXPECT_DOUBLE_EQ(200.0 / static_cast<double>(::sysconf(_SC_CLK_TCK)), usage->cpuSeconds);
  EXPECT_EQ(25u * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)), usage->residentBytes);
  EXPECT_FALSE(ProcessUsage::parse(line, 778)) << "another process of that number";
  for (auto const* text : {"", "7 (a) S", "7"})
    EXPECT_FALSE(ProcessUsage::parse(text, 777)) << text;
}

TEST(ProcessUsageTest, SharesAreOfTheTimeBetweenTwoLooks) {
  CpuShares shares;
  EXPECT_FALSE(shares.share(7, {1.0, 0}, 100.0));
  EXPECT_DOUBLE_EQ(25.0, shares.share(7, {1.5, 0}, 102.0).value());
  EXPECT_FALSE(shares.share(7, {0.5, 0}, 103.0)) << "it is another process";
  EXPECT_FALSE(shares.share(7, {1.0, 0}, 103.0)) << "no time has passed";
}

}  // namespace
