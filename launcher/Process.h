#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "launcher/AgentId.h"

namespace Oru::Launcher {

// Which process, for good: a process number alone is given again to another process, and counting
// starts afresh with every boot.
struct ProcessIdentity {
  pid_t pid = 0;
  std::uint64_t startTicks = 0;  // clock ticks from the boot to the process's start
  std::string bootId;

  // Seconds from the boot to the process's start.
  double startedSinceBoot() const;

  friend bool operator==(ProcessIdentity const&, ProcessIdentity const&) = default;
};

// How a process ended.
struct ProcessEnd {
  enum class How { exited, killed, unknown };

  How how = How::unknown;
  int value = 0;  // exit status or signal number

  // "exited with status 3", "killed by signal 9 (Killed)", or why it is not known.
  std::string reason() const;

  friend bool operator==(ProcessEnd const&, ProcessEnd const&) = default;
};

// What a process is started with.
struct Command {
  std::vector<std::string> argv;                   // argv[0] without '/' is looked for in PATH
  std::map<std::string, std::string> environment;  // added to the launcher's own
  std::string workingDirectory;                    // empty: the launcher's own
  std::string logFile;                             // empty: the launcher's own outputs

  friend bool operator==(Command const&, Command const&) = default;
};

// A process could not be started; the text says why.
class StartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A watched process, leader of its own process group. Destroying this ends the watch, not the
// process.
class Process {
 public:
  Process() = default;
  Process(Process const&) = delete;
  Process& operator=(Process const&) = delete;
  virtual ~Process() = default;

  virtual ProcessIdentity const& identity() const = 0;
  // Sends the signal to every process of the group; nothing once the process has ended.
  virtual void signalGroup(int signal) = 0;
};

// Starts processes and finds them again.
class ProcessHost {
 public:
  // Called once, when the process has ended and the rest of its group was killed; never from within
  // start() or adopt(). It may destroy the Process.
  using OnEnd = std::function<void(ProcessEnd const&)>;

  ProcessHost() = default;
  ProcessHost(ProcessHost const&) = delete;
  ProcessHost& operator=(ProcessHost const&) = delete;
  virtual ~ProcessHost() = default;

  // `startNumber` marks the process, so that a launcher whose records are older can tell which
  // start it comes from. Raises StartError.
  virtual std::unique_ptr<Process> start(AgentId const& id, std::uint64_t startNumber,
                                         Command const& command, OnEnd onEnd) = 0;
  // Watches a process that an earlier launcher started; null when it does not run any more.
  virtual std::unique_ptr<Process> adopt(AgentId const& id, ProcessIdentity const& identity,
                                         OnEnd onEnd) = 0;
  // Kills what is left of the process group of an agent whose process ended unobserved.
  virtual void killRemains(AgentId const& id, ProcessIdentity const& ended) = 0;
};

}  // namespace Oru::Launcher
