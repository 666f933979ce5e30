#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "launcher/AgentId.h"
#include "launcher/Process.h"

namespace Oru::Launcher {

// What a launcher writes into the environment of the processes that it starts, so that it finds
// them again even when it ended before it could record them. Agents may read it too.
//
//   ORU_TREE         absolute path of the state tree
//   ORU_AGENT_KIND   slice, chip or feature
//   ORU_AGENT_NAME   the agent's name
//   ORU_AGENT_START  1 for the first process of a launcher entry, then one more for each
struct AgentMark {
  std::string tree;
  AgentId id;
  std::uint64_t start = 0;

  void addTo(std::map<std::string, std::string>& environment) const;
  // From NAME=value texts, each ended by a NUL; nothing when one is missing or is none of the
  // above.
  static std::optional<AgentMark> parse(std::string_view environment);

  friend bool operator==(AgentMark const&, AgentMark const&) = default;
};

// A process that carries a mark: an agent, or what an agent has started.
struct MarkedProcess {
  AgentMark mark;
  ProcessIdentity identity;
  pid_t group = 0;

  bool leadsItsGroup() const { return group == identity.pid; }
};

// The running processes with a mark of this tree, latest start first; of one start, the oldest
// process first.
std::vector<MarkedProcess> markedProcesses(std::string const& tree);

}  // namespace Oru::Launcher
