#include <csignal>

#include "tests/agent/ProgramRun.h"
#include "tests/tools/ToolFixture.h"

namespace {

using OruTest::ProgramRun;

// The program itself, as a process.
class CommandLineTest : public OruTest::ToolFixture {
 protected:
  int runProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ORUCTL);
    ProgramRun program(arguments);
    int const code = program.wait();
    out = program.output();
    err = program.errors();
    return code;
  }
  bool says(std::string const& text) const { return out.find(text) != std::string::npos; }
};

TEST_F(CommandLineTest, HelpTeachesWithExamplesAndExitCodes) {
  EXPECT_EQ(0, runProgram({"--help"}));
  for (auto const* text :
       {"Examples:", "Exit codes:", "--tree", "ORU_TREE", "/run/oru-central", "NO_COLOR", "show",
        "reset", "feature", "insert", "remove", "watch", "top", "trace"})
    EXPECT_TRUE(says(text)) << text;
  EXPECT_FALSE(says("__complete"));
  for (auto const* command : {"show", "reset", "feature", "insert", "remove", "watch", "trace"}) {
    EXPECT_EQ(0, runProgram({command, "--help"}));
    EXPECT_TRUE(says("Example")) << command;
    EXPECT_TRUE(says("Exit codes:")) << command;
    EXPECT_TRUE(says(std::string("Usage: oructl ") + command)) << out;
  }
  EXPECT_EQ(0, runProgram({"top", "--help"}));
  EXPECT_TRUE(says("Exit codes:"));
}

TEST_F(CommandLineTest, LinesOfHelpFitATerminal) {
  for (std::string const command :
       {"", "show", "reset", "feature", "insert", "remove", "watch", "top", "trace"}) {
    runProgram(command.empty() ? std::vector<std::string>{"--help"}
                               : std::vector<std::string>{command, "--help"});
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) EXPECT_LE(line.size(), 110u) << line;
  }
}

TEST_F(CommandLineTest, VersionIsPrinted) {
  EXPECT_EQ(0, runProgram({"--version"}));
  EXPECT_EQ(0u, out.find("oructl "));
}

TEST_F(CommandLineTest, WrongUseIsCodeTwo) {
  EXPECT_EQ(2, runProgram({}));
  EXPECT_EQ(2, runProgram({"shwo"}));
  EXPECT_EQ(
      "oructl: there is no command \"shwo\"; did you mean \"show\"?\n"
      "Run with --help for more information.\n",
      err);
  EXPECT_EQ(2, runProgram({"--tree", root, "show", "--jsn"}));
  EXPECT_EQ(
      "oructl: there is no option --jsn; did you mean \"--json\"?\n"
      "Run with --help for more information.\n",
      err);
  EXPECT_EQ(2, runProgram({"--tree", root, "show", "slcies"}));
  EXPECT_EQ(
      "oructl: there is nothing to show that is called \"slcies\"; did you mean \"slices\"?\n",
      err);
  EXPECT_EQ(2, runProgram({"--tree", root, "watch", "slices"}));
  EXPECT_EQ(2, runProgram({"--tree"}));
  EXPECT_EQ("oructl: --tree needs DIR\nRun with --help for more information.\n", err);
  EXPECT_EQ(2, runProgram({"--tree", root, "reset", "all", "--cause"}));
  EXPECT_EQ("oructl: --cause needs TEXT\nRun with --help for more information.\n", err);
  EXPECT_EQ(2, runProgram({"--tree", "", "show"}));
  EXPECT_EQ("oructl: --tree: must not be empty\nRun with --help for more information.\n", err);
}

TEST_F(CommandLineTest, TheTreeMayStandAnywhereOrInTheEnvironment) {
  put({"features", "F"}, {{"enabled", true}});
  EXPECT_EQ(0, runProgram({"show", "features", "--tree", root}));
  auto const expected = out;
  EXPECT_TRUE(says("F        on"));
  ::setenv("ORU_TREE", root.c_str(), 1);
  EXPECT_EQ(0, runProgram({"show", "features"}));
  EXPECT_EQ(expected, out);
  EXPECT_EQ(3, runProgram({"--tree", folder / "none", "show"}));
  ::setenv("ORU_TREE", (folder / "none").c_str(), 1);
  EXPECT_EQ(0, runProgram({"--tree", root, "show", "features"}));
}

TEST_F(CommandLineTest, OutcomesAreExitCodes) {
  EXPECT_EQ(0, runProgram({"--tree", root, "show", "problems"}));
  putText({"features", "F"}, "x");
  EXPECT_EQ(1, runProgram({"--tree", root, "show", "problems"}));
  EXPECT_EQ(2, runProgram({"--tree", root, "remove", "Slice1"}));
  EXPECT_EQ(3, runProgram({"trace", folder / "none"}));
  EXPECT_EQ(4, runProgram({"--tree", root, "reset", "all", "--wait", "--timeout", "10ms"}));
}

TEST_F(CommandLineTest, NothingIsColouredWithoutATerminal) {
  putUp("Slice1", "Chip1", 0, 200.0);
  runProgram({"--tree", root, "show", "chips"});
  EXPECT_EQ(std::string::npos, out.find('\033'));
}

TEST_F(CommandLineTest, WatchEndsOrderlyAndTellsWhatHappenedBefore) {
  ASSERT_FALSE(tree.makeDirectory({"features"}));
  for (int const signal : {SIGINT, SIGTERM}) {
    ProgramRun program({ORUCTL, "--tree", root, "watch"});
    ASSERT_TRUE(program.awaitsError("watching " + root));
    put({"features", "F" + std::to_string(signal)}, {{"enabled", true}});
    EXPECT_TRUE(program.awaitsOutput("feature F" + std::to_string(signal) + " is on"));
    program.signal(signal);
    EXPECT_EQ(0, program.wait());
  }
  EXPECT_EQ(3, runProgram({"--tree", folder / "none", "watch"}));
}

}  // namespace
