#pragma once

#include "runtime/vunda/Export.h"

namespace Oru::Central {

// Registers every entity type of the state model that lives in a directory, so that
// Kesh::Dir::createEntity knows it by its `typeName`: SliceHwConfig, SliceHwStatus, ChipConfig,
// ChipStatus, SystemStatus, ResetRequestDir, ResetStatusDir. May be called any number of times.
ORU_EXPORT void registerStateTypes();

}  // namespace Oru::Central
