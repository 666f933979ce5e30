#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/Options.h"
#include "agent/PlatformHelper.h"
#include "central/CentralSm.h"
#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/LockKeeper.h"
#include "mount/Log.h"
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
//
// Another folder at the tree's place is locked as well; when another oru-agent works on that, this
// one ends and writes nothing there.
class HostingAgent final : Mount::Backend::Observer {
 public:
  HostingAgent(Options const& options, Mount::Log const& log);
  ~HostingAgent();
  HostingAgent(HostingAgent const&) = delete;
  HostingAgent& operator=(HostingAgent const&) = delete;

  // Runs until SIGTERM or SIGINT; returns the program's exit code.
  int run();

 private:
  // The word of the root comes with the watch of any directory.
  void changed(std::vector<Mount::Backend::Change> const&) override {}
  void rootBack() override { lock_->hold(); }
  void wordLost() override { problems_.wordLost(); }

  std::optional<int> prepareTree();
  void tellOtherAgent(Mount::LockedError const& error) const;
  void start();
  void stop();
  void statusChanged();
  void tellStatus();
  void logProblem(Mount::ProblemList::Problem const& problem, bool present) const;

  Options const options_;
  Mount::Log const& log_;
  Mount::EventLoop loop_;
  Mount::FileBackend backend_;
  std::unique_ptr<Mount::Backend::Watch> rootWatch_;
  Mount::ProblemList problems_;
  std::optional<Mount::LockKeeper> lock_;
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
