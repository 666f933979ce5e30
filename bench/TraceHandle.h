#pragma once

#include "runtime/kesh/TraceHandle.h"

namespace Bench {

// What the benchmarks' own call sites trace through.
inline Kesh::TraceHandle& _defaultTraceHandle() {
  static constinit Kesh::TraceHandle handle("Bench");
  return handle;
}

}  // namespace Bench
