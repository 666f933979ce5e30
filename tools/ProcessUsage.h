#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>

#include "launcher/Process.h"

namespace Oru::Tools {

// What a process takes of the machine.
struct ProcessUsage {
  double cpuSeconds = 0;  // since its start
  std::uint64_t residentBytes = 0;

  // From the line of /proc/PID/stat; nothing when that is not such a line, or another process's,
  // which began at another tick.
  static std::optional<ProcessUsage> parse(std::string_view line, std::uint64_t startTicks);
  // Nothing when that very process does not run on this machine any more.
  static std::optional<ProcessUsage> read(Launcher::ProcessIdentity const& process);
};

// The share of a processor that each process took between two looks.
class CpuShares {
 public:
  // Percent since the last look at that process; nothing at the first one. Times are seconds on any
  // clock.
  std::optional<double> share(pid_t pid, ProcessUsage const& usage, double time);

 private:
  struct Look {
    double time, cpuSeconds;
  };
  std::map<pid_t, Look> last_;
};

}  // namespace Oru::Tools
