#include "state/ChipHwConfig.h"

#include "runtime/kesh/MutatorException.h"

namespace Oru::Central {

ChipHwConfig::~ChipHwConfig() = default;

void ChipHwConfig::deviceIdIs(std::uint16_t raw) {
  publisher_.attributeIs(deviceIdField, deviceId_, raw);
}

void ChipHwConfig::portConfigIs(PortId port, Vunda::Ptr<PortHwConfig> const& given) {
  if (!given) Kesh::throwMutatorArgNullPointerException(typeName, "portConfig");
  Vunda::Ptr<PortHwConfig> const config = given;  // a callback may drop the caller's pointer
  publisher_.memberIs(portConfigField, portConfig_, port, config);
}

void ChipHwConfig::portConfigDel(PortId port) {
  publisher_.memberDel(portConfigField, portConfig_, port);
}

}  // namespace Oru::Central
