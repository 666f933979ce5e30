#include "central/CentralChipSm.h"

#include <bit>
#include <cstdint>

#include "central/CentralSliceSm.h"
#include "central/CentralSm.h"
#include "central/DefaultTraceHandle.h"
#include "central/Withdrawal.h"
#include "helper/CentralHelper.h"
#include "runtime/kesh/System.h"
#include "runtime/kesh/Trace.h"
#include "runtime/vunda/Assert.h"

namespace Oru::Central {

using OruHelper::CentralHelper;
using Vunda::Duration;
using Vunda::Ptr;
using Vunda::String;

namespace {

// Whether the system status has an entry of that id, one that differs from the absent value.
bool isPublished(SystemStatus const& systemStatus, DeviceId id) {
  ChipInfo const* const entry = systemStatus.chipInfo().lookup(id);
  return entry && !entry->isEq(ChipInfo());
}

}  // namespace

Ptr<CentralChipSm> CentralChipSm::CentralChipSmIs(String const& name, String const& sliceName,
                                                  Ptr<ChipHwConfig const> const& hwConfig,
                                                  Ptr<ChipConfig> const& config,
                                                  Ptr<ChipStatus const> const& status,
                                                  Ptr<SystemStatus> const& systemStatus,
                                                  CentralSliceSm* parent) {
  return created(Ptr<CentralChipSm>::adopt(
      new CentralChipSm(name, sliceName, hwConfig, config, status, systemStatus, parent)));
}

CentralChipSm::CentralChipSm(String const& name, String const& sliceName,
                             Ptr<ChipHwConfig const> const& hwConfig, Ptr<ChipConfig> const& config,
                             Ptr<ChipStatus const> const& status,
                             Ptr<SystemStatus> const& systemStatus, CentralSliceSm* parent)
    : name_(name),
      sliceName_(sliceName),
      hwConfig_(hwConfig),
      config_(config),
      status_(*this, status, &statusDispatch),
      systemStatus_(systemStatus),
      parent_(parent) {
  subscribeAndRun([this] { handleInitialized(); });
}

CentralChipSm::~CentralChipSm() {
  deactivate([this] { handleDestroyed(); });
}

void CentralChipSm::handleInitialized() {
  ORU_TRACE_ENTRY(name());
  initialized_ = true;
  if (Ptr<Kesh::Dir> const launcher = parent_->centralSm()->chipLauncherConfigDir()) {
    ORU_TRACE(3, "Starting chip agent {}", name());
    launcher->createEntity(Kesh::Dir::typeName, name());
  }
  handleRunning();
}

void CentralChipSm::handleRunning() {
  ORU_TRACE_ENTRY(name());
  if (!status()) return;
  ORU_ASSERT(config());
  Duration const configured = config()->genTime();
  Duration const reported = status()->genTime();
  ORU_TRACE(3, "config genTime {} status genTime {}", configured, reported);
  if (reported > configured) traceReversedGenerations();
  ORU_ASSERT(config()->genTime() >= status()->genTime());
  if (configured == Duration()) return;
  if (reported != configured) return;
  if (!config()->enabled()) return;
  ORU_TRACE(3, "Chip is initialized {} genTime {}", name(), configured);
  addToSystemStatus();
}

// The last words before the assertion on generations ends the process: both values, byte by byte,
// lowest first.
void CentralChipSm::traceReversedGenerations() const {
  ORU_TRACE(3, "config genTime smaller than status genTime");
  Duration const configured = config()->genTime();
  Duration const reported = status()->genTime();
  if (configured >= reported) ORU_TRACE(3, "double config genTime >= double status genTime!!");
  auto const configBits = std::bit_cast<std::uint64_t>(configured);
  auto const statusBits = std::bit_cast<std::uint64_t>(reported);
  constexpr std::uint16_t bytes = sizeof configBits;
  for (std::uint16_t i = 0; i < bytes; ++i) {
    auto const configByte = static_cast<std::uint16_t>(configBits >> (8 * i) & 0xff);
    auto const statusByte = static_cast<std::uint16_t>(statusBits >> (8 * i) & 0xff);
    ORU_TRACE(3, "byte {} config {} status {}", i, configByte, statusByte);
  }
}

void CentralChipSm::doReset(bool enabled) {
  ORU_TRACE_ENTRY_AS("%s enabled %s", name(), enabled);
  removeFromSystemStatus();
  config()->enabledIs(enabled);
  config()->genTimeIs(Kesh::System::currentTime());
  config()->syncGenTimeIs(Kesh::System::currentTime());
  ORU_TRACE(1, "Reset chip {} with genTime {}", name(), config()->genTime());
}

void CentralChipSm::handleDestroyed() {
  ORU_TRACE_ENTRY(name());
  Ptr<Kesh::Dir> const launcher = parent_->centralSm()->chipLauncherConfigDir();
  if (!launcher) return;
  doReset(false);
  ORU_TRACE(3, "Stopping chip agent {}", name());
  launcher->deleteEntity(name());
}

void CentralChipSm::addToSystemStatus() {
  ORU_TRACE_ENTRY(name());
  ORU_ASSERT(config() && status());
  ORU_ASSERT(config()->genTime() == status()->genTime() && config()->genTime());
  ORU_ASSERT(systemStatus());
  Ptr<CentralHelper> const helper = parent_->centralSm()->helper();
  ORU_ASSERT(helper);
  DeviceId const id = config()->deviceId();
  if (isPublished(*systemStatus(), id)) {
    ChipInfo const published = systemStatus()->chipInfo(id);
    if (published.genTime() == status()->genTime()) {
      helper->chipAlreadyAdded(published);
      return;
    }
    removeFromSystemStatus();
  }
  ChipInfo const entry = chipInfo();
  for (auto intf = status()->intfToPortId().iterator(); intf; ++intf) {
    systemStatus()->intfToChipPortIs(intf.key(), ChipPort(id, intf.value()));
  }
  ChipCollection chips = systemStatus()->sliceToChipMap(sliceName());
  chips.chipIs(id, true);
  systemStatus()->sliceToChipMapIs(sliceName(), chips);
  helper->chipAdded(entry);
  systemStatus()->chipInfoIs(entry);
}

// The chip as it is published; its interfaces are those of the hardware's ports.
ChipInfo CentralChipSm::chipInfo() const {
  ORU_ASSERT(hwConfig());
  ChipInfo entry(config()->deviceId(), name());
  entry.sliceNameIs(sliceName());
  entry.genTimeIs(config()->genTime());
  entry.intfIdReserve(hwConfig()->portConfig().size());
  for (auto port = hwConfig()->portConfig().iterator(); port; ++port) {
    auto const& hwPort = port.currNodeNonStale()->value();
    if (hwPort) entry.intfIdIs(hwPort->intfId(), true);
  }
  return entry;
}

void CentralChipSm::removeFromSystemStatus() {
  ORU_TRACE_ENTRY(name());
  ORU_ASSERT(config());
  ORU_ASSERT(systemStatus());
  DeviceId const id = config()->deviceId();
  if (!isPublished(*systemStatus(), id)) {
    ORU_TRACE(3, "Cannot find chip {} in systemStatus", name());
    return;
  }
  Ptr<CentralHelper> const helper = parent_->centralSm()->helper();
  ORU_ASSERT(helper);
  helper->chipRemoved(id);
  withdraw(*systemStatus(), id, systemStatus()->chipInfo(id), sliceName());
}

void CentralChipSm::statusDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                   void const*, void const*) noexcept {
  dispatch(&CentralChipSm::status_, slot,
           field == ChipStatus::genTimeField || field == ChipStatus::intfToPortIdField,
           [](CentralChipSm& self) { self.handleRunning(); });
}

}  // namespace Oru::Central
