#include "state/ChipHwConfig.h"

#include "runtime/kesh/MutatorException.h"

namespace Oru::Central {

ChipHwConfig::~ChipHwConfig() = default;

void ChipHwConfig::deviceIdIs(std::uint16_t raw) { attributeIs(deviceIdField, deviceId_, raw); }

void ChipHwConfig::portConfigIs(PortId port, Vunda::Ptr<PortHwConfig> const& config) {
  if (!config) Kesh::throwMutatorArgNullPointerException(typeName, "portConfig");
  memberIs(portConfigField, portConfig_, port, config);
}

void ChipHwConfig::portConfigDel(PortId port) { memberDel(portConfigField, portConfig_, port); }

}  // namespace Oru::Central
