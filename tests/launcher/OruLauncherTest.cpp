// The program itself, from outside: entries go in, processes and status files come out.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/launcher/OruLauncherFixture.h"

namespace Oru::Launcher {
namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST_F(OruLauncherTest, EntriesBeforeAndAfterTheStartHaveProcesses) {
  put({"launcher", "chip", "Chip1"});
  start();
  put({"launcher", "slice", "Line Card 3/1"});
  EXPECT_TRUE(untilState("Chip1", "running"));
  EXPECT_TRUE(untilState("Line Card 3/1", "running", "slice"));
  EXPECT_TRUE(runs(status("Chip1")));
  EXPECT_EQ(status("Chip1")["restarts"], json::parse(R"({"wanted": 0, "crashes": 0})"));
  struct stat file {};
  ASSERT_EQ(stat((tree + "/launcher-status/chip/Chip1.json").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 07777U, 0640U);
  EXPECT_TRUE(agentsAre(2));
}

TEST_F(OruLauncherTest, WithoutEntryTheProcessAndItsStatusGo) {
  put({"launcher", "chip", "parent"});
  start();
  untilState("parent", "running");
  remove({"launcher", "chip", "parent"});
  EXPECT_TRUE(untilGone("parent"));
  EXPECT_TRUE(agentsAre(0));
}

TEST_F(OruLauncherTest, AgentsThatEndAreStartedAgainAndCounted) {
  start();
  put({"launcher", "chip", "crashes"});
  put({"launcher", "chip", "ends"});
  EXPECT_TRUE(until([this] {
    json const crashes = status("crashes");
    json const ends = status("ends");
    return crashes.is_object() && ends.is_object() && crashes["restarts"]["crashes"] >= 2 &&
           ends["restarts"]["crashes"] >= 2;
  }));
  EXPECT_EQ(status("crashes")["lastExit"]["code"], 3);
  EXPECT_EQ(status("crashes")["restarts"]["wanted"], 0);
  EXPECT_EQ(status("ends")["lastExit"]["reason"], "exited with status 0");
  remove({"launcher", "chip", "crashes"});
  EXPECT_TRUE(untilGone("crashes"));
}

TEST_F(OruLauncherTest, AKilledAgentSaysBySignal) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  kill(status("Chip1")["pid"].get<pid_t>(), SIGKILL);
  EXPECT_TRUE(until([this] { return status("Chip1")["starts"] == 2; }));
  EXPECT_EQ(status("Chip1")["lastExit"]["signal"], SIGKILL);
}

TEST_F(OruLauncherTest, AStubbornAgentIsKilledAndReplacedOnlyThen) {
  start();
  put({"launcher", "chip", "stubborn"});
  until([this] { return at({"ready"}).is_object() && status("stubborn").is_object(); });
  json const before = status("stubborn");
  remove({"launcher", "chip", "stubborn"});
  ASSERT_TRUE(untilState("stubborn", "stopping"));
  put({"launcher", "chip", "stubborn"});
  EXPECT_TRUE(until([this] { return status("stubborn")["starts"] == 2; }));
  EXPECT_FALSE(runs(before));
  EXPECT_EQ(status("stubborn")["lastExit"]["signal"], SIGKILL);
  EXPECT_EQ(status("stubborn")["restarts"]["wanted"], 1);
  EXPECT_THAT(log(), HasSubstr("did not stop in 0.2 s, is killed"));
}

TEST_F(OruLauncherTest, AChangedRestartNumberRestarts) {
  put({"launcher", "chip", "Chip1"}, R"({"restart": 1})");
  start();
  untilState("Chip1", "running");
  json const before = status("Chip1");
  put({"launcher", "chip", "Chip1"}, R"({"restart": 2})");
  EXPECT_TRUE(until([this] { return status("Chip1")["starts"] == 2; }));
  EXPECT_NE(status("Chip1")["pid"], before["pid"]);
  EXPECT_EQ(status("Chip1")["restarts"], json::parse(R"({"wanted": 1, "crashes": 0})"));
  EXPECT_EQ(status("Chip1")["restart"], 2);
}

TEST_F(OruLauncherTest, WhatCannotBeStartedFailsUntilItCan) {
  start();
  put({"launcher", "feature", "F"});
  ASSERT_TRUE(untilState("F", "failed", "feature"));
  EXPECT_THAT(status("F", "feature")["problem"], HasSubstr("No such file or directory"));

  write(folder.path() / "program", "#!/bin/sh\nsleep 1000\n");
  kill(launcher, SIGHUP);
  ASSERT_TRUE(until([this] {
    return status("F", "feature")["problem"].get<std::string>().ends_with("Permission denied");
  }));

  std::filesystem::permissions(folder.path() / "program", std::filesystem::perms::owner_all);
  kill(launcher, SIGHUP);
  EXPECT_TRUE(untilState("F", "running", "feature"));
  EXPECT_FALSE(status("F", "feature").contains("problem"));
}

TEST_F(OruLauncherTest, AWrongConfigurationIsNotTakenOver) {
  start();
  write(folder.path() / "launcher.json", "{");
  kill(launcher, SIGHUP);
  put({"launcher", "chip", "Chip1"});
  EXPECT_TRUE(untilState("Chip1", "running"));
  EXPECT_THAT(log(), HasSubstr("the configuration stays as it was"));
}

TEST_F(OruLauncherTest, AgentsOutliveTheKilledLauncherAndAreTakenUp) {
  put({"launcher", "chip", "Chip1"}, R"({"restart": 1})");
  put({"launcher", "chip", "Chip2"});
  start();
  untilState("Chip1", "running");
  untilState("Chip2", "running");
  json const before = status("Chip1");
  EXPECT_EQ(end(SIGKILL), -1);
  EXPECT_TRUE(runs(before));
  remove({"launcher", "chip", "Chip2"});

  start();
  EXPECT_TRUE(untilGone("Chip2"));
  EXPECT_EQ(status("Chip1"), before);
  EXPECT_TRUE(agentsAre(1));

  kill(before["pid"].get<pid_t>(), SIGKILL);
  EXPECT_TRUE(until([this] { return status("Chip1")["starts"] == 2; }));
  EXPECT_THAT(status("Chip1")["lastExit"]["reason"], HasSubstr("exit status unknown"));
  EXPECT_EQ(status("Chip1")["restarts"]["crashes"], 1);
}

TEST_F(OruLauncherTest, AgentsWhoseRecordsAreLostAreTakenUpByTheirMarks) {
  put({"launcher", "chip", "Chip1"}, R"({"restart": 1})");
  start();
  untilState("Chip1", "running");
  json const before = status("Chip1");
  end(SIGKILL);
  ASSERT_FALSE(writer().removeDirectory({"launcher-status"}));

  start();
  EXPECT_TRUE(untilState("Chip1", "running"));
  EXPECT_EQ(status("Chip1")["pid"], before["pid"]);
  EXPECT_EQ(status("Chip1")["restart"], 1);
  EXPECT_TRUE(agentsAre(1));
}

TEST_F(OruLauncherTest, AnAgentThatEndedMeanwhileIsACrash) {
  put({"launcher", "chip", "parent"});
  start();
  untilState("parent", "running");
  json const before = status("parent");
  end(SIGKILL);
  kill(before["pid"].get<pid_t>(), SIGKILL);
  waitpid(before["pid"].get<pid_t>(), nullptr, 0);

  start();
  EXPECT_TRUE(until([this] { return status("parent")["starts"] == 2; }));
  EXPECT_EQ(status("parent")["restarts"]["crashes"], 1);
  for (MarkedProcess const& process : markedProcesses(tree)) {
    EXPECT_TRUE(process.group != before["pid"].get<pid_t>() || ends(process)) << "left behind";
  }
}

TEST_F(OruLauncherTest, EndsWithoutItsAgentsUnlessToldOtherwise) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  EXPECT_EQ(end(), 0);
  EXPECT_TRUE(runs(status("Chip1")));
  EXPECT_THAT(log(), HasSubstr("running the agents of " + tree));
  EXPECT_THAT(log(), HasSubstr("stopping; all agents stay"));

