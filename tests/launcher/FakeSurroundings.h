#pragma once

#include <algorithm>
#include <csignal>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "launcher/AgentProcess.h"
#include "launcher/Clock.h"
#include "launcher/CommandSource.h"
#include "launcher/Process.h"

namespace Oru::Launcher::TestTools {

// Time stands still until it is advanced; then timers go off in their order.
class FakeClock : public Clock {
 public:
  static constexpr double wallAtBoot = 1'700'000'000;

  double sinceBoot() const override { return now_; }
  double wallTime() const override { return wallAtBoot + now_; }

  std::unique_ptr<Timer> after(double delay, std::function<void()> callback) override {
    auto const at = timers_.emplace(now_ + delay, std::move(callback));
    return std::make_unique<Entry>(*this, at);
  }

  void advance(double seconds) {
    double const target = now_ + seconds;
    while (!timers_.empty() && timers_.begin()->first <= target) {
      auto const due = timers_.extract(timers_.begin());
      now_ = std::max(now_, due.key());
      due.mapped()();
    }
    now_ = target;
  }

  // Seconds until the next timer goes off.
  std::optional<double> nextTimer() const {
    if (timers_.empty()) return std::nullopt;
    return timers_.begin()->first - now_;
  }

 private:
  using Timers = std::multimap<double, std::function<void()>>;

  class Entry : public Timer {
   public:
    Entry(FakeClock& clock, Timers::iterator at) : clock_(clock), at_(&*at) {}
    ~Entry() override {
      std::erase_if(clock_.timers_, [this](auto const& timer) { return &timer == at_; });
    }

   private:
    FakeClock& clock_;
    Timers::value_type const* const at_;
  };

  double now_ = 1000;
  Timers timers_;
};

// Processes that run, take signals and end only as the test says.
class FakeProcesses : public ProcessHost {
 public:
  struct Running {
    AgentId id;
    std::uint64_t startNumber = 0;
    Command command;
    OnEnd onEnd;
    bool adopted = false;
    std::vector<int> signals;
  };

  explicit FakeProcesses(FakeClock& clock) : clock_(clock) {}

  std::unique_ptr<Process> start(AgentId const& id, std::uint64_t startNumber,
                                 Command const& command, OnEnd onEnd) override {
    if (!failure.empty()) throw StartError(failure);
    ProcessIdentity const identity = newProcess();
    running[identity.pid] = {id, startNumber, command, std::move(onEnd), false, {}};
    return std::make_unique<Handle>(*this, identity);
  }

  std::unique_ptr<Process> adopt(AgentId const& id, ProcessIdentity const& identity,
                                 OnEnd onEnd) override {
    auto const at = std::find(orphans.begin(), orphans.end(), identity);
    if (at == orphans.end()) return nullptr;
    orphans.erase(at);
    running[identity.pid] = {id, 0, {}, std::move(onEnd), true, {}};
    return std::make_unique<Handle>(*this, identity);
  }

  void killRemains(AgentId const&, ProcessIdentity const& ended) override {
    remainsKilled.push_back(ended.pid);
  }

  // A process that an earlier launcher started now.
  ProcessIdentity orphan() {
    orphans.push_back(newProcess());
    return orphans.back();
  }

  void end(pid_t pid, ProcessEnd const& how = {ProcessEnd::How::exited, 1}) {
    auto const ended = running.extract(pid);
    ended.mapped().onEnd(how);
  }

  Running& only() { return running.begin()->second; }
  pid_t onlyPid() const { return running.begin()->first; }

  std::map<pid_t, Running> running;
  std::vector<ProcessIdentity> orphans;
  std::vector<pid_t> remainsKilled;
  std::string failure;  // of the starts to come
  int starts = 0;

 private:
  class Handle : public Process {
   public:
    Handle(FakeProcesses& host, ProcessIdentity identity)
        : host_(host), identity_(std::move(identity)) {}

    ProcessIdentity const& identity() const override { return identity_; }
    void signalGroup(int signal) override {
      host_.running.at(identity_.pid).signals.push_back(signal);
    }

   private:
    FakeProcesses& host_;
    ProcessIdentity const identity_;
  };

  ProcessIdentity newProcess() {
    ++starts;
    auto const ticks = static_cast<double>(sysconf(_SC_CLK_TCK)) * clock_.sinceBoot();
    return {++lastPid_, static_cast<std::uint64_t>(ticks), "boot"};
  }

  FakeClock& clock_;
  pid_t lastPid_ = 100;
};

// The same command for every agent but those of `unknown`.
class FakeCommands : public CommandSource {
 public:
  Command commandFor(AgentId const& id) const override {
    if (id.name == unknown) throw StartError("no command for " + toString(id));
    return {{"agent", id.name}, {}, {}, {}};
  }
  AgentLimits limitsFor(AgentId const&) const override { return limits; }

  std::string unknown;
  AgentLimits limits{5, {1, 2, 8, 10}};
};

}  // namespace Oru::Launcher::TestTools
