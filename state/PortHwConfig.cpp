#include "state/PortHwConfig.h"

namespace Oru::Central {

PortHwConfig::PortHwConfig(Vunda::String const& intfName) : intfName_(intfName) {
  intfId_.handleInitialized(intfName);
}

PortHwConfig::~PortHwConfig() = default;

}  // namespace Oru::Central
