#pragma once

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "mount/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

extern char** environ;

namespace OruTest {

// A program that a test has started. What it writes goes to files. It is killed when it still runs
// at the end of the test.
class ProgramRun {
 public:
  explicit ProgramRun(std::vector<std::string> const& command) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int const flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (folder_ / "out").c_str(), flags,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (folder_ / "err").c_str(), flags,
                                     0600);
    std::vector<char*> arguments;
    for (auto const& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    int const error =
        ::posix_spawn(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error) throw std::runtime_error("cannot run " + command[0]);
    pidfd_ = Oru::Mount::UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  }
  ~ProgramRun() {
    if (reaped_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ProgramRun(ProgramRun const&) = delete;
  ProgramRun& operator=(ProgramRun const&) = delete;

  pid_t pid() const { return pid_; }
  void signal(int number) const { ::kill(pid_, number); }
  bool runs() const {
    pollfd ended{pidfd_.get(), POLLIN, 0};
    return ::poll(&ended, 1, 0) == 0;
  }
  // Waits for its end; its exit code, or minus the signal that killed it, or -1000 when it does not
  // end within half a minute.
  int wait() {
    pollfd ended{pidfd_.get(), POLLIN, 0};
    if (::poll(&ended, 1, 30000) != 1) return -1000;
    int status = 0;
    ::waitpid(pid_, &status, 0);
    reaped_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  // Waits until it has written this to standard error, or output; false when it does not within
  // half a minute.
  bool awaitsError(std::string const& text) const { return awaits("err", text); }
  bool awaitsOutput(std::string const& text) const { return awaits("out", text); }
  std::string output() const { return textOf("out"); }
  std::string errors() const { return textOf("err"); }

 private:
  bool awaits(char const* name, std::string const& text) const {
    Oru::Mount::UniqueFd const changes(::inotify_init1(IN_CLOEXEC));
    ::inotify_add_watch(changes.get(), (folder_ / name).c_str(), IN_MODIFY);
    while (textOf(name).find(text) == std::string::npos) {
      pollfd ready{changes.get(), POLLIN, 0};
      if (::poll(&ready, 1, 30000) != 1) return false;
      char events[4096];
      if (::read(changes.get(), events, sizeof events) < 0) return false;
    }
    return true;
  }
  std::string textOf(char const* name) const {
    std::ifstream file(folder_ / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryFolder const folder_;
  pid_t pid_ = -1;
  Oru::Mount::UniqueFd pidfd_;
  bool reaped_ = false;
};

}  // namespace OruTest