  start({"--stop-agents"});
  EXPECT_EQ(end(), 0);
  EXPECT_THAT(log(), HasSubstr("stopping, and all agents"));
  EXPECT_TRUE(agentsAre(0));
  EXPECT_TRUE(status("Chip1").is_discarded());
}

TEST_F(OruLauncherTest, ToldTwiceToEndItDoesNotWaitForItsAgents) {
  put({"launcher", "chip", "unmoved"});
  start({"--stop-agents"});
  until([this] { return at({"ready"}).is_object() && status("unmoved").is_object(); });
  kill(launcher, SIGTERM);
  untilState("unmoved", "stopping");
  EXPECT_EQ(end(), 1);
  EXPECT_TRUE(runs(status("unmoved")));
}

TEST_F(OruLauncherTest, ASecondOneIsRefused) {
  start();
  EXPECT_EQ(exitCodeOf({}), 4);
  EXPECT_THAT(log(), HasSubstr("another launcher serves the tree: process " +
                               std::to_string(launcher) + " holds "));
}

TEST_F(OruLauncherTest, WhatAKilledOneHadHalfWrittenIsRemoved) {
  std::string const left = "/.oru-2147483647.tmp";  // of no process that a system can have
  std::vector<std::string> const own{"/launcher-status/chip", "/problems"};
  for (auto const& directory : own) {
    std::filesystem::create_directories(tree + directory);
    write(tree + directory + left, "{");
  }
  start();
  for (auto const& directory : own)
    EXPECT_FALSE(std::filesystem::exists(tree + directory + left)) << directory;
}

