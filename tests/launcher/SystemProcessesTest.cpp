#include "launcher/SystemProcesses.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>

#include "launcher/AgentMark.h"
#include "launcher/ProcFs.h"
#include "launcher/Spawn.h"
#include "mount/UniqueFd.h"
#include "tests/launcher/TemporaryDirectory.h"
#include "tests/launcher/Waiting.h"

namespace Oru::Launcher {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

AgentId const chip1{AgentKind::chip, "Chip1"};

class SystemProcessesTest : public testing::Test {
 protected:
  // Processes that lose their parent come to this one, and can be waited for.
  SystemProcessesTest() { prctl(PR_SET_CHILD_SUBREAPER, 1); }

  std::string path(char const* name) const { return folder.path() / name; }

  Command script(std::string const& text) const {
    Command command;
    command.argv = {"sh", "-c", text};
    command.workingDirectory = folder.path();
    return command;
  }

  ProcessHost::OnEnd onEnd() {
    return [this](ProcessEnd const& how) { end = how; };
  }

  std::unique_ptr<Process> start(Command const& command, std::uint64_t number = 1) {
    end.reset();
    return host.start(chip1, number, command, onEnd());
  }

  ProcessEnd endOf(Command const& command) {
    auto const process = start(command);
    EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
    return end.value_or(ProcessEnd{});
  }

  std::string refusalOf(Command const& command) {
    try {
      start(command);
    } catch (StartError const& error) {
      return error.what();
    }
    return "started";
  }

