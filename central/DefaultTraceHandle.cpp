#include "central/DefaultTraceHandle.h"

namespace Oru::Central {

constinit Kesh::TraceHandle Impl::defaultTraceHandle("OruCentral");

}  // namespace Oru::Central
