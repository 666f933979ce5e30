#include "state/ChipConfig.h"

namespace Oru::Central {

ChipConfig::~ChipConfig() = default;

void ChipConfig::deviceIdIs(DeviceId deviceId) {
  publisher_.attributeIs(deviceIdField, deviceId_, deviceId);
}

void ChipConfig::enabledIs(bool enabled) {
  publisher_.attributeIs(enabledField, enabled_, enabled);
}

void ChipConfig::genTimeIs(Vunda::Duration genTime) {
  publisher_.attributeIs(genTimeField, genTime_, genTime);
}

void ChipConfig::syncGenTimeIs(Vunda::Duration syncGenTime) {
  publisher_.attributeIs(syncGenTimeField, syncGenTime_, syncGenTime);
}

}  // namespace Oru::Central
