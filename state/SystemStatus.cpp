#include "state/SystemStatus.h"

namespace Oru::Central {

SystemStatus::~SystemStatus() = default;

void SystemStatus::chipInfoIs(ChipInfo const& info) {
  memberIs(chipInfoField, chipInfo_, info.deviceId(), info);
}

void SystemStatus::chipInfoDel(DeviceId id) { memberDel(chipInfoField, chipInfo_, id); }

void SystemStatus::intfToChipPortIs(Lanko::IntfId intf, ChipPort port) {
  memberIs(intfToChipPortField, intfToChipPort_, intf, port);
}

void SystemStatus::intfToChipPortDel(Lanko::IntfId intf) {
  memberDel(intfToChipPortField, intfToChipPort_, intf);
}

void SystemStatus::sliceToChipMapIs(Vunda::String const& slice, ChipCollection const& chips) {
  memberIs(sliceToChipMapField, sliceToChipMap_, slice, chips);
}

void SystemStatus::sliceToChipMapDel(Vunda::String const& slice) {
  memberDel(sliceToChipMapField, sliceToChipMap_, slice);
}

}  // namespace Oru::Central
