#include "central/CentralSliceSm.h"

#include "central/CentralSm.h"
#include "central/DefaultTraceHandle.h"
#include "central/EntityLookup.h"
#include "helper/CentralHelper.h"
#include "runtime/kesh/Trace.h"
#include "runtime/vunda/Assert.h"

namespace Oru::Central {

using Vunda::Duration;
using Vunda::Ptr;
using Vunda::String;

Ptr<CentralSliceSm> CentralSliceSm::CentralSliceSmIs(String const& name,
                                                     Ptr<SliceHwConfig const> const& hwConfig,
                                                     Ptr<SliceHwStatus> const& hwStatus,
                                                     Ptr<Kesh::Dir> const& configDir,
                                                     Ptr<Kesh::Dir const> const& statusDir,
                                                     Ptr<SystemStatus> const& systemStatus,
                                                     CentralSm* centralSm) {
  return created(Ptr<CentralSliceSm>::adopt(
      new CentralSliceSm(name, hwConfig, hwStatus, configDir, statusDir, systemStatus, centralSm)));
}

CentralSliceSm::CentralSliceSm(String const& name, Ptr<SliceHwConfig const> const& hwConfig,
                               Ptr<SliceHwStatus> const& hwStatus, Ptr<Kesh::Dir> const& configDir,
                               Ptr<Kesh::Dir const> const& statusDir,
                               Ptr<SystemStatus> const& systemStatus, CentralSm* centralSm)
    : name_(name),
      hwConfig_(*this, hwConfig, &hwConfigDispatch),
      hwStatus_(hwStatus),
      configDir_(configDir),
      statusDir_(*this, statusDir, &statusDirDispatch),
      systemStatus_(systemStatus),
      centralSm_(centralSm) {
  subscribeAndRun([this] { handleInitialized(); });
}

CentralSliceSm::~CentralSliceSm() {
  deactivate([this] { handleDestroyed(); });
  chipSm_.parentGone();
}

void CentralSliceSm::handleInitialized() {
  ORU_TRACE_ENTRY(name());
  initialized_ = true;
  centralSm()->featureCollSmIs(centralSm()->featureColl(), centralSm()->featureLauncherConfigDir());
  updateChipSms();
}

void CentralSliceSm::updateChipSms() {
  ORU_TRACE_ENTRY(name());
  if (!hwConfig()) return;
  ORU_TRACE_STREAM(2, "hwChipConfig count=%s", hwConfig()->chipConfig().size());
  for (auto chip = hwConfig()->chipConfig().iterator(); chip; ++chip) {
    bool const exists = entityIn(statusDir(), chip.key());
    ORU_TRACE_STREAM(2, "chipStatusExist=%s %s", exists, chip.key());
    if (!exists) return;
  }
  ORU_ASSERT(hwStatus());
  ORU_TRACE_STREAM(2, "hwConfig genTime=%s hwStatus genTime=%s", hwConfig()->genTime(),
                   hwStatus()->genTime());
  handleHwConfigInitialized();
}

void CentralSliceSm::handleChipStatus(Vunda::String const&) {
  ORU_TRACE_ENTRY(name());
  updateChipSms();
}

void CentralSliceSm::handleHwConfigInitialized() {
  ORU_TRACE_ENTRY(name());
  ORU_ASSERT(hwConfig());
  if (hwConfig()->genTime() == Duration()) return;
  deleteChipSmsNotConfigured();
  createChipSmsConfigured();
  ORU_ASSERT(centralSm()->helper());
  centralSm()->helper()->sliceDetected(name());
  ORU_ASSERT(hwStatus());
  if (hwConfig()->genTime() > hwStatus()->genTime()) {
    ORU_TRACE(3, "Detected a new slice inserted, hw genTime {}", hwConfig()->genTime());
    doReset(true);
    // Read again: a newer generation that arrived during the reset is not to be overwritten by an
    // older one.
    hwStatus()->genTimeIs(hwConfig()->genTime());
  }
  chipSm_.forEach([](CentralChipSm& chip) { chip.handleRunning(); });
}

bool CentralSliceSm::isConfigured(String const& chipName) const {
  return hwConfig()->chipConfig().value(chipName) != nullptr;
}

void CentralSliceSm::deleteChipSmsNotConfigured() {
  chipSm_.disturbConstructions();
  for (auto chip = chipSm_.iterator(); chip; ++chip) {
    String const chipName = chip.key();
    if (isConfigured(chipName)) continue;
    ORU_TRACE(3, "Delete chipSm for {}", chipName);
    chipSmDel(chipName);
  }
}

void CentralSliceSm::createChipSmsConfigured() {
  for (auto chip = hwConfig()->chipConfig().iterator(); chip; ++chip) {
    String const chipName = chip.key();
    Ptr<ChipHwConfig const> const chipHwConfig = chip.value();
    if (!chipHwConfig) continue;
    auto const chipConfig = entityAs<ChipConfig>(configDir(), chipName);
    auto const chipStatus = entityAs<ChipStatus const>(statusDir(), chipName);
    DeviceId const deviceId(chipHwConfig->deviceId());
    ORU_ASSERT(chipConfig);
    chipConfig->deviceIdIs(deviceId);
    if (chipSm(chipName)) continue;
    ORU_TRACE(3, "Create chipSm for {}", chipName);
    chipSmIs(chipName, name(), chipHwConfig, chipConfig, chipStatus, systemStatus());
  }
}

void CentralSliceSm::doReset(bool enabled) {
  ORU_TRACE_ENTRY_AS("%s enabled %s", name(), enabled);
  chipSm_.forEach([enabled](CentralChipSm& chip) { chip.doReset(enabled); });
}

void CentralSliceSm::handleDestroyed() {
  ORU_TRACE_ENTRY(name());
  doReset(false);
  if (Ptr<Kesh::Dir> const launcher = centralSm()->sliceLauncherConfigDir()) {
    ORU_TRACE(3, "Stopping slice agent {}", name());
    launcher->deleteEntity(name());
  }
  ORU_ASSERT(systemStatus());
  systemStatus()->sliceToChipMapDel(name());
}

Ptr<CentralChipSm> CentralSliceSm::chipSmIs(String const& name, String const& sliceName,
                                            Ptr<ChipHwConfig const> const& hwConfig,
                                            Ptr<ChipConfig> const& config,
                                            Ptr<ChipStatus const> const& status,
                                            Ptr<SystemStatus> const& systemStatus) {
  if (Ptr<CentralChipSm> const existing = chipSm(name)) {
    Kesh::sameArgument(typeName, "chipSm.sliceName", existing->sliceName(), sliceName);
    Kesh::sameArgument(typeName, "chipSm.hwConfig", existing->hwConfig(), hwConfig);
    Kesh::sameArgument(typeName, "chipSm.config", existing->config(), config);
    Kesh::sameArgument(typeName, "chipSm.status", existing->status(), status);
    Kesh::sameArgument(typeName, "chipSm.systemStatus", existing->systemStatus(), systemStatus);
    return existing;
  }
  if (chipSm_.underConstruction(name)) {
    ORU_TRACE(3, "Skip creating chipSm for {} because it is being created", name);
    return nullptr;
  }
  Duration const hwStatusBefore = hwStatus() ? hwStatus()->genTime() : Duration();
  auto const [chip, disturbed] = chipSm_.newChild(name, [&] {
    return CentralChipSm::CentralChipSmIs(name, sliceName, hwConfig, config, status, systemStatus,
                                          this);
  });
  if (disturbed) catchUp(*chip, hwStatusBefore);
  return chip;
}

// The chip set was reconciled while `chip` was under construction and could not take part: removes
// the chip if it is not wanted any more, and resets it if a new board was taken over meanwhile.
void CentralSliceSm::catchUp(CentralChipSm& chip, Duration hwStatusBefore) {
  if (!isConfigured(chip.name())) {
    ORU_TRACE(3, "Delete chipSm for {}", chip.name());
    chipSmDel(chip.name());
  } else if (hwStatus() && hwStatus()->genTime() > hwStatusBefore) {
    chip.doReset(true);
  }
}

Ptr<CentralChipSm> CentralSliceSm::chipSmDel(String const& name) { return chipSm_.childDel(name); }

void CentralSliceSm::chipSmDelAll() { chipSm_.childDelAll(); }

void CentralSliceSm::hwConfigDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                      Vunda::FieldId field, void const*, void const*) noexcept {
  dispatch(&CentralSliceSm::hwConfig_, slot, field == SliceHwConfig::genTimeField,
           [](CentralSliceSm& self) { self.handleHwConfigInitialized(); });
}

void CentralSliceSm::statusDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                       Vunda::FieldId field, void const* key,
                                       void const*) noexcept {
  dispatch(
      &CentralSliceSm::statusDir_, slot, field == Kesh::Dir::entityPtrField,
      [key](CentralSliceSm& self) { self.handleChipStatus(*static_cast<String const*>(key)); });
}

}  // namespace Oru::Central
