#pragma once

#include <cstdint>

#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"
#include "state/DeviceId.h"
#include "state/IntfId.h"

namespace Oru::Central {

struct HN_IntfId;

// One published chip. A plain value: it is built, then written whole to SystemStatus.chipInfo.
//
//   deviceId    the chip's device number, and its key in the system status
//   name        the chip's name
//   sliceName   the slice that carries it
//   intfId      its interfaces, each true, as its hardware configuration lists them
//   genTime     seconds; the generation that its agent ran when it was published
//
//   written by   CentralChipSm, when it publishes a chip
//   read by      CentralChipSm, CentralSm, the platform helper, other agents
//
// A default-constructed value, no device and no name, stands for "absent": a lookup whose result
// equals it found nothing.
class ORU_EXPORT ChipInfo {
 public:
  using IntfIdMap = Kesh::HashMap2018<HN_IntfId, Lanko::IntfId, bool>;

  ChipInfo() = default;
  ChipInfo(DeviceId deviceId, Vunda::String const& name) noexcept
      : deviceId_(deviceId), name_(name) {}

  DeviceId deviceId() const noexcept { return deviceId_; }
  Vunda::String const& name() const noexcept { return name_; }
  Vunda::String const& sliceName() const noexcept { return sliceName_; }
  IntfIdMap const& intfId() const noexcept { return intfId_; }
  Vunda::Duration genTime() const noexcept { return genTime_; }

  void sliceNameIs(Vunda::String const& sliceName) noexcept { sliceName_ = sliceName; }
  void intfIdIs(Lanko::IntfId intf, bool present) { intfId_.memberIs(intf, present); }
  // Makes room for that many interfaces at once.
  void intfIdReserve(std::uint32_t count) { intfId_.reserve(count); }
  void genTimeIs(Vunda::Duration genTime) noexcept { genTime_ = genTime; }

  // Whether all members are equal. Interfaces compare as a set: their order does not count.
  bool isEq(ChipInfo const& other) const { return *this == other; }
  bool operator==(ChipInfo const&) const = default;

 private:
  DeviceId deviceId_;
  Vunda::String name_;
  Vunda::String sliceName_;
  IntfIdMap intfId_;
  Vunda::Duration genTime_;
};

}  // namespace Oru::Central
