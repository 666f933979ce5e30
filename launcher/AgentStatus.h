#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "launcher/Process.h"

namespace Oru::Launcher {

// gone: neither entry nor process; nobody sees it in a status file.
enum class AgentState { gone, running, stopping, backoff, failed };

// What is known of one agent's process: what its file in launcher-status/ says, and what a launcher
// that is started again needs to find the process. Times are wall-clock seconds.
struct AgentStatus {
  struct Exit {
    ProcessEnd end;
    double time = 0;

    friend bool operator==(Exit const&, Exit const&) = default;
  };

  AgentState state = AgentState::gone;
  double since = 0;                        // when it came into this state
  std::optional<ProcessIdentity> process;  // running, stopping
  double startTime = 0;                    // of the latest process, 0: there was none
  std::uint64_t starts = 0;                // processes started for this entry
  std::uint64_t wantedRestarts = 0;        // asked for: a changed restart number, an entry put back
  std::uint64_t crashes = 0;               // ends that nobody asked for, with status 0 too
  std::optional<double> restart;           // the entry's restart number that was carried out
  std::optional<Exit> lastExit;
  std::optional<double> nextStart;  // backoff, failed
  std::string problem;              // failed: why it cannot be started

  friend bool operator==(AgentStatus const&, AgentStatus const&) = default;
};

}  // namespace Oru::Launcher
