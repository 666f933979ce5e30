#pragma once

#include <cstdint>

#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Export.h"
#include "state/DeviceId.h"

namespace Oru::Central {

struct HN_Chip;

// A set of chips, by device id. A plain value: it is copied, changed and written back whole. A chip
// is in the set when its id is present and true; the machines write only true.
//
//   written by   CentralChipSm, CentralSm (startup synchronisation)
//   read by      the same, the platform helper (syncStateOnInit), other agents
class ORU_EXPORT ChipCollection {
 public:
  using ChipMap = Kesh::HashMap2018<HN_Chip, DeviceId, bool>;

  ChipMap const& chip() const noexcept { return chip_; }
  bool has(DeviceId id) const noexcept { return chip_.value(id); }

  void chipIs(DeviceId id, bool present) { chip_.memberIs(id, present); }
  void chipDel(DeviceId id) noexcept { chip_.deleteMember(id); }

  bool operator==(ChipCollection const&) const = default;

 private:
  ChipMap chip_;
};

}  // namespace Oru::Central
