#include "state/PortHwConfig.h"

namespace Oru::Central {

PortHwConfig::~PortHwConfig() = default;

}  // namespace Oru::Central
