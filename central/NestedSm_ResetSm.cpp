#include "central/CentralSm.h"
#include "central/DefaultTraceHandle.h"
#include "central/ResetRequestSm.h"
#include "runtime/kesh/KeepAlive.h"
#include "runtime/kesh/Trace.h"
#include "runtime/vunda/Assert.h"

namespace Oru::Central {

using Kesh::Seconds;
using Vunda::Ptr;
using Vunda::String;

ResetRequestSm::NestedSm_ResetSm::NestedSm_ResetSm(Ptr<ResetEntry const> const& entry,
                                                   ResetRequestSm* parent)
    : resetRequestSm_(parent) {
  NotifieeConst::notifierIs(entry.ptr());
  isRegisteredNotifieeIs(true);
  handleInitialized();
}

ResetRequestSm::NestedSm_ResetSm::~NestedSm_ResetSm() {
  hasNotificationActiveIs(false);
  NestedSm_ResetSm::keshDoZombieReactors(true);
}

// Only entries are ever bound.
ResetEntry const* ResetRequestSm::NestedSm_ResetSm::resetSm() const {
  return static_cast<ResetEntry const*>(notifier());
}

ResetKey ResetRequestSm::NestedSm_ResetSm::resetKey() const {
  return resetSm() ? resetSm()->key() : ResetKey();
}

void ResetRequestSm::NestedSm_ResetSm::notifierIs(Ptr<Vunda::Node const> const& notifier) {
  auto const entry = Vunda::ptrCast<ResetEntry const>(notifier);
  if (entry.ptr() == resetSm()) return;
  NotifieeConst::notifierIs(entry.ptr());
  if (entry && !zombieReactors()) handleResetRequest();
  isRegisteredNotifieeIs(true);
}

void ResetRequestSm::NestedSm_ResetSm::onAttribute(Vunda::FieldId field, void const*) {
  if (field == ResetEntry::genTimeField && !zombieReactors()) handleResetRequest();
}

void ResetRequestSm::NestedSm_ResetSm::keshDoZombieReactors(bool zombie) {
  if (zombie == zombieReactors()) return;
  if (notifier()) hasNotificationActiveIs(!zombie);
  handleDel(resetKey());
  NotifieeConst::keshDoZombieReactors(zombie);
}

void ResetRequestSm::NestedSm_ResetSm::handleInitialized() {
  ORU_TRACE_ENTRY(resetKey());
  initialized_ = true;
  handleResetRequest();
}

void ResetRequestSm::NestedSm_ResetSm::handleResetRequest() {
  ORU_TRACE_ENTRY_AS("%s genTime %s", resetKey(), resetSm() ? resetSm()->genTime() : Seconds());
  ORU_ASSERT(resetSm());
  Seconds const genTime = resetSm()->genTime();
  if (genTime == Seconds()) return;
  Kesh::KeepAlive<NestedSm_ResetSm> const keepAlive(*this);
  ResetKey const key = resetKey();
  switch (key.resetType()) {
    case ResetType::slice:
      handleSliceResetRequest(key.sliceName(), genTime);
      break;
    case ResetType::chip:
      handleChipResetRequest(key.sliceName(), key.chipName(), genTime);
      break;
    case ResetType::featureAgents:
      resetFeatureAgents(genTime);
      break;
    default:
      resetEverySlice(genTime);
  }
  if (!withdrawn()) record();
}

CentralSm& ResetRequestSm::NestedSm_ResetSm::centralSm() const {
  ORU_ASSERT(resetRequestSm());
  return *resetRequestSm()->centralSm();
}

void ResetRequestSm::NestedSm_ResetSm::resetFeatureAgents(Seconds genTime) {
  Ptr<OruHelper::CentralHelper> const helper = centralSm().helper();
  ORU_ASSERT(helper);
  helper->featureAgentResetRequested(genTime);
}

void ResetRequestSm::NestedSm_ResetSm::resetEverySlice(Seconds genTime) {
  for (auto slice = centralSm().sliceSm().iterator(); slice && !withdrawn(); ++slice) {
    handleSliceResetRequest(String(slice.key()), genTime);
  }
}

void ResetRequestSm::NestedSm_ResetSm::record() {
  Ptr<ResetStatusDir> const statusDir = resetRequestSm()->resetStatusDir();
  ORU_ASSERT(statusDir);
  Ptr<ResetEntry const> const request(resetSm());
  Ptr<ResetEntry> const status = statusDir->resetStatusIs(request->key());
  status->resetCauseIs(request->resetCause());
  status->resetReasonIs(request->resetReason());
  status->genTimeIs(request->genTime());
}

void ResetRequestSm::NestedSm_ResetSm::handleSliceResetRequest(Vunda::String const& sliceName,
                                                               Kesh::Seconds genTime) {
  ORU_TRACE_ENTRY_AS("sliceName %s genTime %s", sliceName, genTime);
  Ptr<CentralSliceSm> const slice = centralSm().sliceSm(sliceName);
  if (!slice) {
    ORU_TRACE(3, "Skip resetting slice {} because the slice is not inserted", sliceName);
    return;
  }
  for (auto chip = slice->chipSm().iterator(); chip && !withdrawn(); ++chip) {
    handleChipResetRequest(sliceName, String(chip.key()), genTime);
  }
}

void ResetRequestSm::NestedSm_ResetSm::handleChipResetRequest(Vunda::String const& sliceName,
                                                              Vunda::String const& chipName,
                                                              Kesh::Seconds genTime) {
  ORU_TRACE_ENTRY_AS("chipName %s genTime %s", chipName, genTime);
  Ptr<CentralSliceSm> const slice = centralSm().sliceSm(sliceName);
  if (!slice) {
    ORU_TRACE(3, "Skip resetting slice {} because the slice is not inserted", sliceName);
    return;
  }
  Ptr<CentralChipSm> const chip = slice->chipSm(chipName);
  if (!chip) {
    ORU_TRACE(3, "Skip resetting chip {} because the chip cannot be found", chipName);
    return;
  }
  ORU_ASSERT(chip->config());
  if (genTime > chip->config()->genTime()) {
    ORU_TRACE(1, "Reset chip {}", chipName);
    chip->doReset(true);
  } else {
    ORU_TRACE(3, "Skip resetting chip {} because the request is outdated", chipName);
  }
}

void ResetRequestSm::NestedSm_ResetSm::handleDel(Oru::Central::ResetKey const& key) {
  if (!resetRequestSm() || resetRequestSm()->useCount() == 0) return;
  ORU_TRACE_ENTRY(key);
  Ptr<ResetStatusDir> const statusDir = resetRequestSm()->resetStatusDir();
  ORU_ASSERT(statusDir);
  statusDir->resetStatusDel(key);
}

}  // namespace Oru::Central
