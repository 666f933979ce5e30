#include "launcher/AgentMark.h"

#include <algorithm>
#include <charconv>
#include <tuple>
#include <utility>

#include "launcher/ProcFs.h"

namespace Oru::Launcher {

namespace {

constexpr std::string_view treeVariable = "ORU_TREE";
constexpr std::string_view kindVariable = "ORU_AGENT_KIND";
constexpr std::string_view nameVariable = "ORU_AGENT_NAME";
constexpr std::string_view startVariable = "ORU_AGENT_START";

std::optional<std::string_view> valueOf(std::string_view environment, std::string_view variable) {
  while (!environment.empty()) {
    std::string_view const text = environment.substr(0, environment.find('\0'));
    if (text.size() > variable.size() && text.starts_with(variable) &&
        text[variable.size()] == '=') {
      return text.substr(variable.size() + 1);
    }
    environment.remove_prefix(std::min(text.size() + 1, environment.size()));
  }
  return std::nullopt;
}

std::optional<std::uint64_t> number(std::string_view text) {
  std::uint64_t value = 0;
  auto const [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || rest != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<MarkedProcess> markedProcess(pid_t pid, std::string const& tree) {
  auto mark = AgentMark::parse(environmentOf(pid));
  if (!mark || mark->tree != tree) return std::nullopt;
  auto const stat = ProcStat::read(pid);
  if (!stat || stat->hasEnded()) return std::nullopt;
  return MarkedProcess{std::move(*mark), {pid, stat->startTicks, bootId()}, stat->group};
}

}  // namespace

void AgentMark::addTo(std::map<std::string, std::string>& environment) const {
  environment[std::string(treeVariable)] = tree;
  environment[std::string(kindVariable)] = toString(id.kind);
  environment[std::string(nameVariable)] = id.name;
  environment[std::string(startVariable)] = std::to_string(start);
}

std::optional<AgentMark> AgentMark::parse(std::string_view environment) {
  auto const tree = valueOf(environment, treeVariable);
  auto const kindWord = valueOf(environment, kindVariable);
  auto const name = valueOf(environment, nameVariable);
  auto const startText = valueOf(environment, startVariable);
  if (!tree || !kindWord || !name || !startText) return std::nullopt;

  auto const kind = agentKind(*kindWord);
  auto const start = number(*startText);
  if (!kind || !start) return std::nullopt;
  return AgentMark{std::string(*tree), {*kind, std::string(*name)}, *start};
}

std::vector<MarkedProcess> markedProcesses(std::string const& tree) {
  std::vector<MarkedProcess> marked;
  for (pid_t const pid : allProcesses()) {
    if (auto process = markedProcess(pid, tree)) marked.push_back(std::move(*process));
  }
  std::sort(marked.begin(), marked.end(), [](MarkedProcess const& a, MarkedProcess const& b) {
    return std::tie(b.mark.start, a.identity.startTicks, a.identity.pid) <
           std::tie(a.mark.start, b.identity.startTicks, b.identity.pid);
  });
  return marked;
}

}  // namespace Oru::Launcher
