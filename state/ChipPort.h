#pragma once

#include <cstdint>

#include "state/DeviceId.h"
#include "state/PortId.h"

namespace Oru::Central {

// Where an interface sits: a port of a chip. One 32-bit word: the device id in the low byte,
// nothing in the byte above it, the port id in the upper half. The default is port 0 of no device.
//
//   written by   CentralChipSm, when it publishes a chip
//   read by      other agents, from SystemStatus.intfToChipPort
class ORU_EXPORT ChipPort {
 public:
  constexpr ChipPort() noexcept = default;
  constexpr ChipPort(DeviceId deviceId, PortId portId) noexcept
      : word_(deviceId.value() | static_cast<std::uint32_t>(portId) << 16) {}

  constexpr DeviceId deviceId() const { return DeviceId(word_ & 0xff); }
  constexpr PortId portId() const noexcept { return static_cast<PortId>(word_ >> 16); }
  constexpr std::uint32_t word() const noexcept { return word_; }

  constexpr bool operator==(ChipPort const&) const noexcept = default;

 private:
  std::uint32_t word_ = DeviceId::null;
};

static_assert(sizeof(ChipPort) == 4);

}  // namespace Oru::Central
