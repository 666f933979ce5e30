#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Duration.h"
#include "state/ChipHwConfig.h"

namespace Oru::Central {

struct HN_ChipConfig;

// The hardware configuration of one slice, as the platform describes it; named after the slice, in
// `hwConfigDir`.
//
//   genTime      seconds; generation of this configuration, 0 while the slice is not (yet) present
//                written by the platform; read by CentralSliceSm, CentralSm
//   chipConfig   the slice's chips, by name
//                written by the platform; read by CentralSm, CentralSliceSm
//
// CentralSliceSm reacts to `genTime` alone. A platform that changes the chips of a live slice
// announces the slice again (Kesh::Dir::entityIs), then changes `genTime`.
class ORU_EXPORT SliceHwConfig : public Kesh::Typed<SliceHwConfig, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::SliceHwConfig";
  static constexpr Vunda::FieldId genTimeField{259};
  static constexpr Vunda::FieldId chipConfigField{270};

  using ChipConfigMap = Kesh::HashMap2018<HN_ChipConfig, Vunda::String, Vunda::Ptr<ChipHwConfig>>;

  using Typed::Typed;
  ~SliceHwConfig() override;

  Vunda::Duration genTime() const noexcept { return genTime_; }
  ChipConfigMap const& chipConfig() const noexcept { return chipConfig_; }
  // The chip of that name, or null.
  Vunda::Ptr<ChipHwConfig> chipConfig(Vunda::String const& chip) const {
    return chipConfig_.value(chip);
  }

  void genTimeIs(Vunda::Duration genTime);
  // Inserts a chip under its name, or replaces the one that stands there. Raises
  // MutatorArgNullPointerException on null.
  void chipConfigIs(Vunda::Ptr<ChipHwConfig> const& chip);
  void chipConfigDel(Vunda::String const& chip);

 private:
  ChipConfigMap chipConfig_;
  Vunda::Duration genTime_;
};

}  // namespace Oru::Central
