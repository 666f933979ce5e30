// Reconciliation with what an earlier run left in the system status.

#include "central/CentralSm.h"
#include "central/DefaultTraceHandle.h"
#include "central/EntityLookup.h"
#include "central/Withdrawal.h"
#include "runtime/kesh/Trace.h"
#include "runtime/vunda/Assert.h"

namespace Oru::Central {

using Vunda::Duration;
using Vunda::Ptr;
using Vunda::String;

namespace {

// The directories of a slice whose hardware has reached the configured generation; null otherwise.
struct RunningSlice {
  Duration hwGenTime;
  Ptr<Kesh::Dir const> configDir;
  Ptr<Kesh::Dir const> statusDir;

  explicit operator bool() const { return configDir && statusDir; }
};

RunningSlice runningSlice(CentralSm const& root, String const& name) {
  auto const hwConfig = entityAs<SliceHwConfig const>(root.hwConfigDir(), name);
  auto const hwStatus = entityAs<SliceHwStatus const>(root.hwStatusDir(), name);
  if (!hwConfig || !hwStatus || hwConfig->genTime() != hwStatus->genTime()) return {};
  return {hwConfig->genTime(), entityAs<Kesh::Dir const>(root.configDir(), name),
          entityAs<Kesh::Dir const>(root.statusDir(), name)};
}

// A chip runs when its agent has reached the configured generation, was configured for the board
// that is in the slice now (strictly after the hardware's generation), and is published at that
// generation.
void addRunningChips(RunningSlice const& slice, SystemStatus const& systemStatus,
                     ChipCollection& runningChips) {
  for (auto chip = slice.configDir->entityPtrIteratorConst(); chip; ++chip) {
    auto const config = Vunda::ptrCast<ChipConfig const>(chip.entity());
    auto const status = entityAs<ChipStatus const>(slice.statusDir, chip.name());
    if (!config || !status) continue;
    ChipInfo const published = systemStatus.chipInfo(config->deviceId());
    bool const running = config->genTime() == status->genTime() &&
                         config->genTime() > slice.hwGenTime &&
                         config->genTime() == published.genTime();
    if (running) runningChips.chipIs(published.deviceId(), true);
  }
}

}  // namespace

void CentralSm::syncStateOnInit() {
  ORU_TRACE_ENTRY();
  ORU_ASSERT(systemStatus());
  ORU_ASSERT(helper());
  ChipCollection runningChips;
  if (hwConfigDir()) {
    for (auto slice = hwConfigDir()->entityPtrIteratorConst(); slice; ++slice) {
      RunningSlice const running = runningSlice(*this, slice.name());
      if (running) addRunningChips(running, *systemStatus(), runningChips);
    }
  }
  cleanUpChipInfos(runningChips);
  helper()->syncStateOnInit(runningChips);
}

void CentralSm::cleanUpChipInfos(ChipCollection const& runningChips) {
  for (auto chip = systemStatus()->chipInfo().iterator(); chip; ++chip) {
    DeviceId const id = chip.key();
    if (runningChips.has(id)) continue;
    ChipInfo const entry = chip.value();
    ORU_TRACE(3, "Clean up chipInfo for chip {} upon init", entry.name());
    withdraw(*systemStatus(), id, entry, entry.sliceName());
  }
}

}  // namespace Oru::Central
