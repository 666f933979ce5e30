#include "tools/ProcessUsage.h"

#include <unistd.h>

#include <charconv>
#include <fstream>
#include <string>
#include <vector>

#include "launcher/ProcFs.h"

namespace Oru::Tools {

namespace {

// Fields of /proc/PID/stat as proc(5) numbers them; the name in parentheses, which may hold
// anything, is the second.
enum Field { state = 3, userTicks = 14, systemTicks = 15, startTicks = 22, residentPages = 24 };

std::vector<std::string_view> fieldsBehindName(std::string_view line) {
  std::vector<std::string_view> fields;
  auto const end = line.rfind(')');
  if (end == std::string_view::npos) return fields;
  line.remove_prefix(end + 1);
  while (!line.empty()) {
    auto const begin = line.find_first_not_of(" \n");
    if (begin == std::string_view::npos) break;
    line.remove_prefix(begin);
    auto const word = line.substr(0, line.find_first_of(" \n"));
    fields.push_back(word);
    line.remove_prefix(word.size());
  }
  return fields;
}

std::uint64_t numberOf(std::vector<std::string_view> const& fields, Field field) {
  auto const text = fields[static_cast<std::size_t>(field - state)];
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::optional<ProcessUsage> ProcessUsage::parse(std::string_view line, std::uint64_t start) {
  auto const fields = fieldsBehindName(line);
  if (fields.size() <= residentPages - state || numberOf(fields, startTicks) != start)
    return std::nullopt;
  auto const ticks = numberOf(fields, userTicks) + numberOf(fields, systemTicks);
  ProcessUsage usage;
  usage.cpuSeconds = static_cast<double>(ticks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
  usage.residentBytes =
      numberOf(fields, residentPages) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  return usage;
}

std::optional<ProcessUsage> ProcessUsage::read(Launcher::ProcessIdentity const& process) {
  if (process.bootId != Launcher::bootId()) return std::nullopt;
  std::ifstream file("/proc/" + std::to_string(process.pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return parse(line, process.startTicks);
}

std::optional<double> CpuShares::share(pid_t pid, ProcessUsage const& usage, double time) {
  auto const [at, isNew] = last_.try_emplace(pid, Look{time, usage.cpuSeconds});
  Look const before = at->second;
  if (isNew || time <= before.time) return std::nullopt;
  at->second = {time, usage.cpuSeconds};
  if (usage.cpuSeconds < before.cpuSeconds) return std::nullopt;  // the number is another process's
  return 100.0 * (usage.cpuSeconds - before.cpuSeconds) / (time - before.time);
}

}  // namespace Oru::Tools
