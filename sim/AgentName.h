#pragma once

#include <compare>
#include <string>

namespace Oru::Sim {

// Which agent: its kind, "slice", "chip" or "feature", and the name of what it serves.
struct AgentName {
  std::string kind;
  std::string name;

  // "chip Chip1"
  std::string text() const { return kind + ' ' + name; }
  auto operator<=>(AgentName const&) const = default;
  bool operator==(AgentName const&) const = default;
};

}  // namespace Oru::Sim
