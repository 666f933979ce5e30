#pragma once

#include <memory>
#include <optional>
#include <string>

#include "agent/Log.h"
#include "agent/Options.h"
#include "agent/PlatformHelper.h"
#include "agent/TreeLock.h"
#include "central/CentralSm.h"
#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/ProblemFile.h"
#include "mount/ProblemList.h"
#include "mount/StateMount.h"
#include "mount/WriteQueue.h"

namespace Oru::Agent {

// The whole program but its command line: one thread, one event loop; a tree, its mount, and the
// supervision tree on top.
//
// Start: lock the tree, read it, put right what happened meanwhile, make the state machines, write
// what they changed, tell the service manager. Stop: write what is pending, end the mount, and only
// then release the machines: what they undo while they go reaches nobody, so agents and tree stay
// as they are.
class HostingAgent {
 public:
  HostingAgent(Options const& options, Log const& log);
  ~HostingAgent();
  HostingAgent(HostingAgent const&) = delete;
  HostingAgent& operator=(HostingAgent const&) = delete;

  // Runs until SIGTERM or SIGINT; returns the program's exit code.
  int run();

 private:
  std::optional<int> prepareTree();
  void start();
  void stop();
  void statusChanged();
  void tellStatus();
  void logProblem(Mount::ProblemList::Problem const& problem, bool present) const;

  Options const options_;
  Log const& log_;
  Mount::EventLoop loop_;
  TreeLock lock_;
  Mount::FileBackend backend_;
  Mount::ProblemList problems_;
  Mount::WriteQueue queue_;
  Mount::ProblemFile problemFile_;
  std::optional<Mount::StateMount> mount_;
  Vunda::Ptr<PlatformHelper> helper_;
  Vunda::Ptr<Central::CentralSm> root_;
  Mount::EventSource terminate_;
  Mount::EventSource interrupt_;
  Mount::EventSource status_;
};

}  // namespace Oru::Agent
