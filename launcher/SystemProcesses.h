#pragma once

#include <memory>
#include <string>

#include "launcher/Process.h"
#include "mount/EventLoop.h"

namespace Oru::Launcher {

// Processes of the operating system, watched through descriptors (pidfd) on the event loop. A
// started process leads a process group of its own, has every signal at its default, standard input
// from /dev/null, no descriptors but the standard ones, and the marks of AgentMark.h; the service
// manager's variables for the launcher itself are not passed on.
//
// The process that ends is the agent: what it leaves in its group is killed. Of a child that is
// done before the child is reaped, so that its number cannot mean another group; of an adopted
// process, only what carries its mark is killed.
class SystemProcesses : public ProcessHost {
 public:
  // `tree` is the absolute path of the state tree. The loop must outlive this and every process.
  SystemProcesses(Mount::EventLoop& loop, std::string tree);

  std::unique_ptr<Process> start(AgentId const& id, std::uint64_t startNumber,
                                 Command const& command, OnEnd onEnd) override;
  std::unique_ptr<Process> adopt(AgentId const& id, ProcessIdentity const& identity,
                                 OnEnd onEnd) override;
  void killRemains(AgentId const& id, ProcessIdentity const& ended) override;

 private:
  class Watched;
  class Child;
  class Adopted;

  Mount::EventLoop& loop_;
  std::string const tree_;
};

}  // namespace Oru::Launcher
