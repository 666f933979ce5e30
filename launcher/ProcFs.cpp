#include "launcher/ProcFs.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace Oru::Launcher {

namespace {

// A file of /proc: its size is not known before it is read.
std::string contents(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string fileOf(pid_t pid, char const* name) {
  return "/proc/" + std::to_string(pid) + '/' + name;
}

}  // namespace

std::optional<ProcStat> ProcStat::parse(std::string_view line) {
  // The second field is the command's name in parentheses; it may hold blanks and parentheses.
  std::size_t const end = line.rfind(')');
  if (end == std::string_view::npos) return std::nullopt;
  std::istringstream fields{std::string(line.substr(end + 1))};

  ProcStat stat;
  std::string skipped;
  fields >> stat.state >> skipped >> stat.group;
  constexpr int fieldsBeforeStart = 16;  // fields 6 to 21
  for (int i = 0; i < fieldsBeforeStart; ++i) fields >> skipped;
  fields >> stat.startTicks;
  if (!fields) return std::nullopt;
  return stat;
}

std::optional<ProcStat> ProcStat::read(pid_t pid) { return parse(contents(fileOf(pid, "stat"))); }

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> pids;
  std::error_code error;
  for (std::filesystem::directory_iterator at("/proc", error), end; !error && at != end;
       at.increment(error)) {
    std::string const name = at->path().filename();
    pid_t pid = 0;
    auto const [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), pid);
    if (failure == std::errc() && rest == name.data() + name.size()) pids.push_back(pid);
  }
  return pids;
}

std::string environmentOf(pid_t pid) { return contents(fileOf(pid, "environ")); }

std::string const& bootId() {
  static std::string const id = [] {
    std::string text = contents("/proc/sys/kernel/random/boot_id");
    return text.substr(0, text.find('\n'));
  }();
  return id;
}

}  // namespace Oru::Launcher
