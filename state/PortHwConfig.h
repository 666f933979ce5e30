#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"
#include "state/IntfId.h"

namespace Oru::Central {

// One port of a chip, as the platform describes it. It never changes and announces nothing: a port
// that is to change is replaced in its chip's `portConfig`. A chip may have thousands, so it holds
// nothing else.
//
//   intfName   name of the port's network interface; empty for none
//              written by the platform
//   intfId     the id of that name, found once; invalid for none
//              read by CentralChipSm
class ORU_EXPORT PortHwConfig : public Kesh::Typed<PortHwConfig, Vunda::Node> {
 public:
  static constexpr char const* typeName = "Oru::Central::PortHwConfig";

  explicit PortHwConfig(Vunda::String const& intfName);
  ~PortHwConfig() override;

  Vunda::String const& intfName() const noexcept { return intfName_; }
  Lanko::IntfId intfId() const noexcept { return intfId_; }

 private:
  Lanko::IntfId intfId_;
  Vunda::String const intfName_;
};

static_assert(sizeof(PortHwConfig) == 24);

}  // namespace Oru::Central
