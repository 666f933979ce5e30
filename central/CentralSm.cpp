#include "central/CentralSm.h"

#include <utility>

#include "central/DefaultTraceHandle.h"
#include "central/EntityLookup.h"
#include "runtime/kesh/Trace.h"
#include "runtime/vunda/Assert.h"
#include "state/StateTypes.h"

namespace Oru::Central {

using OruHelper::CentralHelper;
using Vunda::Ptr;
using Vunda::String;

Ptr<CentralSm> CentralSm::CentralSmIs(
    Ptr<Kesh::Dir const> const& hwConfigDir, Ptr<Kesh::Dir> const& hwStatusDir,
    Ptr<Kesh::Dir> const& configDir, Ptr<Kesh::Dir> const& statusDir,
    Ptr<SystemStatus> const& systemStatus, Ptr<Kesh::Dir const> const& resetRequestDir,
    Ptr<Kesh::Dir> const& resetStatusDir, Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
    Ptr<Kesh::Dir> const& chipLauncherConfigDir, Ptr<Kesh::Dir> const& featureLauncherConfigDir,
    Ptr<CentralHelper> const& helper) {
  registerStateTypes();
  return created(Ptr<CentralSm>::adopt(new CentralSm(
      hwConfigDir, hwStatusDir, configDir, statusDir, systemStatus, resetRequestDir, resetStatusDir,
      sliceLauncherConfigDir, chipLauncherConfigDir, featureLauncherConfigDir, helper)));
}

CentralSm::CentralSm(Ptr<Kesh::Dir const> const& hwConfigDir, Ptr<Kesh::Dir> const& hwStatusDir,
                     Ptr<Kesh::Dir> const& configDir, Ptr<Kesh::Dir> const& statusDir,
                     Ptr<SystemStatus> const& systemStatus,
                     Ptr<Kesh::Dir const> const& resetRequestDir,
                     Ptr<Kesh::Dir> const& resetStatusDir,
                     Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
                     Ptr<Kesh::Dir> const& chipLauncherConfigDir,
                     Ptr<Kesh::Dir> const& featureLauncherConfigDir,
                     Ptr<CentralHelper> const& helper)
    : hwConfigDir_(*this, hwConfigDir, &hwConfigDirDispatch),
      hwStatusDir_(hwStatusDir),
      configDir_(configDir),
      statusDir_(*this, statusDir, &statusDirDispatch),
      systemStatus_(systemStatus),
      resetRequestDir_(*this, resetRequestDir, &resetRequestDirDispatch),
      resetStatusDir_(resetStatusDir),
      sliceLauncherConfigDir_(sliceLauncherConfigDir),
      chipLauncherConfigDir_(chipLauncherConfigDir),
      featureLauncherConfigDir_(featureLauncherConfigDir),
      helper_(helper) {
  subscribeAndRun([this] { handleInitialized(); });
}

CentralSm::~CentralSm() {
  deactivate([] {});
  featureCollDel();
  featureCollSmDel();
  resetSm_.parentGone();
  sliceSm_.parentGone();
}

void CentralSm::handleInitialized() {
  ORU_TRACE_ENTRY();
  ORU_ASSERT(helper());
  helper()->initialize();
  featureCollIs();
  helper()->featureCollection(featureColl());
  syncStateOnInit();
  initialized_ = true;
  handleHwConfigDir();
  handleResetRequestDir();
}

void CentralSm::handleHwConfigDir() {
  ORU_TRACE_ENTRY();
  if (!hwConfigDir()) return;
  for (auto slice = hwConfigDir()->entityPtrIteratorConst(); slice; ++slice) {
    handleHwConfigDir(slice.name());
  }
}

void CentralSm::handleHwConfigDir(Vunda::String const& name) {
  ORU_TRACE_ENTRY(name);
  if (auto const hwConfig = entityAs<SliceHwConfig const>(hwConfigDir(), name)) {
    sliceIsConfigured(name, *hwConfig);
  } else {
    sliceIsNotConfigured(name);
  }
}

// The chip configurations and the hardware status stand before the launcher entry: a launcher that
// answers at once makes the slice's status entry, and so the slice machine, inside that call.
void CentralSm::sliceIsConfigured(String const& name, SliceHwConfig const& hwConfig) {
  ORU_ASSERT(configDir());
  ORU_ASSERT(hwStatusDir());
  auto const sliceConfigDir =
      Vunda::ptrCast<Kesh::Dir>(configDir()->createEntity(Kesh::Dir::typeName, name));
  ORU_ASSERT(sliceConfigDir);
  createChipConfigs(hwConfig, sliceConfigDir);
  if (!hwStatusDir()->entityPtrHas(name))
    hwStatusDir()->createEntity(SliceHwStatus::typeName, name);
  if (sliceLauncherConfigDir()) {
    ORU_TRACE(3, "Starting slice agent {}", name);
    sliceLauncherConfigDir()->createEntity(Kesh::Dir::typeName, name);
  }
  handleStatusDir(name);
}

void CentralSm::createChipConfigs(SliceHwConfig const& hwConfig,
                                  Ptr<Kesh::Dir> const& sliceConfigDir) {
  ORU_ASSERT(helper());
  for (auto chip = hwConfig.chipConfig().iterator(); chip; ++chip) {
    Ptr<ChipHwConfig const> const chipHwConfig = chip.value();
    if (!chipHwConfig) continue;
    auto const chipConfig = helper()->createChipConfig(String(chip.key()), sliceConfigDir);
    DeviceId const deviceId(chipHwConfig->deviceId());
    if (chipConfig) chipConfig->deviceIdIs(deviceId);
  }
}

void CentralSm::sliceIsNotConfigured(String const& name) {
  ORU_ASSERT(hwStatusDir());
  hwStatusDir()->deleteEntity(name);
  if (!entityIn(statusDir(), name)) return;
  if (sliceSm(name)) return;  // it deletes the launcher entry itself when it goes
  if (sliceLauncherConfigDir()) {
    ORU_TRACE(3, "Stopping slice agent {}", name);
    sliceLauncherConfigDir()->deleteEntity(name);
  }
}

void CentralSm::handleStatusDir(Vunda::String const& name) {
  ORU_TRACE_ENTRY(name);
  if (!entityIn(statusDir(), name)) {
    sliceSmDel(name);
    return;
  }
  if (!entityIn(hwConfigDir(), name)) {
    sliceSmDel(name);
    return;
  }
  ORU_TRACE(2, "creating sliceSm");
  auto const sliceStatusDir = entityAs<Kesh::Dir>(statusDir(), name);
  auto const sliceConfigDir = entityAs<Kesh::Dir>(configDir(), name);
  auto const hwStatus = entityAs<SliceHwStatus>(hwStatusDir(), name);
  auto const hwConfig = entityAs<SliceHwConfig const>(hwConfigDir(), name);
  sliceSmIs(name, hwConfig, hwStatus, sliceConfigDir, sliceStatusDir, systemStatus());
}

void CentralSm::handleResetRequestDir() {
  ORU_TRACE_ENTRY();
  if (!resetRequestDir()) return;
  for (auto dir = resetRequestDir()->entityPtrIteratorConst(); dir; ++dir) {
    handleResetRequestDir(dir.name());
  }
}

void CentralSm::handleResetRequestDir(Vunda::String const& name) {
  ORU_TRACE_ENTRY(name);
  auto const requestDir = entityAs<ResetRequestDir const>(resetRequestDir(), name);
  if (!requestDir) {
    resetSmDel(name);
    return;
  }
  ORU_ASSERT(resetStatusDir());
  resetStatusDir()->createEntity(ResetStatusDir::typeName, name);
  resetSmIs(name, requestDir, entityAs<ResetStatusDir>(resetStatusDir(), name));
}

Ptr<CentralSliceSm> CentralSm::sliceSmIs(String const& name,
                                         Ptr<SliceHwConfig const> const& hwConfig,
                                         Ptr<SliceHwStatus> const& hwStatus,
                                         Ptr<Kesh::Dir> const& configDir,
                                         Ptr<Kesh::Dir const> const& statusDir,
                                         Ptr<SystemStatus> const& systemStatus) {
  if (Ptr<CentralSliceSm> const existing = sliceSm(name)) {
    Kesh::sameArgument(typeName, "sliceSm.hwConfig", existing->hwConfig(), hwConfig);
    Kesh::sameArgument(typeName, "sliceSm.hwStatus", existing->hwStatus(), hwStatus);
    Kesh::sameArgument(typeName, "sliceSm.configDir", existing->configDir(), configDir);
    Kesh::sameArgument(typeName, "sliceSm.statusDir", existing->statusDir(), statusDir);
    Kesh::sameArgument(typeName, "sliceSm.systemStatus", existing->systemStatus(), systemStatus);
    return existing;
  }
  if (sliceSm_.underConstruction(name)) {
    ORU_TRACE(3, "Skip creating sliceSm for {} because it is being created", name);
    return nullptr;
  }
  auto const [slice, disturbed] = sliceSm_.newChild(name, [&] {
    return CentralSliceSm::CentralSliceSmIs(name, hwConfig, hwStatus, configDir, statusDir,
                                            systemStatus, this);
  });
  if (disturbed) handleStatusDir(name);
  return slice;
}

Ptr<CentralSliceSm> CentralSm::sliceSmDel(String const& name) { return sliceSm_.childDel(name); }

void CentralSm::sliceSmDelAll() { sliceSm_.childDelAll(); }

Ptr<ResetRequestSm> CentralSm::resetSmIs(String const& name,
                                         Ptr<ResetRequestDir const> const& resetRequestDir,
                                         Ptr<ResetStatusDir> const& resetStatusDir) {
  if (Ptr<ResetRequestSm> const existing = resetSm(name)) {
    Kesh::sameArgument(typeName, "resetSm.resetRequestDir", existing->resetRequestDir(),
                       resetRequestDir);
    Kesh::sameArgument(typeName, "resetSm.resetStatusDir", existing->resetStatusDir(),
                       resetStatusDir);
    return existing;
  }
  if (resetSm_.underConstruction(name)) {
    ORU_TRACE(3, "Skip creating resetSm for {} because it is being created", name);
    return nullptr;
  }
  auto const [machine, disturbed] = resetSm_.newChild(name, [&] {
    return ResetRequestSm::ResetRequestSmIs(name, resetRequestDir, resetStatusDir, this);
  });
  if (disturbed) handleResetRequestDir(name);
  return machine;
}

Ptr<ResetRequestSm> CentralSm::resetSmDel(String const& name) { return resetSm_.childDel(name); }

void CentralSm::resetSmDelAll() { resetSm_.childDelAll(); }

Ptr<FeatureCollection> CentralSm::featureCollIs() {
  if (!featureColl_) featureColl_ = featureCollectionFactory();
  return featureColl_;
}

void CentralSm::featureCollDel() { featureColl_ = nullptr; }

Ptr<FeatureCollSm> CentralSm::featureCollSmIs(Ptr<FeatureCollection const> const& featureColl,
                                              Ptr<Kesh::Dir> const& featureLauncherConfigDir) {
  if (featureCollSm_ && featureCollSm_->featureColl() == featureColl &&
      featureCollSm_->featureLauncherConfigDir() == featureLauncherConfigDir) {
    return featureCollSm_;
  }
  featureCollSm_ = FeatureCollSm::FeatureCollSmIs(featureColl, featureLauncherConfigDir);
  return featureCollSm_;
}

void CentralSm::featureCollSmDel() {
  if (Ptr<FeatureCollSm> const removed = std::exchange(featureCollSm_, nullptr)) {
    removed->hasNotificationActiveIs(false);
  }
}

void CentralSm::hwConfigDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                    Vunda::FieldId field, void const* key, void const*) noexcept {
  dispatch(&CentralSm::hwConfigDir_, slot, field == Kesh::Dir::entityPtrField,
           [key](CentralSm& self) { self.handleHwConfigDir(*static_cast<String const*>(key)); });
}

void CentralSm::statusDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                  void const* key, void const*) noexcept {
  dispatch(&CentralSm::statusDir_, slot, field == Kesh::Dir::entityPtrField,
           [key](CentralSm& self) { self.handleStatusDir(*static_cast<String const*>(key)); });
}

void CentralSm::resetRequestDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                        Vunda::FieldId field, void const* key,
                                        void const*) noexcept {
  dispatch(
      &CentralSm::resetRequestDir_, slot, field == Kesh::Dir::entityPtrField,
      [key](CentralSm& self) { self.handleResetRequestDir(*static_cast<String const*>(key)); });
}

}  // namespace Oru::Central
