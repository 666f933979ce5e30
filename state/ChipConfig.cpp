#include "state/ChipConfig.h"

namespace Oru::Central {

ChipConfig::~ChipConfig() = default;

void ChipConfig::deviceIdIs(DeviceId deviceId) { attributeIs(deviceIdField, deviceId_, deviceId); }

void ChipConfig::enabledIs(bool enabled) { attributeIs(enabledField, enabled_, enabled); }

void ChipConfig::genTimeIs(Vunda::Duration genTime) {
  attributeIs(genTimeField, genTime_, genTime);
}

void ChipConfig::syncGenTimeIs(Vunda::Duration syncGenTime) {
  attributeIs(syncGenTimeField, syncGenTime_, syncGenTime);
}

}  // namespace Oru::Central
