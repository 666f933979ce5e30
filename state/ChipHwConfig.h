#pragma once

#include <cstdint>

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "state/DeviceId.h"
#include "state/PortHwConfig.h"
#include "state/PortId.h"

namespace Oru::Central {

struct HN_PortConfig;

// One chip of a slice, as the platform describes it; named after the chip, member of
// SliceHwConfig.chipConfig.
//
//   deviceId     raw 16-bit number, not checked here: whoever reads it makes a DeviceId of it, and
//                meets the range error then
//                written by the platform; read by CentralSm, CentralSliceSm
//   portConfig   the chip's ports, by port number
//                written by the platform; read by CentralChipSm
class ORU_EXPORT ChipHwConfig : public Kesh::Typed<ChipHwConfig, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::ChipHwConfig";
  static constexpr Vunda::FieldId deviceIdField{271};
  static constexpr Vunda::FieldId portConfigField{272};

  using PortConfigMap = Kesh::HashMap2018<HN_PortConfig, PortId, Vunda::Ptr<PortHwConfig>>;

  using Typed::Typed;
  ~ChipHwConfig() override;

  std::uint16_t deviceId() const noexcept { return deviceId_; }
  PortConfigMap const& portConfig() const noexcept { return portConfig_; }
  // The port of that number, or null.
  Vunda::Ptr<PortHwConfig> portConfig(PortId port) const { return portConfig_.value(port); }

  void deviceIdIs(std::uint16_t raw);
  // Inserts or replaces a port. Raises MutatorArgNullPointerException on null.
  void portConfigIs(PortId port, Vunda::Ptr<PortHwConfig> const& config);
  void portConfigDel(PortId port);

 private:
  PortConfigMap portConfig_;
  std::uint16_t deviceId_ = DeviceId::null;
};

}  // namespace Oru::Central
