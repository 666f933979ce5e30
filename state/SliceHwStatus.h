#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/vunda/Duration.h"

namespace Oru::Central {

// What the system has taken over of a slice's hardware configuration; named after the slice, in
// `hwStatusDir`.
//
//   genTime   seconds; generation of the hardware configuration taken over, 0 for none
//             written by CentralSliceSm; read by CentralSliceSm, CentralSm
class ORU_EXPORT SliceHwStatus : public Kesh::Typed<SliceHwStatus, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::SliceHwStatus";
  static constexpr Vunda::FieldId genTimeField{273};

  using Typed::Typed;
  ~SliceHwStatus() override;

  Vunda::Duration genTime() const noexcept { return genTime_; }
  void genTimeIs(Vunda::Duration genTime);

 private:
  Vunda::Duration genTime_;
};

}  // namespace Oru::Central
