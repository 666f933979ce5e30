#pragma once

#include <optional>
#include <string>
#include <vector>

#include "launcher/ConfiguredCommands.h"
#include "launcher/EntryWatch.h"
#include "launcher/LauncherConfig.h"
#include "launcher/LoopClock.h"
#include "launcher/ProcessTable.h"
#include "launcher/StatusFiles.h"
#include "launcher/SystemProcesses.h"
#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/LockKeeper.h"
#include "mount/Log.h"
#include "mount/ProblemFile.h"
#include "mount/ProblemList.h"
#include "mount/WriteQueue.h"

namespace Oru::Launcher {

// The codes with which oru-launcher ends.
enum ExitCode { ended = 0, failed = 1, usage = 2, badConfig = 3, locked = 4 };

// The whole program on one event loop. Signals: SIGTERM and SIGINT end it, SIGHUP reads the
// configuration again.
class Launcher {
 public:
  struct Options {
    std::string tree;  // absolute, exists
    std::string configFile;
    std::string logDirectory;  // empty: agents write to the launcher's own outputs
    bool stopAgents = false;   // at the end; otherwise they go on, for the next launcher to take up
  };

  // Raises Mount::LockedError when another launcher serves the tree. `loop` and `log` must outlive
  // the launcher.
  Launcher(Mount::EventLoop& loop, Mount::Log const& log, Options options, LauncherConfig config);

  // Takes up what an earlier launcher has left, starts what has entries and tells the service
  // manager that it is ready. Everything else comes from the loop, which ends with an ExitCode.
  void start();

 private:
  void takeUpAgents();
  void watchSignals();
  void otherLauncher(Mount::LockedError const& error);
  void handleChange(AgentId const& id, std::string const& event);
  void end();
  void endIfNothingRuns();
  void reload();
  void tellServiceManager();
  void logProblem(Mount::ProblemList::Problem const& problem, bool present) const;

  Mount::EventLoop& loop_;
  Mount::Log const& log_;
  Options const options_;
  Mount::ProblemList problems_;
  Mount::LockKeeper lock_;
  Mount::FileBackend backend_;
  Mount::WriteQueue queue_;
  Mount::ProblemFile problemFile_;
  LoopClock clock_;
  SystemProcesses processes_;
  ConfiguredCommands commands_;
  ProcessTable table_;
  StatusFiles statusFiles_;
  std::optional<EntryWatch> entries_;
  std::vector<Mount::EventSource> signals_;
  Mount::EventSource statusLine_;
  bool ending_ = false;
};

}  // namespace Oru::Launcher
