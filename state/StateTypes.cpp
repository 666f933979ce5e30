#include "state/StateTypes.h"

#include "runtime/kesh/TypeRegistry.h"
#include "state/ChipConfig.h"
#include "state/ChipStatus.h"
#include "state/ResetRequestDir.h"
#include "state/ResetStatusDir.h"
#include "state/SliceHwConfig.h"
#include "state/SliceHwStatus.h"
#include "state/SystemStatus.h"

namespace Oru::Central {

void registerStateTypes() {
  Kesh::TypeRegistry::typeIs<SliceHwConfig>();
  Kesh::TypeRegistry::typeIs<SliceHwStatus>();
  Kesh::TypeRegistry::typeIs<ChipConfig>();
  Kesh::TypeRegistry::typeIs<ChipStatus>();
  Kesh::TypeRegistry::typeIs<SystemStatus>();
  Kesh::TypeRegistry::typeIs<ResetRequestDir>();
  Kesh::TypeRegistry::typeIs<ResetStatusDir>();
}

}  // namespace Oru::Central
