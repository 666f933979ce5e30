// The program itself, from outside: what it plays, how it ends, and what it leaves behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "launcher/AgentMark.h"
#include "tests/agent/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

namespace Oru::Sim {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class OruSim : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  static Words command(Words const& arguments) {
    Words words{ORU_SIM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }
  // Runs the program to its end.
  int exitCodeOf(Words const& arguments) {
    OruTest::ProgramRun run(command(arguments));
    int const code = run.wait();
    output = run.output();
    errors = run.errors();
    return code;
  }
  // Plays the steps on one slice with two chips.
  Words play(std::string const& steps) const {
    return {"run", device(), "--scenario", scenario(steps), "--state", state};
  }
  std::string device() const {
    return written("device.json",
                   R"({"slices": [{"name": "Slice1", "chips": [
                        {"name": "Chip{chip}", "numbers": "1-2", "ports": {"1": "E{chip}"}}]}],
                       "agents": {"initTime": 0.01}})");
  }
  std::string scenario(std::string const& steps) const {
    return written("scenario.json", R"({"steps": [)" + steps + "]}");
  }
  std::string written(char const* name, std::string const& text) const {
    std::ofstream(folder / name) << text;
    return folder / name;
  }
  std::size_t agentsLeft() const { return Launcher::markedProcesses(state + "/tree").size(); }

  OruTest::TemporaryFolder const folder;
  std::string const state = fs::canonical(folder.path()).string() + "/state";
  std::string output, errors;
};