  std::string contents(char const* name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // A pipe as a file: whoever opens it waits for the other side, so a script can say that it has
  // come so far.
  void makeGate(char const* name) const { ASSERT_EQ(mkfifo(path(name).c_str(), 0600), 0); }
  std::string passGate(char const* name) const { return contents(name); }

  TestTools::TemporaryDirectory folder;
  Mount::EventLoop loop;
  SystemProcesses host{loop, folder.path()};
  std::optional<ProcessEnd> end;
};

TEST_F(SystemProcessesTest, SaysHowAProcessEnded) {
  EXPECT_EQ(endOf(script("exit 7")), (ProcessEnd{ProcessEnd::How::exited, 7}));
  EXPECT_EQ(endOf(script("kill -9 $$")), (ProcessEnd{ProcessEnd::How::killed, SIGKILL}));
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process was not reaped";
}

TEST_F(SystemProcessesTest, TheProcessGetsWhatTheCommandSays) {
  Command command = script("printf '%s|%s|%s|%s' \"$PWD\" \"$COLOUR\" \"$0\" \"$1\" >out");
  command.argv.insert(command.argv.end(), {"zero", "one $HOME"});
  command.environment["COLOUR"] = "blue";
  endOf(command);
  EXPECT_EQ(contents("out"), folder.path().string() + "|blue|zero|one $HOME");
}

TEST_F(SystemProcessesTest, TheProcessCarriesItsMark) {
  makeGate("ready");
  auto const process = start(script("echo >ready; sleep 1000"), 12);
  passGate("ready");
  EXPECT_EQ(AgentMark::parse(environmentOf(process->identity().pid)),
            (AgentMark{folder.path(), chip1, 12}));
  process->signalGroup(SIGKILL);
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
}

TEST_F(SystemProcessesTest, WhatIsMeantForTheLauncherAloneIsNotPassedOn) {
  setenv("NOTIFY_SOCKET", "/run/socket", 1);
  setenv("WATCHDOG_USEC", "100", 1);
  setenv("ORU_TEST_PASSED_ON", "yes", 1);
  endOf(script("env >out"));
  unsetenv("NOTIFY_SOCKET");
  unsetenv("WATCHDOG_USEC");
  unsetenv("ORU_TEST_PASSED_ON");
  EXPECT_THAT(contents("out"), Not(HasSubstr("NOTIFY_SOCKET=")));
  EXPECT_THAT(contents("out"), Not(HasSubstr("WATCHDOG_USEC=")));
  EXPECT_THAT(contents("out"), HasSubstr("ORU_TEST_PASSED_ON=yes\n"));
}

TEST_F(SystemProcessesTest, DescriptorsAreNotPassedOn) {
  Mount::UniqueFd const open(::open("/dev/null", O_RDONLY));
  endOf(script("ls /proc/self/fd >fds"));
  // The fourth is ls's own, on the folder that it reads.
  EXPECT_EQ(contents("fds"), "0\n1\n2\n3\n");
}

TEST_F(SystemProcessesTest, BlockedAndIgnoredSignalsAreNotPassedOn) {
  sigset_t term;
  sigset_t before;
  sigemptyset(&term);
  sigaddset(&term, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &term, &before);
  auto const oldHandler = signal(SIGHUP, SIG_IGN);
  endOf(script("grep -E 'Sig(Blk|Ign)' /proc/self/status >signals"));
  signal(SIGHUP, oldHandler);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  // Signals 1 to 31 are the low bits; 32 and 33 belong to the C library.
  EXPECT_THAT(contents("signals"),
              MatchesRegex("SigBlk:\t0000000000000000\nSigIgn:\t0000000[01][08]0000000\n"));
}

TEST_F(SystemProcessesTest, TheProcessLeadsItsGroup) {
  auto const process = start(script("exec sleep 1000"));
  pid_t const pid = process->identity().pid;
  EXPECT_EQ(getpgid(pid), pid);
  process->signalGroup(SIGTERM);
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
  EXPECT_EQ(end, (ProcessEnd{ProcessEnd::How::killed, SIGTERM}));
}

TEST_F(SystemProcessesTest, OutputsGoToTheEndOfTheLogFile) {
  std::ofstream(path("log")) << "before\n";
  Command command = script("echo out; echo err >&2");
  command.logFile = path("log");
  endOf(command);
  EXPECT_EQ(contents("log"), "before\nout\nerr\n");
}

TEST_F(SystemProcessesTest, ALogFileThatIsALinkIsRefused) {
  std::ofstream(path("target")) << "kept";
  std::filesystem::create_symlink(path("target"), path("log"));
  Command command = script("echo lost");
  command.logFile = path("log");
  EXPECT_EQ(refusalOf(command), "log file " + path("log") + ": Too many levels of symbolic links");
  EXPECT_EQ(contents("target"), "kept");
}

TEST_F(SystemProcessesTest, ALogFileThatIsAPipeIsRefusedAndNotWaitedFor) {
  makeGate("log");
  Command command = script("echo lost");
  command.logFile = path("log");
  EXPECT_EQ(refusalOf(command), "log file " + path("log") + ": is no regular file");
  Mount::UniqueFd const reader(::open(path("log").c_str(), O_RDONLY | O_NONBLOCK));
  EXPECT_EQ(refusalOf(command), "log file " + path("log") + ": is no regular file");
}

TEST_F(SystemProcessesTest, SaysWhyAProcessCannotBeStarted) {
  Command command;
  command.argv = {"oru-no-such-program"};
  EXPECT_EQ(refusalOf(command), "oru-no-such-program: No such file or directory in PATH");

  command.argv = {"/nonexistent/agent"};
  EXPECT_EQ(refusalOf(command),
            "/nonexistent/agent: No such file or directory (the program, or its interpreter)");

  std::ofstream(path("agent")) << "#!/bin/sh\n";
  command.argv = {path("agent")};
  EXPECT_EQ(refusalOf(command), path("agent") + ": Permission denied");

  std::ofstream(path("script")) << "#!/nonexistent/interpreter\n";
  std::filesystem::permissions(path("script"), std::filesystem::perms::owner_all);
  command.argv = {path("script")};
  EXPECT_THAT(refusalOf(command), StartsWith(path("script") + ": No such file or directory"));

  command.argv = {"true"};
  command.workingDirectory = "/nonexistent";
  EXPECT_EQ(refusalOf(command), "working directory /nonexistent: No such file or directory");
}

TEST_F(SystemProcessesTest, WhatTheProcessLeavesInItsGroupIsKilled) {
  makeGate("ready");
  auto const process = start(script("sleep 1000 & echo $! >left; echo >ready; exit 0"));
  passGate("ready");
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
  EXPECT_EQ(end, (ProcessEnd{ProcessEnd::How::exited, 0}));

  pid_t const left = std::stoi(contents("left"));
  int status = 0;
  ASSERT_EQ(waitpid(left, &status, 0), left);
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST_F(SystemProcessesTest, ASignalReachesTheWholeGroup) {
  makeGate("ready");
  auto const process =
      start(script("trap 'wait; exit 3' TERM; sh -c 'trap \"echo got >child; exit\" TERM; echo "
                   ">ready; while :; do sleep 1000 & wait; done' & wait"));
  passGate("ready");
  process->signalGroup(SIGTERM);
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
  EXPECT_EQ(end, (ProcessEnd{ProcessEnd::How::exited, 3}));
  EXPECT_EQ(contents("child"), "got\n");
  while (waitpid(-1, nullptr, 0) > 0) {
  }
}

// Started by this process, but watched as one that an earlier launcher has started: its parent is
// this test, which reaps it where a machine's first process would.
class AdoptionTest : public SystemProcessesTest {
 protected:
  ProcessIdentity startForeign(std::string const& text) {
    std::map<std::string, std::string> marks;
    AgentMark{folder.path(), chip1, 1}.addTo(marks);
    pid_t const pid = spawn(script(text), marks);
    return {pid, ProcStat::read(pid).value().startTicks, bootId()};
  }
};

TEST_F(AdoptionTest, TheEndOfAnAdoptedProcessIsSeenAndItsStatusUnknown) {
  auto const identity = startForeign("exec sleep 1000");
  auto const process = host.adopt(chip1, identity, onEnd());
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->identity(), identity);
  process->signalGroup(SIGTERM);
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
  EXPECT_EQ(end, ProcessEnd{});
  EXPECT_EQ(waitpid(identity.pid, nullptr, 0), identity.pid);
}

TEST_F(AdoptionTest, AnotherProcessWithThatNumberIsNotAdopted) {
  auto const identity = startForeign("exec sleep 1000");
  auto other = identity;
  other.startTicks += 1;
  EXPECT_EQ(host.adopt(chip1, other, onEnd()), nullptr);
  other = identity;
  other.bootId = "another boot";
  EXPECT_EQ(host.adopt(chip1, other, onEnd()), nullptr);
  kill(identity.pid, SIGKILL);
  EXPECT_EQ(waitpid(identity.pid, nullptr, 0), identity.pid);
}

TEST_F(AdoptionTest, AProcessThatHasEndedIsNotAdopted) {
  auto const identity = startForeign("exit 0");
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(identity.pid), &info, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(host.adopt(chip1, identity, onEnd()), nullptr);
  ASSERT_EQ(waitpid(identity.pid, nullptr, 0), identity.pid);
  EXPECT_EQ(host.adopt(chip1, identity, onEnd()), nullptr);
}

TEST_F(AdoptionTest, WhatAnAdoptedProcessLeavesInItsGroupIsKilled) {
  makeGate("ready");
  makeGate("go");
  auto const identity =
      startForeign("sleep 1000 & echo $! >left; echo >ready; read go <go; exit 0");
  passGate("ready");
  auto const process = host.adopt(chip1, identity, onEnd());
  ASSERT_NE(process, nullptr);
  std::ofstream(path("go")) << "\n";
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));

