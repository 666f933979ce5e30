#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "state/ResetEntry.h"

namespace Oru::Central {

struct HN_ResetStatus;

// What became of the requests of one requester; in `resetStatusDir`, under the name of its request
// directory.
//
//   resetStatus   the requests that were carried out, by their key; a record goes when its request
//                 is withdrawn
//                 written by the reset machines; read by requesters
class ORU_EXPORT ResetStatusDir : public Kesh::Typed<ResetStatusDir, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::ResetStatusDir";
  static constexpr Vunda::FieldId resetStatusField{281};

  using ResetStatusMap = Kesh::HashMap2018<HN_ResetStatus, ResetKey, Vunda::Ptr<ResetEntry>>;

  using Typed::Typed;
  ~ResetStatusDir() override;

  ResetStatusMap const& resetStatus() const noexcept { return resetStatus_; }
  // The record of that key, or null.
  Vunda::Ptr<ResetEntry> resetStatus(ResetKey const& key) const { return resetStatus_.value(key); }

  // The record of that key; made, inserted and announced when there is none.
  Vunda::Ptr<ResetEntry> resetStatusIs(ResetKey const& key);
  void resetStatusDel(ResetKey const& key);

 private:
  ResetStatusMap resetStatus_;
};

}  // namespace Oru::Central
