#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "state/ResetEntry.h"

namespace Oru::Central {

struct HN_ResetRequest;

// The reset requests of one requester; an entry of `resetRequestDir`, named as the requester likes.
//
//   resetRequest   pending requests, by their key
//                  written by requesters; read by CentralSm, ResetRequestSm
class ORU_EXPORT ResetRequestDir : public Kesh::Typed<ResetRequestDir, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::Central::ResetRequestDir";
  static constexpr Vunda::FieldId resetRequestField{258};

  using ResetRequestMap = Kesh::HashMap2018<HN_ResetRequest, ResetKey, Vunda::Ptr<ResetEntry>>;

  using Typed::Typed;
  ~ResetRequestDir() override;

  ResetRequestMap const& resetRequest() const noexcept { return resetRequest_; }
  // The request of that key, or null.
  Vunda::Ptr<ResetEntry> resetRequest(ResetKey const& key) const {
    return resetRequest_.value(key);
  }

  // Inserts a request under its key, in place of one that stands there, and announces it. Inserting
  // the very object that is there announces it again. Raises MutatorArgNullPointerException on
  // null.
  void resetRequestIs(Vunda::Ptr<ResetEntry> const& entry);
  void resetRequestDel(ResetKey const& key);

 private:
  ResetRequestMap resetRequest_;
};

}  // namespace Oru::Central
