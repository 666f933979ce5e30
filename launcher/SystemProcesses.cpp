#include "launcher/SystemProcesses.h"

#include <poll.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <map>
#include <system_error>
#include <utility>

#include "launcher/AgentMark.h"
#include "launcher/PidFd.h"
#include "launcher/ProcFs.h"
#include "launcher/Spawn.h"
#include "mount/UniqueFd.h"

namespace Oru::Launcher {

namespace {

using Mount::UniqueFd;

bool hasEnded(UniqueFd const& process) {
  pollfd ended{process.get(), POLLIN, 0};
  return poll(&ended, 1, 0) > 0;
}

// The process, if it still is the one that was identified. Its descriptor is opened first: what it
// then refers to is what is compared.
UniqueFd openIdentified(ProcessIdentity const& identity) {
  if (identity.bootId != bootId()) return {};
  UniqueFd process = openProcess(identity.pid);
  auto const stat = ProcStat::read(identity.pid);
  bool const same =
      process && stat && stat->startTicks == identity.startTicks && !hasEnded(process);
  return same ? std::move(process) : UniqueFd();
}

ProcessEnd endOf(siginfo_t const& info) {
  auto const how = info.si_code == CLD_EXITED ? ProcessEnd::How::exited : ProcessEnd::How::killed;
  return {how, info.si_status};
}

}  // namespace

class SystemProcesses::Watched : public Process {
 public:
  Watched(Mount::EventLoop& loop, UniqueFd process, ProcessIdentity identity, OnEnd onEnd)
      : identity_(std::move(identity)),
        process_(std::move(process)),
        onEnd_(std::move(onEnd)),
        end_(loop.processEnd(process_.get(), [this] { handleEnd(); })) {}

  ProcessIdentity const& identity() const override { return identity_; }

  // The number of a process that has not ended means that process, and its group.
  void signalGroup(int signal) override {
    if (hasEnded(process_)) return;
    if (kill(-identity_.pid, signal) != 0) sendSignal(process_, signal);
  }

 protected:
  UniqueFd const& process() const { return process_; }

 private:
  virtual ProcessEnd cleanUp() = 0;

  void handleEnd() {
    ProcessEnd const end = cleanUp();
    // The callback may destroy this object, and with it the function.
    OnEnd const onEnd = std::move(onEnd_);
    onEnd(end);
  }

  ProcessIdentity const identity_;
  UniqueFd const process_;
  OnEnd onEnd_;
  Mount::EventSource end_;  // released before the descriptor is closed
};

class SystemProcesses::Child : public Watched {
 public:
  using Watched::Watched;

 private:
  ProcessEnd cleanUp() override {
    kill(-identity().pid, SIGKILL);
    siginfo_t info{};
    int const result = waitid(P_PIDFD, static_cast<id_t>(process().get()), &info, WEXITED);
    return result == 0 ? endOf(info) : ProcessEnd{};
  }
};

class SystemProcesses::Adopted : public Watched {
 public:
  Adopted(SystemProcesses& host, AgentId id, UniqueFd process, ProcessIdentity const& identity,
          OnEnd onEnd)
      : Watched(host.loop_, std::move(process), identity, std::move(onEnd)),
        host_(host),
        id_(std::move(id)) {}

 private:
  ProcessEnd cleanUp() override {
    host_.killRemains(id_, identity());
    return {};
  }

  SystemProcesses& host_;
  AgentId const id_;
};

SystemProcesses::SystemProcesses(Mount::EventLoop& loop, std::string tree)
    : loop_(loop), tree_(std::move(tree)) {
  // Whoever started this process may have SIGCHLD ignored; children would then end without a trace.
  signal(SIGCHLD, SIG_DFL);
}

std::unique_ptr<Process> SystemProcesses::start(AgentId const& id, std::uint64_t startNumber,
                                                Command const& command, OnEnd onEnd) {
  std::map<std::string, std::string> marks;
  AgentMark{tree_, id, startNumber}.addTo(marks);
  pid_t const pid = spawn(command, marks);
  try {
    UniqueFd process = openProcess(pid);
    auto const stat = ProcStat::read(pid);
    if (!process || !stat) throw std::system_error(errno, std::generic_category());
    return std::make_unique<Child>(loop_, std::move(process),
                                   ProcessIdentity{pid, stat->startTicks, bootId()},
                                   std::move(onEnd));
  } catch (std::system_error const& error) {
    kill(-pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    throw StartError("cannot watch process " + std::to_string(pid) + ": " + error.what());
  }
}

std::unique_ptr<Process> SystemProcesses::adopt(AgentId const& id, ProcessIdentity const& identity,
                                                OnEnd onEnd) {
  UniqueFd process = openIdentified(identity);
  if (!process) return nullptr;
  return std::make_unique<Adopted>(*this, id, std::move(process), identity, std::move(onEnd));
}

void SystemProcesses::killRemains(AgentId const& id, ProcessIdentity const& ended) {
  for (MarkedProcess const& left : markedProcesses(tree_)) {
    if (left.group != ended.pid || left.mark.id != id) continue;
    if (UniqueFd const process = openIdentified(left.identity)) {
      sendSignal(process, SIGKILL);
    }
  }
}

}  // namespace Oru::Launcher
