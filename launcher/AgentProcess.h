#pragma once

#include <memory>
#include <optional>
#include <string>

#include "launcher/AgentStatus.h"
#include "launcher/Backoff.h"
#include "launcher/Clock.h"
#include "launcher/CommandSource.h"
#include "launcher/Process.h"

namespace Oru::Launcher {

// Keeps one agent's process as its launcher entry wants it. At most one process runs at any time.
//
//                     entry                    ended by itself
//        (gone) ------------------> running -------------------> backoff
//          ^ ^                      ^  |  ^                         |
//          | |  ended, no entry     |  |  +---- delay is over, -----+
//          | +-------- stopping <---|--+        or restart wanted
//          |  entry gone,  |        |  entry gone,
//          |               +--------+  restart wanted        cannot be started: failed, which is
//          |        ended, entry there                       left as backoff is
//          +---- from backoff and failed, when the entry goes
//
// In stopping the process group has SIGTERM; after the grace time it gets SIGKILL.
class AgentProcess {
 public:
  class Observer {
   public:
    Observer() = default;
    Observer(Observer const&) = delete;
    Observer& operator=(Observer const&) = delete;
    virtual ~Observer() = default;

    // The status has changed; `event` says by what, for the log. Must not destroy the process.
    virtual void changed(AgentProcess const& process, std::string const& event) = 0;
  };

  // What stands around an agent's process and outlives it.
  struct Surroundings {
    ProcessHost& processes;
    Clock& clock;
    CommandSource const& commands;
    Observer& observer;
  };

  AgentProcess(AgentId id, Surroundings const& around);
  AgentProcess(AgentProcess const&) = delete;
  AgentProcess& operator=(AgentProcess const&) = delete;

  // Takes up what an earlier launcher recorded: watches its process if that still runs. Entry and
  // record are compared at entryIs(); without an entry the agent is to be stopped with entryDel().
  void restore(AgentStatus const& record);
  // Takes up a process that was started by an earlier launcher and is in no record. Nothing when it
  // is gone, when one is watched already, or when the record is not older than that start.
  void adopt(ProcessIdentity const& identity, std::uint64_t startNumber);

  // The entry is there, with this restart number, if any. A number other than the one before asks
  // for a restart.
  void entryIs(std::optional<double> restart);
  // The entry is there and says nothing that can be used: what was known of it stays in force.
  void entryRefused();
  // `why` is for the log.
  void entryDel(std::string const& why = "its entry is gone");
  // What kept the agent from being started may be gone: tries now, not when the delay is over.
  void retry();

  AgentId const& id() const { return id_; }
  AgentStatus const& status() const { return status_; }
  bool isGone() const { return status_.state == AgentState::gone; }

 private:
  enum class StartCause { entry, wanted, delayOver };

  void endedUnobserved(AgentStatus const& record);
  void start(StartCause cause);
  void started(std::unique_ptr<Process> process);
  void startFailed(std::string const& reason);
  void stop(std::string const& why);
  void kill();
  void ended(ProcessEnd const& end);
  void crashed(double ranFor);
  void startAfter(double delay);
  void watch(std::unique_ptr<Process> process);
  double ranFor() const;
  std::string processText() const;
  bool waits() const;
  void stateIs(AgentState state, std::string const& event);
  ProcessHost::OnEnd onEnd();

  AgentId const id_;
  Surroundings const around_;
  bool hasEntry_ = false;
  // Not of a process that is in no record: its entry's number is then taken as carried out.
  bool restartKnown_ = true;
  AgentStatus status_;
  Backoff backoff_;
  std::unique_ptr<Process> process_;  // exactly in running and stopping
  std::unique_ptr<Timer> timer_;      // the next start or SIGKILL
};

}  // namespace Oru::Launcher
