#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "state/ChipCollection.h"
#include "state/ChipInfo.h"
#include "state/ChipPort.h"
#include "state/DeviceId.h"
#include "state/IntfId.h"

namespace Oru::Central {

struct HN_ChipInfo;
struct HN_IntfToChipPort;
struct HN_SliceToChipMap;

// What runs, for the whole system to see.
//
//   chipInfo         every published chip, by device id
//                    written and read by CentralChipSm, CentralSm; read by other agents
//   intfToChipPort   where each interface sits
//                    written by CentralChipSm, CentralSm; read by other agents
//   sliceToChipMap   the chips of each slice, by slice name; the key stays when its collection
//                    becomes empty, and goes with the slice machine
//                    written by CentralChipSm, CentralSm, CentralSliceSm; read by CentralChipSm,
//                    CentralSm, other agents
//
// Lookups return copies, since the entry may change or go under any notification.
class ORU_EXPORT SystemStatus : public Kesh::Typed<SystemStatus, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::SystemStatus";
  static constexpr Vunda::FieldId chipInfoField{278};
  static constexpr Vunda::FieldId intfToChipPortField{279};
  static constexpr Vunda::FieldId sliceToChipMapField{280};

  using ChipInfoMap = Kesh::HashMap2018<HN_ChipInfo, DeviceId, ChipInfo>;
  using IntfToChipPortMap = Kesh::HashMap2018<HN_IntfToChipPort, Lanko::IntfId, ChipPort>;
  using SliceToChipMap = Kesh::HashMap2018<HN_SliceToChipMap, Vunda::String, ChipCollection>;

  using Typed::Typed;
  ~SystemStatus() override;

  ChipInfoMap const& chipInfo() const noexcept { return chipInfo_; }
  // The chip published under that id; the absent value, ChipInfo(), when there is none.
  ChipInfo chipInfo(DeviceId id) const { return chipInfo_.value(id); }
  IntfToChipPortMap const& intfToChipPort() const noexcept { return intfToChipPort_; }
  // The chip port of that interface; a port of no device when there is none.
  ChipPort intfToChipPort(Lanko::IntfId intf) const { return intfToChipPort_.value(intf); }
  SliceToChipMap const& sliceToChipMap() const noexcept { return sliceToChipMap_; }
  // The chips of that slice; an empty collection when the slice has no key.
  ChipCollection sliceToChipMap(Vunda::String const& slice) const {
    return sliceToChipMap_.value(slice);
  }

  // Writes a chip under its device id.
  void chipInfoIs(ChipInfo const& info);
  void chipInfoDel(DeviceId id);
  void intfToChipPortIs(Lanko::IntfId intf, ChipPort port);
  void intfToChipPortDel(Lanko::IntfId intf);
  void sliceToChipMapIs(Vunda::String const& slice, ChipCollection const& chips);
  void sliceToChipMapDel(Vunda::String const& slice);

 private:
  ChipInfoMap chipInfo_;
  IntfToChipPortMap intfToChipPort_;
  SliceToChipMap sliceToChipMap_;
};

}  // namespace Oru::Central
