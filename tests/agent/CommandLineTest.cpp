#include "tests/agent/AgentFixture.h"

namespace {

using OruTest::ProgramRun;

class CommandLine : public OruTest::AgentFixture {
 protected:
  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ORU_AGENT);
    agent.emplace(arguments);
    return agent->wait();
  }
};

TEST_F(CommandLine, HelpTellsOptionsAndExitCodes) {
  EXPECT_EQ(0, run({"--help"}));
  for (auto const* text : {"--tree", "--check", "--trace-levels", "--ringlog", "--version",
                           "$ORU_TREE", "/run/oru-central", "Exit codes:"})
    EXPECT_NE(std::string::npos, agent->output().find(text)) << text;
}

TEST_F(CommandLine, VersionIsPrinted) {
  EXPECT_EQ(0, run({"--version"}));
  EXPECT_EQ(0u, agent->output().find("oru-agent "));
}

TEST_F(CommandLine, WrongUseIsToldAndNothingIsDone) {
  EXPECT_EQ(2, run({"--tree", root, "--bogus"}));
  EXPECT_NE(std::string::npos, agent->errors().find("--bogus"));
  EXPECT_EQ(2, run({"--tree", root, "--trace-levels", "1,x"}));
  EXPECT_NE(std::string::npos, agent->errors().find("oru-agent: trace levels"));
  EXPECT_EQ(2, run({"--tree"}));
  EXPECT_EQ(2, run({"--tree", ""}));
  EXPECT_NE(std::string::npos, agent->errors().find("must not be empty"));
  EXPECT_TRUE(content().empty());
}

TEST_F(CommandLine, ATreeThatCannotBeUsedIsTold) {
  std::ofstream(folder / "file") << "x";
  EXPECT_EQ(3, run({"--tree", folder / "file"}));
  EXPECT_NE(std::string::npos, agent->errors().find("cannot use " + (folder / "file")));
}

TEST_F(CommandLine, ARingTraceFileThatCannotBeUsedIsTold) {
  EXPECT_EQ(3, run({"--tree", root, "--ringlog", folder / "none/trace"}));
  EXPECT_NE(std::string::npos, agent->errors().find("none/trace"));
}

TEST_F(CommandLine, TheTreeMayStandInTheEnvironment) {
  putText({"features", "F"}, "x");
  ::setenv("ORU_TREE", root.c_str(), 1);
  EXPECT_EQ(1, run({"--check"}));
  EXPECT_EQ(3, run({"--check", "--tree", folder / "none"}));
  ::unsetenv("ORU_TREE");
}

TEST_F(CommandLine, TheTreeIsMadeWhenItIsMissing) {
  std::string const other = folder / "not/there/yet";
  agent.emplace(std::vector<std::string>{ORU_AGENT, "--tree", other});
  ASSERT_TRUE(serviceManager.awaits("READY=1"));
  EXPECT_TRUE(std::filesystem::exists(other + "/hw/config"));
}

TEST_F(CommandLine, ASecondAgentOnTheSameTreeIsRefused) {
  startAgent();
  ProgramRun second({ORU_AGENT, "--tree", root});
  EXPECT_EQ(4, second.wait());
  EXPECT_NE(std::string::npos, second.errors().find("another oru-agent works on " + root));
  EXPECT_TRUE(agent->runs());
  killAgent();
  startAgent();
}

TEST_F(CommandLine, ASecondAgentIsRefusedThoughTheLocksFileWasRemoved) {
  startAgent();
  std::string const lock = root + "/.oru-agent.lock";
  std::string const number = std::to_string(agent->pid()) + '\n';
  std::filesystem::remove(lock);
  bringUp("S1", 5.0, {1});
  std::ifstream file(lock);
  EXPECT_EQ(number, (std::string{std::istreambuf_iterator<char>(file), {}}));
  ProgramRun second({ORU_AGENT, "--tree", root});
  EXPECT_EQ(4, second.wait());
  EXPECT_TRUE(agent->runs());
}

TEST_F(CommandLine, CheckTellsWhatIsWrongAndWritesNothing) {
  EXPECT_EQ(0, run({"--tree", root, "--check"}));
  EXPECT_TRUE(std::filesystem::is_empty(root));
  insertSlice("S1", 5.0, {1});
  report("S1", 1, 7.0);
  putText({"features", "F"}, "x");
  auto const before = content();
  EXPECT_EQ(1, run({"--tree", root, "--check"}));
  EXPECT_EQ(
      "cannot read features/F.json: is not JSON: line 1, column 1\n"
      "cannot read status/S1/C1.json: genTime is newer than the generation in "
      "config/S1/C1.json\n",
      agent->output());
  EXPECT_EQ(before, content());
  EXPECT_EQ(3, run({"--tree", folder / "none", "--check"}));
}

TEST_F(CommandLine, CheckPrintsControlCharactersSoThatNoTerminalActsOnThem) {
  std::filesystem::create_directory(root + "/features");
  std::ofstream(root + "/features/\x1b[2J\n.json") << "{}";
  EXPECT_EQ(1, run({"--tree", root, "--check"}));
  EXPECT_EQ("cannot read features/\\x1b[2J\\x0a.json: is not the encoding of a name\n",
            agent->output());
}

TEST_F(CommandLine, CheckWorksWhileAnAgentRuns) {
  startAgent();
  ProgramRun check({ORU_AGENT, "--tree", root, "--check"});
  EXPECT_EQ(0, check.wait());
}

TEST_F(CommandLine, ClosedStandardDescriptorsLeadNowhereSoThatNoFileTakesTheirNumbers) {
  agent.emplace(std::vector<std::string>{"/bin/sh", "-c",
                                         "exec \"$0\" --tree \"$1\" --ringlog \"$2\" <&- >&- 2>&-",
                                         ORU_AGENT, root, folder / "trace"});
  ASSERT_TRUE(serviceManager.awaits("READY=1"));
  for (auto const* fd : {"0", "1", "2"})
    EXPECT_EQ("/dev/null",
              std::filesystem::read_symlink("/proc/" + std::to_string(agent->pid()) + "/fd/" + fd));
}

TEST_F(CommandLine, TracesGoToStandardErrorAndTheRing) {
  startAgent({"--trace-levels", "3", "--ringlog", folder / "trace"});
  insertSlice("S1", 5.0, {1});
  EXPECT_TRUE(agent->awaitsError("Starting slice agent S1"));
  EXPECT_EQ(std::string::npos, agent->errors().find("void Oru::Central"));
  std::ifstream trace(folder / "trace");
  std::string const text{std::istreambuf_iterator<char>(trace), {}};
  EXPECT_NE(std::string::npos, text.find("Starting slice agent"));
}

}  // namespace
