#include "central/ResetRequestSm.h"

#include "central/CentralSm.h"
#include "central/DefaultTraceHandle.h"
#include "runtime/kesh/Trace.h"

namespace Oru::Central {

using Vunda::Ptr;
using Vunda::String;

Ptr<ResetRequestSm> ResetRequestSm::ResetRequestSmIs(
    String const& name, Ptr<ResetRequestDir const> const& resetRequestDir,
    Ptr<ResetStatusDir> const& resetStatusDir, CentralSm* centralSm) {
  return created(Ptr<ResetRequestSm>::adopt(
      new ResetRequestSm(name, resetRequestDir, resetStatusDir, centralSm)));
}

ResetRequestSm::ResetRequestSm(String const& name,
                               Ptr<ResetRequestDir const> const& resetRequestDir,
                               Ptr<ResetStatusDir> const& resetStatusDir, CentralSm* centralSm)
    : name_(name),
      resetRequestDir_(*this, resetRequestDir, &resetRequestDispatch),
      resetStatusDir_(resetStatusDir),
      centralSm_(centralSm) {
  subscribeAndRun([this] { takeUpPresentRequests(); });
}

// The nested machines become zombies while this machine's use count is zero already, so none
// deletes its record.
ResetRequestSm::~ResetRequestSm() {
  deactivate([] {});
  resetSm_.forEach([](NestedSm_ResetSm& nested) { nested.resetRequestSm_ = nullptr; });
  resetSm_.childDelAll();
}

void ResetRequestSm::takeUpPresentRequests() {
  if (!resetRequestDir()) return;
  for (auto request = resetRequestDir()->resetRequest().iterator(); request; ++request) {
    if (Ptr<ResetEntry const> const entry = request.value()) resetSmIs(entry);
  }
}

// Brings the nested machine of one key in line with what the directory holds.
void ResetRequestSm::handleResetRequest(ResetKey const& key) {
  if (!resetRequestDir()) return;
  if (Ptr<ResetEntry const> const entry = resetRequestDir()->resetRequest(key)) {
    resetSmIs(entry);
  } else {
    resetSmDel(key);
  }
}

Ptr<ResetRequestSm::NestedSm_ResetSm> ResetRequestSm::resetSm(ResetKey const& key) const {
  return resetSm_.child(key);
}

void ResetRequestSm::resetSmIs(Ptr<ResetEntry const> const& entry) {
  if (!entry) Kesh::throwMutatorArgNullPointerException(typeName, "resetSm");
  ResetKey const key = entry->key();
  if (Ptr<NestedSm_ResetSm> const nested = resetSm(key)) {
    if (nested->resetSm() == entry.ptr()) return;
    nested->notifierIs(entry);
    bool const withdrawnMeanwhile = !nested->resetRequestSm();
    if (!withdrawnMeanwhile) nested->keshDoZombieReactors(zombieReactors());
    return;
  }
  if (resetSm_.underConstruction(key)) {
    ORU_TRACE(3, "Skip creating resetSm for {} because it is being created", ringText(key));
    return;
  }
  auto const [nested, disturbed] = resetSm_.newChild(key, [&] {
    auto made = Vunda::makeNode<NestedSm_ResetSm>(entry, this);
    made->hasNotificationActiveIs(true);
    return made;
  });
  nested->keshDoZombieReactors(zombieReactors());
  if (disturbed) handleResetRequest(key);
}

Ptr<ResetEntry const> ResetRequestSm::resetSmDel(ResetKey const& key) {
  Ptr<NestedSm_ResetSm> const nested = resetSm_.childDel(key);
  if (!nested) return nullptr;
  Kesh::KeepAlive<ResetRequestSm> const keepAlive(*this);
  nested->keshDoZombieReactors(true);
  nested->resetRequestSm_ = nullptr;
  nested->hasNotificationActiveIs(false);
  return Ptr<ResetEntry const>(nested->resetSm());
}

void ResetRequestSm::resetSmDelAll() {
  resetSm_.forEach([this](NestedSm_ResetSm& nested) { resetSmDel(nested.resetKey()); });
}

void ResetRequestSm::keshDoZombieReactors(bool zombie) {
  if (zombie == zombieReactors()) return;
  resetSm_.forEach([zombie](NestedSm_ResetSm& nested) { nested.keshDoZombieReactors(zombie); });
  nodeFlagSet(zombieReactorsFlag, zombie);
}

void ResetRequestSm::resetRequestDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                          Vunda::FieldId field, void const* key,
                                          void const*) noexcept {
  dispatchToZombies(
      &ResetRequestSm::resetRequestDir_, slot, field == ResetRequestDir::resetRequestField,
      [key](ResetRequestSm& self) { self.handleResetRequest(*static_cast<ResetKey const*>(key)); });
}

}  // namespace Oru::Central
