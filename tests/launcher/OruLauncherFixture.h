#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>

#include "launcher/AgentMark.h"
#include "launcher/PidFd.h"
#include "launcher/Spawn.h"
#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "tests/launcher/TemporaryDirectory.h"
#include "tests/launcher/Waiting.h"

namespace Oru::Launcher {

using Mount::TreePath;
using nlohmann::json;

// Agents for every behaviour: the name of a chip tells which.
inline constexpr char const* launcherTestConfig = R"json({
  "slice": {"argv": ["sleep", "1000"]},
  "chip": {
    "argv": ["sleep", "1000"], "graceTime": 30,
    "backoff": {"initial": 0.01, "factor": 1, "max": 0.01, "stable": 30},
    "names": {
      "crashes": {"argv": ["sh", "-c", "exit 3"]},
      "ends": {"argv": ["true"]},
      "stubborn": {"graceTime": 0.2,
                   "argv": ["sh", "{tree}/../stubborn", "{tree}"]},
      "unmoved": {"argv": ["sh", "{tree}/../stubborn", "{tree}"]},
      "parent": {"argv": ["sh", "-c", "sleep 1000 & sleep 1000"]}}},
  "feature": {"argv": ["{tree}/../program", "{name}"],
              "backoff": {"initial": 1000, "factor": 1, "max": 1000}}
})json";

// Runs oru-launcher on a tree of its own, watches what it writes, and leaves no process behind.
class OruLauncherTest : public testing::Test, private Mount::Backend::Observer {
 protected:
  OruLauncherTest() : tree(std::filesystem::canonical(folder.path()) / "tree") {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::filesystem::create_directory(tree);
    write(folder.path() / "launcher.json", launcherTestConfig);
    write(folder.path() / "stubborn",
          "trap '' TERM; echo '{}' >$1/ready.json; while :; do sleep 1000; done");
    backend.emplace(loop, tree);
    watch = backend->watch({}, *this);
  }

  ~OruLauncherTest() override {
    if (launcher > 0) kill(launcher, SIGKILL);
    // A process shows its mark only when its program is in place: looks again until none is left.
    while (waitpid(-1, nullptr, WNOHANG) >= 0) {
      for (MarkedProcess const& left : markedProcesses(tree)) kill(left.identity.pid, SIGKILL);
      poll(nullptr, 0, 1);
    }
  }

  static void write(std::filesystem::path const& file, std::string const& text) {
    std::ofstream(file) << text;
  }

  // Starts the program and waits until it has taken up what is there.
  void start(std::vector<std::string> const& more = {}) {
    // An earlier launcher's: this one's says that it listens to signals.
    std::filesystem::remove(tree + "/problems/oru-launcher.json");
    launcher = spawnLauncher(more);
    until([this] { return problems().is_array(); });
  }

  pid_t spawnLauncher(std::vector<std::string> const& more) {
    Command command;
    command.argv = {ORU_LAUNCHER, "--tree", tree, "--config", folder.path() / "launcher.json"};
    command.argv.insert(command.argv.end(), more.begin(), more.end());
    command.logFile = folder.path() / "log";
    return spawn(command, {});
  }

  // Runs the program to its end; returns its exit code.
  int exitCodeOf(std::vector<std::string> const& more) { return exitCode(spawnLauncher(more)); }

  int exitCode(pid_t pid) {
    Mount::UniqueFd const process = openProcess(pid);
    bool over = false;
    auto const end = loop.processEnd(process.get(), [&over] { over = true; });
    EXPECT_TRUE(TestTools::runUntil(loop, [&over] { return over; }));
    if (!over) kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int end(int signal = SIGTERM) {
    kill(launcher, signal);
    std::filesystem::remove(tree + "/problems/oru-launcher.json");
    return exitCode(std::exchange(launcher, 0));
  }

  void put(TreePath const& path, std::string const& text = "{}\n") {
    ASSERT_FALSE(writer().put(path, text));
  }
  void remove(TreePath const& path) { ASSERT_FALSE(writer().remove(path)); }
  // Its own, so that the watching one hears of it like of everybody else's writes.
  Mount::FileTree writer() const { return Mount::FileTree(tree); }

  json at(TreePath const& path) const {
    auto const reading = writer().read(path);
    return json::parse(reading.text, nullptr, false);
  }
  json status(char const* name, char const* kind = "chip") const {
    return at({"launcher-status", kind, name});
  }
  json problems() const {
    json const file = at({"problems", "oru-launcher"});
    return file.is_object() ? file["problems"] : json();
  }
  std::set<std::string> filesWithProblems() const {
    std::set<std::string> files;
    for (json const& problem : problems()) files.insert(problem["file"]);
    return files;
  }
  std::string log() const {
    std::ifstream file(folder.path() / "log");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // Ends the test when it does not come about.
  bool until(std::function<bool()> const& condition) {
    if (TestTools::runUntil(loop, condition)) return true;
    throw std::runtime_error("did not come about; the log:\n" + log());
  }
  bool untilState(char const* name, char const* state, char const* kind = "chip") {
    return until([=, this] {
      json const file = status(name, kind);
      return file.is_object() && file["state"] == state;
    });
  }
  bool untilGone(char const* name, char const* kind = "chip") {
    return until([=, this] { return status(name, kind).is_discarded(); });
  }
  static bool runs(json const& status) { return kill(status["pid"].get<pid_t>(), 0) == 0; }
  // How many agents run, in the end: a process shows its mark a moment after its start, and what was
  // killed takes a moment to end.
  bool agentsAre(std::size_t count) const {
    for (int tries = 0; tries < 5000; ++tries) {
      if (markedProcesses(tree).size() == count) return true;
      poll(nullptr, 0, 1);
    }
    return false;
  }
  static bool ends(MarkedProcess const& process) {
    Mount::UniqueFd const descriptor = openProcess(process.identity.pid);
    pollfd ended{descriptor.get(), POLLIN, 0};
    return !descriptor || poll(&ended, 1, 20000) == 1;
  }

  TestTools::TemporaryDirectory folder;
  std::string const tree;
  Mount::EventLoop loop;
  pid_t launcher = 0;

 private:
  void changed(std::vector<Mount::Backend::Change> const&) override {}

  std::optional<Mount::FileBackend> backend;
  std::unique_ptr<Mount::Backend::Watch> watch;
};

}  // namespace Oru::Launcher
