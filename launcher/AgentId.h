#pragma once

#include <array>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace Oru::Launcher {

// The kinds of agents, one directory each below launcher/ and launcher-status/.
enum class AgentKind { slice, chip, feature };

inline constexpr std::array agentKinds{AgentKind::slice, AgentKind::chip, AgentKind::feature};

// The word for the kind: its directory, its member in the configuration, the text of {kind}.
constexpr std::string_view toString(AgentKind kind) {
  constexpr std::array<std::string_view, agentKinds.size()> words{"slice", "chip", "feature"};
  return words[static_cast<std::size_t>(kind)];
}

// The kind of that word, if there is one.
constexpr std::optional<AgentKind> agentKind(std::string_view word) {
  for (AgentKind const kind : agentKinds) {
    if (toString(kind) == word) return kind;
  }
  return std::nullopt;
}

// Which agent: at most one process runs for each.
struct AgentId {
  AgentKind kind;
  std::string name;  // as its owner wrote it, not as a file name encodes it

  friend auto operator<=>(AgentId const&, AgentId const&) = default;
};

// "chip Chip1", as the log says it.
inline std::string toString(AgentId const& id) {
  return std::string(toString(id.kind)) + ' ' + id.name;
}

}  // namespace Oru::Launcher
