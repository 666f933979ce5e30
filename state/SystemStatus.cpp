#include "state/SystemStatus.h"

namespace Oru::Central {

SystemStatus::~SystemStatus() = default;

void SystemStatus::chipInfoIs(ChipInfo const& info) {
  publisher_.memberIs(chipInfoField, chipInfo_, info.deviceId(), info);
}

void SystemStatus::chipInfoDel(DeviceId id) { publisher_.memberDel(chipInfoField, chipInfo_, id); }

void SystemStatus::intfToChipPortIs(Lanko::IntfId intf, ChipPort port) {
  publisher_.memberIs(intfToChipPortField, intfToChipPort_, intf, port);
}

void SystemStatus::intfToChipPortDel(Lanko::IntfId intf) {
  publisher_.memberDel(intfToChipPortField, intfToChipPort_, intf);
}

void SystemStatus::sliceToChipMapIs(Vunda::String const& slice, ChipCollection const& chips) {
  publisher_.memberIs(sliceToChipMapField, sliceToChipMap_, slice, chips);
}

void SystemStatus::sliceToChipMapDel(Vunda::String const& slice) {
  publisher_.memberDel(sliceToChipMapField, sliceToChipMap_, slice);
}

}  // namespace Oru::Central
