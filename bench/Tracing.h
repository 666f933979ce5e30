#pragma once

namespace Bench {

// What the runtime's traces do from now on. Switching takes time: done before the meter runs.
enum class Tracing {
  off,   // no trace file, text off
  ring,  // as in production: records go to a mapped file, text off
  text   // the same, and level 5 prints to a sink that counts bytes
};
void tracingIs(Tracing wanted);

}  // namespace Bench
