#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Oru::Launcher {

// What /proc says of a process.
struct ProcStat {
  char state = 0;  // 'Z' and 'X': it has ended
  pid_t group = 0;
  std::uint64_t startTicks = 0;

  bool hasEnded() const { return state == 'Z' || state == 'X'; }

  // From the line of /proc/PID/stat; nothing when it is not such a line.
  static std::optional<ProcStat> parse(std::string_view line);
  // Nothing when there is no such process.
  static std::optional<ProcStat> read(pid_t pid);

  friend bool operator==(ProcStat const&, ProcStat const&) = default;
};

// The processes of the machine, as far as this one sees them.
std::vector<pid_t> allProcesses();
// NAME=value texts, each ended by a NUL; empty when it may not be read.
std::string environmentOf(pid_t pid);
// Differs from boot to boot.
std::string const& bootId();

}  // namespace Oru::Launcher
