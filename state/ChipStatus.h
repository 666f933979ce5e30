#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Duration.h"
#include "state/IntfId.h"
#include "state/PortId.h"

namespace Oru::Central {

struct HN_IntfToPortId;

// What a chip's agent reports; named after the chip, in its slice's sub-directory of `statusDir`.
//
//   genTime        seconds; generation of the configuration that the agent runs, 0 for none
//                  written by the chip agent; read by CentralChipSm, CentralSm
//   intfToPortId   the chip's interfaces and their ports
//                  written by the chip agent; read by CentralChipSm
class ORU_EXPORT ChipStatus : public Kesh::Typed<ChipStatus, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::ChipStatus";
  static constexpr Vunda::FieldId genTimeField{260};
  static constexpr Vunda::FieldId intfToPortIdField{261};

  using IntfToPortIdMap = Kesh::HashMap2018<HN_IntfToPortId, Lanko::IntfId, PortId>;

  using Typed::Typed;
  ~ChipStatus() override;

  Vunda::Duration genTime() const noexcept { return genTime_; }
  IntfToPortIdMap const& intfToPortId() const noexcept { return intfToPortId_; }

  void genTimeIs(Vunda::Duration genTime);
  void intfToPortIdIs(Lanko::IntfId intf, PortId port);
  void intfToPortIdDel(Lanko::IntfId intf);

 private:
  IntfToPortIdMap intfToPortId_;
  Vunda::Duration genTime_;
};

}  // namespace Oru::Central