TEST_F(OruSim, ScenarioThatHoldsEndsWithZeroAndLeavesNoProcess) {
  EXPECT_EQ(exitCodeOf(play(R"({"say": "Up"}, {"expect": {"published": 2}})")), 0) << output;
  EXPECT_THAT(output, HasSubstr("== Up"));
  EXPECT_THAT(output, HasSubstr("chip Chip2 published: device 1, 1 interface"));
  EXPECT_THAT(output, HasSubstr("passed after"));
  EXPECT_THAT(output, HasSubstr("2 steps, 1 expectation held"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, UnmetExpectationEndsWithOneAndSaysWhatIsMissing) {
  EXPECT_EQ(exitCodeOf(play(R"({"expect": {"published": 2}},
                               {"expect": {"published": 3}, "within": 0.1},
                               {"say": "never"})")),
            1);
  EXPECT_THAT(output, HasSubstr("FAILED: 2 chips published"));
  EXPECT_THAT(output, HasSubstr("scenario.json: steps[1]: expect published: 3, within 0.1"));
  EXPECT_THAT(output, Not(HasSubstr("never")));
  EXPECT_THAT(output, HasSubstr("the state tree and the logs are in " + state));
  EXPECT_TRUE(fs::exists(state + "/oru-agent.log"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, ExpectationThatDoesNotGoOnHoldingFails) {
  EXPECT_EQ(exitCodeOf(play(R"({"expect": {"published": 2}}, {"remove": "Slice1"},
                               {"expect": {"published": 2}, "hold": 10})")),
            1);
  EXPECT_THAT(output, ContainsRegex("FAILED: [01] chip"));
  EXPECT_THAT(output, HasSubstr("scenario.json: steps[2]: expect published: 2, hold 10"));
}

TEST_F(OruSim, ProgramThatIsRunAndFailsIsAnUnmetExpectation) {
  EXPECT_EQ(exitCodeOf(play(R"({"run": ["sh", "-c", "echo no; exit 3"], "exits": 4})")), 1);
  EXPECT_THAT(output, HasSubstr("sh exited with status 3 and said: no"));
  fs::remove_all(state);
  EXPECT_EQ(exitCodeOf(play(R"({"run": ["echo", "no"], "says": "yes"})")), 1);
}

TEST_F(OruSim, WhoIsNotIdleFails) {
  EXPECT_EQ(exitCodeOf(play(
                R"({"run": ["sh", "-c", "while echo >{tree}/hw/config/.x; do sleep 0.1; done &"]},
                               {"idle": "oru-agent", "for": 0.5, "within": 1})")),
            1);
  EXPECT_THAT(output, HasSubstr("FAILED: oru-agent woke up "));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, ProgramThatEndsByItselfEndsTheRunWithThree) {
  EXPECT_EQ(exitCodeOf(play(R"json({"run": ["sh", "-c",
                                            "kill -9 $(cat {tree}/.oru-launcher.lock)"]},
                                   {"expect": {"published": 7}})json")),
            3);
  EXPECT_THAT(output, HasSubstr("FAILED: oru-launcher killed by signal 9 (Killed)"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, ProgramThatDoesNotStopCleanlyEndsTheRunWithThree) {
  fs::create_directory(folder / "programs");
  fs::create_symlink(ORU_LAUNCHER, folder / "programs/oru-launcher");
  auto const agent = written("programs/oru-agent", R"(#!/usr/bin/env python3
import os, signal, socket, sys
signal.signal(signal.SIGTERM, lambda *_: sys.exit(7))
service_manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
service_manager.sendto(b"READY=1", os.environ["NOTIFY_SOCKET"].replace("@", "\0", 1))
while True: signal.pause()
)");
  fs::permissions(agent, fs::perms::owner_all);
  EXPECT_EQ(exitCodeOf({"run", device(), "--programs", folder / "programs", "--for", "0.1s"}), 3);
  EXPECT_THAT(output, HasSubstr("oru-agent exited with status 7"));
}

TEST_F(OruSim, AgentThatDoesNotEndIsKilledAndEndsTheRunWithThree) {
  auto const deaf = written("device.json", R"json({
    "slices": [{"name": "Slice1", "chips": [{"name": "Chip1"}]}],
    "agents": {"initTime": 0.01},
    "launcher": {"chip": {"graceTime": 60, "argv": ["sh", "-c",
      "trap '' TERM; echo '{{}}' >{tree}/deaf.json; while :; do sleep 1000; done"]}}})json");
  auto const steps = scenario(R"({"expect": {"files": {"file": "deaf.json"}}})");
  EXPECT_EQ(exitCodeOf({"run", deaf, "--scenario", steps, "--state", state}), 3);
  EXPECT_THAT(output, HasSubstr("agents do not end and are killed"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, StepThatIsNotPossibleEndsTheRunWithThree) {
  EXPECT_EQ(exitCodeOf(play(R"({"start": "oru-agent"})")), 3);
  EXPECT_THAT(output, HasSubstr("FAILED: oru-agent runs already"));
}

TEST_F(OruSim, InterruptedScenarioEndsWith130AndStopsEverything) {
  EXPECT_EQ(exitCodeOf(play(R"({"run": ["sh", "-c", "kill -INT $PPID"]}, {"pause": 1000})")), 130);
  EXPECT_THAT(output, HasSubstr("interrupted"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, OutputThatNobodyReadsEndsTheRunAndStopsEverything) {
  Words words{"/bin/sh", "-c", "{ \"$@\"; echo ended with $? >&2; } | head -n 1", "sh"};
  for (auto const& word : command({"run", device(), "--state", state})) words.push_back(word);
  OruTest::ProgramRun run(words);
  EXPECT_EQ(run.wait(), 0);
  EXPECT_THAT(run.errors(), HasSubstr("ended with 130"));
  EXPECT_EQ(agentsLeft(), 0u);
}

TEST_F(OruSim, WithoutScenarioItGoesOnForTheTimeGiven) {
  EXPECT_EQ(exitCodeOf({"run", device(), "--for", "300ms", "--state", state, "--verbose"}), 0);
  EXPECT_THAT(output, HasSubstr("oru-agent is ready"));
  EXPECT_THAT(output, HasSubstr("passed after"));
}

TEST_F(OruSim, TreeMayStandElsewhere) {
  auto arguments = play(R"({"expect": {"published": 2}})");
  arguments.insert(arguments.end(), {"--tree", folder / "elsewhere"});
  EXPECT_EQ(exitCodeOf(arguments), 0) << output;
  EXPECT_TRUE(fs::exists(folder / "elsewhere/hw/config/Slice1.json"));
  EXPECT_FALSE(fs::exists(state + "/tree"));
}

TEST_F(OruSim, WrongUseEndsWithTwo) {
  EXPECT_EQ(exitCodeOf({}), 2);
  EXPECT_EQ(exitCodeOf({"rum"}), 2);
  EXPECT_THAT(errors, HasSubstr("oru-sim: there is no subcommand rum"));
  EXPECT_EQ(exitCodeOf({"run"}), 2);
  EXPECT_EQ(exitCodeOf({"run", device(), "--colour"}), 2);
  EXPECT_EQ(exitCodeOf({"run", device(), "--for", "soon"}), 2);
  EXPECT_THAT(errors, HasSubstr("oru-sim: --for: is no time such as 90s"));
  EXPECT_EQ(exitCodeOf({"run", device(), "--for", "-5s"}), 2);
  EXPECT_EQ(exitCodeOf({"run", folder.path()}), 2);
  EXPECT_THAT(errors, HasSubstr("cannot be read: Is a directory"));
  EXPECT_EQ(exitCodeOf({"run", folder / "none.json"}), 2);
  EXPECT_THAT(errors, HasSubstr("none.json: cannot be read: No such file or directory"));
  EXPECT_EQ(exitCodeOf({"run", written("bad.json", "{")}), 2);
  EXPECT_THAT(errors, HasSubstr("bad.json: is not JSON"));
  EXPECT_EQ(exitCodeOf({"run", device(), "--programs", folder.path()}), 2);
  EXPECT_THAT(errors, HasSubstr("oru-agent: is not there or cannot be run (see --programs)"));
  EXPECT_EQ(exitCodeOf({"run", device(), "--state", folder.path()}), 2);
  EXPECT_THAT(errors, HasSubstr("is not empty"));
  EXPECT_EQ(exitCodeOf({"run", device(), "--state", ""}), 2);
  EXPECT_EQ(exitCodeOf({"run", device(), "--tree", ""}), 2);
  EXPECT_THAT(errors, HasSubstr("--tree: must not be empty"));
  for (char const* kind : {"slice", "chip", "feature"}) {
    EXPECT_EQ(exitCodeOf({kind, "X", "--tree", ""}), 2);
    EXPECT_THAT(errors, HasSubstr("--tree: must not be empty"));
  }
  EXPECT_EQ(exitCodeOf({"chip"}), 2);
}

TEST_F(OruSim, CheckFindsMistakesWithoutStartingAnything) {
  std::string const good = scenario(R"({"insert": "Slice1"})");
  EXPECT_EQ(exitCodeOf({"check", device(), good}), 0);
  EXPECT_THAT(output, HasSubstr("scenario.json: ok"));
  std::string const bad = scenario(R"({"insert": "Slice9"})");
  EXPECT_EQ(exitCodeOf({"check", device(), bad}), 2);
  EXPECT_THAT(errors,
              HasSubstr("scenario.json: steps[0].insert names no slice of the device: Slice9"));
}

TEST_F(OruSim, HelpAndVersionEndWithZero) {
  for (Words const& words : {Words{"--help"}, Words{"run", "--help"}, Words{"chip", "--help"},
                             Words{"check", "--help"}, Words{"--version"}}) {
    EXPECT_EQ(exitCodeOf(words), 0);
    EXPECT_THAT(output, HasSubstr("oru-sim"));
  }
}

}  // namespace
}  // namespace Oru::Sim
