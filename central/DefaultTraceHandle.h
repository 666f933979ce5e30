#pragma once

#include "runtime/kesh/TraceHandle.h"
#include "runtime/vunda/Export.h"

namespace Oru::Central {

namespace Impl {
ORU_EXPORT extern constinit Kesh::TraceHandle defaultTraceHandle;
}

// The text trace of the supervision library, named "OruCentral". Every state machine traces through
// it; the hosting agent sets its levels and its sink.
//   level 1  chip resets                     level 5  feature launcher entries
//   level 2  entry of every handler          level 9  entry of the feature handlers
//   level 3  progress, and work that is skipped
inline Kesh::TraceHandle& _defaultTraceHandle() { return Impl::defaultTraceHandle; }

}  // namespace Oru::Central