  int status = 0;
  pid_t const left = std::stoi(contents("left"));
  ASSERT_EQ(waitpid(left, &status, 0), left);
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
  EXPECT_EQ(waitpid(identity.pid, nullptr, 0), identity.pid);
}

TEST_F(AdoptionTest, OnlyWhatCarriesTheMarkOfTheAgentIsKilled) {
  makeGate("ready");
  auto const identity = startForeign("echo >ready; read never <ready");
  passGate("ready");
  SystemProcesses otherTree(loop, "/another/tree");
  otherTree.killRemains(chip1, identity);
  host.killRemains({AgentKind::slice, "Chip1"}, identity);
  auto elsewhere = identity;
  ++elsewhere.pid;
  host.killRemains(chip1, elsewhere);
  EXPECT_EQ(waitpid(identity.pid, nullptr, WNOHANG), 0);

  host.killRemains(chip1, identity);
  EXPECT_EQ(waitpid(identity.pid, nullptr, 0), identity.pid);
}

TEST_F(AdoptionTest, MarkedProcessesAreFoundLatestStartFirst) {
  makeGate("first");
  makeGate("second");
  auto const first = startForeign("echo >first; read never <first");
  auto const second = start(script("echo >second; read never <second"), 2);
  passGate("first");
  passGate("second");
  auto const marked = markedProcesses(folder.path());
  ASSERT_EQ(marked.size(), 2U);
  EXPECT_EQ(marked[0].identity, second->identity());
  EXPECT_EQ(marked[0].mark.start, 2U);
  EXPECT_TRUE(marked[0].leadsItsGroup());
  EXPECT_EQ(marked[1].identity, first);
  EXPECT_TRUE(markedProcesses("/another/tree").empty());

  second->signalGroup(SIGKILL);
  EXPECT_TRUE(TestTools::runUntil(loop, [this] { return end.has_value(); }));
  kill(first.pid, SIGKILL);
  EXPECT_EQ(waitpid(first.pid, nullptr, 0), first.pid);
}

}  // namespace
}  // namespace Oru::Launcher
