// Each case but 0 holds a call site that must not compile; the test looks for the reason in what
// the compiler says.

#include "runtime/kesh/Trace.h"

namespace {

Kesh::TraceHandle& _defaultTraceHandle() {
  static constinit Kesh::TraceHandle handle("mismatch");
  return handle;
}

}  // namespace

void site(int value, Vunda::String const& name) {
#if CASE == 0
  ORU_TRACE(3, "{} {}", name, value);
  ORU_TRACE_STREAM(3, "%s %x", name, value);
  ORU_TRACE_ENTRY_AS("name %s", name);
#elif CASE == 1
  ORU_TRACE(3, "{} {}", name);
#elif CASE == 2
  ORU_TRACE(3, "{}", name, value);
#elif CASE == 3
  ORU_TRACE_STREAM(3, "%s", name, value);
#elif CASE == 4
  ORU_TRACE_ENTRY_AS("name %s value %s", name);
#elif CASE == 5
  ORU_TRACE(17, "text");
#elif CASE == 6
  ORU_TRACE(3, "{:d}", name);
#elif CASE == 7
  ORU_TRACE_STREAM(3, "%s", &site);
#elif CASE == 8
  ORU_TRACE(3, "{0} {1}", name, value);
#endif
  static_cast<void>(value);
  static_cast<void>(name);
}
