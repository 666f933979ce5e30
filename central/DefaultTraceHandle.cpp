#include "central/DefaultTraceHandle.h"

namespace Oru::Central {

Kesh::TraceHandle& _defaultTraceHandle() {
  static constinit Kesh::TraceHandle handle("OruCentral");
  return handle;
}

}  // namespace Oru::Central
