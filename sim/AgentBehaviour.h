#pragma once

#include <string>

#include "mount/Json.h"

namespace Oru::Sim {

// How a sample agent conducts itself. Described in the device's file, changed while it runs by a
// file of its own.
struct AgentBehaviour {
  enum class Mode {
    normal,
    crash,  // aborts whenever it would have become ready
    hang,   // reacts to nothing, SIGTERM included, but to a change of its behaviour
    stale,  // chip: reports the generation before the configured one
    leave,  // slice: withdraws its status, as when the board's ejector is pulled
  };

  Mode mode = Mode::normal;
  double initTime = 0.1;  // seconds that it takes to become ready
  double lag = 0;         // seconds that it takes longer than it should

  double readyAfter() const { return initTime + lag; }
  bool operator==(AgentBehaviour const&) const = default;
};

// "crash"
char const* textOf(AgentBehaviour::Mode mode);

// The fields "mode", "initTime" and "lag", each of which may be missing and then stays as in
// `base`. Raises Mount::JsonError.
AgentBehaviour behaviourOf(Mount::JsonObject& object, AgentBehaviour const& base);

// The text of an agent's behaviour file, and back; raises Mount::JsonError.
std::string jsonOf(AgentBehaviour const& behaviour);
AgentBehaviour behaviourOf(std::string_view json);

}  // namespace Oru::Sim