TEST_F(OruLauncherTest, TheTreeMayStandInTheEnvironment) {
  start();
  Command command;
  command.argv = {ORU_LAUNCHER, "--config", folder.path() / "launcher.json"};
  command.environment["ORU_TREE"] = tree;
  command.logFile = folder.path() / "log";
  EXPECT_EQ(exitCode(spawn(command, {})), 4);
}

// The signal is as ever for the agents that it starts.
TEST_F(OruLauncherTest, GoesOnWhenNobodyReadsItsLogAnyMore) {
  std::string const pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Mount::UniqueFd reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  Command command;
  command.argv = {"sh",         "-c", "exec \"$0\" --tree \"$1\" --config \"$2\" <&- >&- 2>\"$3\"",
                  ORU_LAUNCHER, tree, folder.path() / "launcher.json",
                  pipe};
  launcher = spawn(command, {});
  until([this] { return problems().is_array(); });
  for (char const* fd : {"0", "1"})
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(launcher) + "/fd/" + fd),
              "/dev/null");
  reader = Mount::UniqueFd();
  put({"launcher", "chip", "wrong"}, "[]");
  EXPECT_TRUE(until([this] { return !filesWithProblems().empty(); }));
  put({"launcher", "chip", "Chip1"});
  EXPECT_TRUE(untilState("Chip1", "running"));
  std::ifstream agent("/proc/" + status("Chip1")["pid"].dump() + "/status");
  std::string word;
  while (agent >> word && word != "SigIgn:") {
  }
  unsigned long ignored = 0;
  ASSERT_TRUE(agent >> std::hex >> ignored);
  EXPECT_EQ(ignored >> (SIGPIPE - 1) & 1, 0U);
}

