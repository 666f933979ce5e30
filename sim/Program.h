#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "mount/EventLoop.h"
#include "mount/UniqueFd.h"

namespace Oru::Sim {

// One of the programs that the simulator runs: starts it, hears when it is ready and when it ends.
class Program {
 public:
  enum class State { ended, starting, running };

  struct Command {
    std::vector<std::string> argv;         // the program without '/' is looked for in PATH
    std::vector<std::string> environment;  // "NAME=value", added to ours
    std::string logFile;                   // both outputs, appended
  };

  // `onChange` is called after each change of the state, never from within start() or signal().
  Program(Mount::EventLoop& loop, std::string name, Command command,
          std::function<void()> onChange);
  Program(Program const&) = delete;
  Program& operator=(Program const&) = delete;

  // Must be ended. Raises std::system_error.
  void start();
  // Nothing when it has ended.
  void signal(int number);
  // The program has told its service manager something.
  void told(std::string_view message);
  // The next end is no surprise.
  void expectEnd() { endExpected_ = true; }

  std::string const& name() const { return name_; }
  State state() const { return state_; }
  pid_t pid() const { return pid_; }                     // of the latest start
  std::string const& status() const { return status_; }  // what it last said of itself
  // How it ended, "exited with status 1"; empty while it has not.
  std::string const& end() const { return end_; }
  static constexpr char const* cleanEnd = "exited with status 0";
  // How often it has gone to sleep so far, which is how often it has woken up; 0 when it has ended.
  std::uint64_t sleeps() const;
  bool endedBySurprise() const { return state_ == State::ended && !end_.empty() && !endExpected_; }

 private:
  void ended(siginfo_t const& info);

  Mount::EventLoop& loop_;
  std::string const name_;
  Command const command_;
  std::function<void()> const onChange_;
  State state_ = State::ended;
  pid_t pid_ = 0;
  std::string status_;
  std::string end_;
  bool endExpected_ = false;
  Mount::UniqueFd pidfd_;
  Mount::EventSource child_;
};

// "exited with status 1", "killed by signal 9 (Killed)"
std::string textOfEnd(siginfo_t const& info);

}  // namespace Oru::Sim
