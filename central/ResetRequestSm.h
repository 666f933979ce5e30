#pragma once

#include <tuple>

#include "runtime/kesh/NotifieeConst.h"
#include "runtime/kesh/StateMachine.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Export.h"
#include "state/ResetEntry.h"
#include "state/ResetKey.h"
#include "state/ResetRequestDir.h"
#include "state/ResetStatusDir.h"

namespace Oru::Central {

class CentralSm;

struct HN_NestedSm_ResetSm;

// Follows one directory of reset requests: keeps one nested machine per request that is present.
//
//   watches   resetRequestDir   resetRequest (field 258)   -> resetSmIs(entry) or resetSmDel(key)
//   owns      resetSm           by the request's key
//
// Without a request directory the machine is inert. When a single request is withdrawn its status
// record is deleted; when the whole machine goes, the records stay.
//
// INVARIANT, when no handler runs: each request in the directory has a nested machine that is bound
// to that very entry, and no other key has one.
class ORU_EXPORT ResetRequestSm : public Kesh::StateMachine<ResetRequestSm> {
 public:
  static constexpr char const* typeName = "Oru::Central::ResetRequestSm";
  class NestedSm_ResetSm;
  using NestedSms = Kesh::ChildCollection<HN_NestedSm_ResetSm, ResetKey, NestedSm_ResetSm>;

  // `centralSm` outlives the machine. Requests that are present are carried out before this
  // returns.
  static Vunda::Ptr<ResetRequestSm> ResetRequestSmIs(
      Vunda::String const& name, Vunda::Ptr<ResetRequestDir const> const& resetRequestDir,
      Vunda::Ptr<ResetStatusDir> const& resetStatusDir, CentralSm* centralSm);
  ~ResetRequestSm() override;

  Vunda::String const& name() const { return name_; }
  Vunda::Ptr<ResetRequestDir const> const& resetRequestDir() const {
    return resetRequestDir_.ptr();
  }
  Vunda::Ptr<ResetStatusDir> const& resetStatusDir() const { return resetStatusDir_; }
  CentralSm* centralSm() const { return centralSm_; }
  CentralSm* parentSm() const { return centralSm_; }

  NestedSms const& resetSm() const { return resetSm_; }
  Vunda::Ptr<NestedSm_ResetSm> resetSm(ResetKey const& key) const;
  // Makes the nested machine of the entry's key, or binds the one that is there to this entry;
  // either carries the request out, unless it is bound to this very entry already. Raises the
  // null-argument exception.
  void resetSmIs(Vunda::Ptr<ResetEntry const> const& entry);
  // Removes the nested machine of a key, and the status record; returns the entry it was bound to,
  // or null.
  Vunda::Ptr<ResetEntry const> resetSmDel(ResetKey const& key);
  // Removes each nested machine that is there now.
  void resetSmDelAll();

  // Passed on to every nested machine.
  void keshDoZombieReactors(bool zombie) override;

  static void resetRequestDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                   void const* key, void const* value) noexcept;

 private:
  friend class Kesh::StateMachine<ResetRequestSm>;

  ResetRequestSm(Vunda::String const& name,
                 Vunda::Ptr<ResetRequestDir const> const& resetRequestDir,
                 Vunda::Ptr<ResetStatusDir> const& resetStatusDir, CentralSm* centralSm);
  void takeUpPresentRequests();
  void handleResetRequest(ResetKey const& key);
  auto watched() { return std::tie(resetRequestDir_); }
  auto children() { return std::tie(resetSm_); }

  Vunda::String const name_;
  Kesh::Watched<ResetRequestSm, ResetRequestDir const> resetRequestDir_;
  Vunda::Ptr<ResetStatusDir> const resetStatusDir_;
  CentralSm* const centralSm_;
  NestedSms resetSm_;
};

// Carries out one reset request, and keeps its status record.
//
//   watches   resetSm      the request entry, genTime (field 261)   -> handleResetRequest
//   writes    the parent's resetStatusDir   the record of the request's key: resetCause,
//             resetReason, genTime
//   tells     the root's helper   featureAgentResetRequested
//   calls     CentralChipSm::doReset(true) for each chip that the request concerns and that was
//             configured before it
//
// A request is carried out when the machine is made, when it is bound to another entry, and when
// the entry's genTime changes. It is recorded whatever came of it, unless it was withdrawn
// meanwhile; a genTime of 0 asks for nothing.
//
// INVARIANTS, when no handler runs
//   - The record is the request as it was when it was last carried out; a withdrawn request has
//     none.
//   - Once a request was carried out, no chip that it concerned has a generation below the
//     request's, unless the request's time lay in the future.
class ORU_EXPORT ResetRequestSm::NestedSm_ResetSm
    : public Kesh::Typed<ResetRequestSm::NestedSm_ResetSm, Kesh::NotifieeConst> {
 public:
  static constexpr char const* typeName = "Oru::Central::ResetRequestSm::NestedSm_ResetSm";

  // Carries the request out. `parent` outlives the machine or lets go of it.
  NestedSm_ResetSm(Vunda::Ptr<ResetEntry const> const& entry, ResetRequestSm* parent);
  ~NestedSm_ResetSm() override;

  // The bound entry; null when none is.
  ResetEntry const* resetSm() const;
  // The bound entry's key; the default key when none is bound.
  ResetKey resetKey() const;
  // Null once the parent let go.
  ResetRequestSm* resetRequestSm() const { return resetRequestSm_; }
  ResetRequestSm* parentSm() const { return resetRequestSm_; }
  bool initialized() const { return initialized_; }

  // Binds to another entry and carries its request out. A node that is no entry counts as null.
  void notifierIs(Vunda::Ptr<Vunda::Node const> const& notifier);
  void onAttribute(Vunda::FieldId field, void const* key) override;
  // Every change of the flag switches the notifications and deletes the status record.
  void keshDoZombieReactors(bool zombie) override;

  void handleInitialized();
  void handleResetRequest();
  void handleSliceResetRequest(Vunda::String const& sliceName, Kesh::Seconds genTime);
  void handleChipResetRequest(Vunda::String const& sliceName, Vunda::String const& chipName,
                              Kesh::Seconds genTime);
  void handleDel(Oru::Central::ResetKey const& key);

 private:
  friend class ResetRequestSm;

  CentralSm& centralSm() const;
  void resetFeatureAgents(Kesh::Seconds genTime);
  void resetEverySlice(Kesh::Seconds genTime);
  bool withdrawn() const { return !resetRequestSm_ || zombieReactors(); }
  void record();

  ResetRequestSm* resetRequestSm_;
  bool initialized_ = false;
};

}  // namespace Oru::Central
