#pragma once

#include <cstdint>

namespace Oru::Central {

// The number of a port within its chip. Every 16-bit number is one.
using PortId = std::uint16_t;

}  // namespace Oru::Central
