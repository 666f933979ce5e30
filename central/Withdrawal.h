#pragma once

#include "state/ChipInfo.h"
#include "state/DeviceId.h"
#include "state/SystemStatus.h"

namespace Oru::Central {

// Takes a chip out of the system status, given a copy of its entry: first the interfaces that the
// entry lists, then the id in the chip set of `sliceName` (which stays, or comes to be, even when
// empty), then the entry.
inline void withdraw(SystemStatus& systemStatus, DeviceId id, ChipInfo const& entry,
                     Vunda::String const& sliceName) {
  for (auto intf = entry.intfId().iterator(); intf; ++intf) {
    systemStatus.intfToChipPortDel(intf.key());
  }
  ChipCollection chips = systemStatus.sliceToChipMap(sliceName);
  chips.chipDel(id);
  systemStatus.sliceToChipMapIs(sliceName, chips);
  systemStatus.chipInfoDel(id);
}

}  // namespace Oru::Central
