#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/vunda/Duration.h"
#include "state/DeviceId.h"

namespace Oru::Central {

// What the system asks of a chip's agent; named after the chip, in its slice's sub-directory of
// `configDir`. The platform helper creates it (createChipConfig), without device, disabled and
// never started.
//
//   deviceId      the chip's device number, 0 to 64
//                 written by CentralSm, CentralSliceSm; read by CentralChipSm, CentralSm
//   enabled       whether the chip agent is to run
//                 written by CentralChipSm; read by CentralChipSm, the chip agent
//   genTime       seconds; generation that the agent is to run, 0 while never started. A new one
//                 restarts the agent
//                 written by CentralChipSm; read by CentralChipSm, CentralSm, the reset machines,
//                 the chip agent
//   syncGenTime   seconds; generation of the last synchronisation
//                 written by CentralChipSm; read by the chip agent
class ORU_EXPORT ChipConfig : public Kesh::Typed<ChipConfig, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::ChipConfig";
  static constexpr Vunda::FieldId deviceIdField{274};
  static constexpr Vunda::FieldId enabledField{275};
  static constexpr Vunda::FieldId genTimeField{276};
  static constexpr Vunda::FieldId syncGenTimeField{277};

  using Typed::Typed;
  ~ChipConfig() override;

  DeviceId deviceId() const noexcept { return deviceId_; }
  bool enabled() const noexcept { return enabled_; }
  Vunda::Duration genTime() const noexcept { return genTime_; }
  Vunda::Duration syncGenTime() const noexcept { return syncGenTime_; }

  void deviceIdIs(DeviceId deviceId);
  void enabledIs(bool enabled);
  void genTimeIs(Vunda::Duration genTime);
  void syncGenTimeIs(Vunda::Duration syncGenTime);

 private:
  Vunda::Duration genTime_;
  Vunda::Duration syncGenTime_;
  DeviceId deviceId_;
  bool enabled_ = false;
};

}  // namespace Oru::Central