TEST_F(OruLauncherTest, BadEntriesAreReportedAndTheOthersGoOn) {
  put({"launcher", "chip", "good"});
  put({"launcher", "chip", "turns bad"});
  start();
  untilState("good", "running");
  untilState("turns bad", "running");

  put({"launcher", "chip", "turns bad"}, R"({"restart": "now"})");
  std::string const chips = tree + "/launcher/chip/";
  std::filesystem::create_symlink("good.json", chips + "link.json");
  std::filesystem::create_directory(chips + "directory");
  std::filesystem::create_directory(chips + "entry.json");
  write(chips + "wrong%2fname.json", "{}");
  write(chips + "other.txt", "{}");
  put({"launcher", "chip", "empty"}, "");
  EXPECT_TRUE(until([this] { return filesWithProblems().size() == 7; }));
  EXPECT_THAT(filesWithProblems(),
              UnorderedElementsAre("launcher/chip/turns%20bad.json", "launcher/chip/link.json",
                                   "launcher/chip/directory", "launcher/chip/entry.json",
                                   "launcher/chip/wrong%2fname.json", "launcher/chip/other.txt",
                                   "launcher/chip/empty.json"));
  put({"launcher", "chip", "another good"});
  EXPECT_TRUE(untilState("another good", "running"));
  EXPECT_EQ(status("turns bad")["starts"], 1);
  EXPECT_TRUE(agentsAre(3));

  put({"launcher", "chip", "turns bad"});
  for (char const* file :
       {"link.json", "directory", "entry.json", "wrong%2fname.json", "other.txt", "empty.json"}) {
    std::filesystem::remove(chips + file);
  }
  EXPECT_TRUE(until([this] { return problems().is_array() && problems().empty(); }));
  EXPECT_TRUE(agentsAre(3));
}

TEST_F(OruLauncherTest, WhatIsNoDirectoryOfAKindIsReported) {
  put({"launcher", "chip", "good"});
  write(tree + "/launcher/slice", "a file where a directory belongs");
  start();
  untilState("good", "running");
  put({"launcher", "chips", "Chip1"});
  put({"launcher", "Chip2"});
  write(tree + "/launcher/note.txt", "text");
  EXPECT_TRUE(until([this] { return filesWithProblems().size() == 4; }));
  EXPECT_THAT(filesWithProblems(),
              UnorderedElementsAre("launcher/slice", "launcher/chips", "launcher/Chip2.json",
                                   "launcher/note.txt"));
  EXPECT_TRUE(agentsAre(1));

  std::filesystem::remove(tree + "/launcher/slice");
  std::filesystem::remove_all(tree + "/launcher/chips");
  std::filesystem::remove(tree + "/launcher/Chip2.json");
  std::filesystem::remove(tree + "/launcher/note.txt");
  EXPECT_TRUE(until([this] { return problems().is_array() && problems().empty(); }));
  put({"launcher", "slice", "Slice1"});
  EXPECT_TRUE(untilState("Slice1", "running", "slice"));
}

TEST_F(OruLauncherTest, HundredsOfEntriesAtOnce) {
  start();
  constexpr std::size_t count = 300;
  for (std::size_t i = 0; i < count; ++i) put({"launcher", "chip", "C" + std::to_string(i)});
  auto const statuses = [this] {
    return writer().list({"launcher-status", "chip"}).members.size();
  };
  EXPECT_TRUE(until([&] { return statuses() == count; }));
  EXPECT_TRUE(agentsAre(count));
  for (std::size_t i = 0; i < count; ++i) remove({"launcher", "chip", "C" + std::to_string(i)});
  EXPECT_TRUE(until([&] { return statuses() == 0; }));
  EXPECT_TRUE(agentsAre(0));
}

TEST_F(OruLauncherTest, AgentsGoOnWhileTheTreeIsAwayAndWhenItComesBackEmpty) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  json const before = status("Chip1");

  std::filesystem::rename(tree, tree + ".away");
  std::filesystem::create_directory(tree);
  EXPECT_TRUE(untilState("Chip1", "running"));
  put({"launcher", "chip", "Chip2"});
  put({"launcher", "chip", "Chip1"});
  EXPECT_TRUE(untilState("Chip2", "running"));
  EXPECT_EQ(status("Chip1"), before);
  EXPECT_TRUE(agentsAre(2));
  EXPECT_EQ(exitCodeOf({}), 4) << "the lock is not held in the new folder";
}

TEST_F(OruLauncherTest, ALockThatCannotBeTakenInAnotherFolderIsTakenWhenItCan) {
  start();
  std::string const other = folder.path() / "other";
  std::filesystem::create_directories(other + "/.oru-launcher.lock");
  std::filesystem::rename(tree, tree + ".away");
  std::filesystem::rename(other, tree);
  EXPECT_TRUE(until([this] { return filesWithProblems().contains(".oru-launcher.lock"); }));
  std::filesystem::remove(tree + "/.oru-launcher.lock");
  EXPECT_TRUE(until([this] { return problems().is_array() && problems().empty(); }));
  EXPECT_EQ(exitCodeOf({}), 4) << "the lock is not held in the new folder";
}

