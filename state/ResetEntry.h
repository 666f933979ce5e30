#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/FieldId.h"
#include "runtime/vunda/Publisher.h"
#include "runtime/vunda/String.h"
#include "state/ResetKey.h"
#include "state/ResetReason.h"

namespace Oru::Central {

// One reset request (member of ResetRequestDir.resetRequest) or its outcome (member of
// ResetStatusDir.resetStatus). It has no name: its key, which never changes, identifies it.
//
//   key           what is to be reset
//   resetCause    free text
//   resetReason   reason code, never interpreted
//   genTime       seconds; time of the request. 0: no request is pending
//
//   written by   the requester (a request), the reset machines (an outcome)
//   read by      the reset machines (a request), the requester (an outcome)
//
// A requester writes `genTime` last: its change is what makes the reset machines act.
class ORU_EXPORT ResetEntry : public Kesh::Typed<ResetEntry, Vunda::Node> {
 public:
  static constexpr char const* typeName = "Oru::Central::ResetEntry";
  static constexpr Vunda::FieldId genTimeField{261};
  static constexpr Vunda::FieldId resetCauseField{282};
  static constexpr Vunda::FieldId resetReasonField{283};

  explicit ResetEntry(ResetKey const& key) noexcept : key_(key) {}
  ~ResetEntry() override;

  Vunda::Publisher* publisher() const override;

  ResetKey const& key() const noexcept { return key_; }
  Vunda::String const& resetCause() const noexcept { return resetCause_; }
  ResetReason resetReason() const noexcept { return resetReason_; }
  Vunda::Duration genTime() const noexcept { return genTime_; }

  void resetCauseIs(Vunda::String const& resetCause);
  void resetReasonIs(ResetReason resetReason);
  void genTimeIs(Vunda::Duration genTime);

 private:
  ResetKey const key_;
  Vunda::String resetCause_;
  ResetReason resetReason_ = ResetReason::unspecified;
  Vunda::Duration genTime_;
  mutable Vunda::Publisher publisher_{*this};
};

}  // namespace Oru::Central