TEST_F(OruLauncherTest, AStatusThatSomebodyRemovesIsWrittenAgain) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  json const before = status("Chip1");
  remove({"launcher-status", "chip", "Chip1"});
  EXPECT_TRUE(untilState("Chip1", "running"));
  EXPECT_EQ(status("Chip1"), before);
}

TEST_F(OruLauncherTest, AStatusFileIsWrittenOnlyWhenTheStatusChanges) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  auto const lastWrite = [this] {
    return std::filesystem::last_write_time(tree + "/launcher-status/chip/Chip1.json");
  };
  auto const before = lastWrite();
  for (char const* name : {"Chip2", "Chip3", "Chip4"}) {
    put({"launcher", "chip", name});
    untilState(name, "running");
  }
  EXPECT_EQ(lastWrite(), before);
}

// Time has to pass to see that nothing happens in it: somewhere in the tries there is a second
// without a single wake-up, because whatever the start has caused comes to an end. What would come
// later than in a second has a timer that runs.
TEST_F(OruLauncherTest, AnIdleLauncherDoesNotWakeUp) {
  put({"launcher", "chip", "Chip1"});
  start();
  untilState("Chip1", "running");
  auto const wakeUps = [this] {
    std::ifstream file("/proc/" + std::to_string(launcher) + "/status");
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    return text.substr(text.find("voluntary_ctxt_switches"));
  };
  auto const noTimerRuns = [this] {
    for (auto const& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(launcher) + "/fdinfo")) {
      std::ifstream file(entry.path());
      std::string const text{std::istreambuf_iterator<char>(file), {}};
      if (text.find("it_value:") != std::string::npos &&
          text.find("it_value: (0, 0)") == std::string::npos)
        return false;
    }
    return true;
  };
  bool slept = false;
  for (int tries = 0; tries < 10 && !slept; ++tries) {
    std::string const before = wakeUps();
    poll(nullptr, 0, 1000);
    slept = wakeUps() == before && noTimerRuns();
  }
  EXPECT_TRUE(slept);
}

TEST_F(OruLauncherTest, TheCommandLineIsChecked) {
  EXPECT_EQ(exitCodeOf({"--check-config"}), 0);
  EXPECT_EQ(exitCodeOf({"--help"}), 0);
  EXPECT_THAT(log(), HasSubstr("Exit codes:"));
  EXPECT_THAT(log(), HasSubstr("$ORU_TREE, or /run/oru-central"));
  EXPECT_EQ(exitCodeOf({"--version"}), 0);
  EXPECT_EQ(exitCodeOf({"--no-such-option"}), 2);
  EXPECT_EQ(exitCodeOf({"--log-dir", "/nonexistent"}), 2);
  write(folder.path() / "launcher.json", R"({"chip": {"argv": ["a", "{nam}"]}})");
  EXPECT_EQ(exitCodeOf({"--check-config"}), 3);
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: chip.argv[1] has the unknown placeholder {nam}"));
  std::filesystem::remove(folder.path() / "launcher.json");
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: cannot be read: No such file or directory"));
  std::filesystem::create_directory(folder.path() / "launcher.json");
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: cannot be read: is a directory"));
}

TEST_F(OruLauncherTest, AConfigurationThatNeverEndsIsRefused) {
  std::string const file = folder.path() / "launcher.json";
  std::filesystem::remove(file);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: cannot be read: is a pipe"));
  std::filesystem::remove(file);
  std::filesystem::create_symlink("/dev/zero", file);
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: cannot be read: is a device"));
  std::filesystem::remove(file);
  write(file, std::string((1U << 20) + 1, ' '));
  EXPECT_EQ(exitCodeOf({}), 3);
  EXPECT_THAT(log(), HasSubstr("launcher.json: cannot be read: is larger than 1048576 bytes"));
}

}  // namespace
}  // namespace Oru::Launcher
