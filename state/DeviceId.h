#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <utility>

#include "runtime/vunda/Export.h"

namespace Oru::Central {

// The device number of a switching chip: 0 to 63, or 64 for "no device". Hardware configurations
// carry it 16 bits wide; a raw number, however wide, is checked before it is narrowed.
class ORU_EXPORT DeviceId {
 public:
  // Raw numbers: the smallest id, and the greatest, which is the null id.
  static constexpr std::uint16_t min = 0;
  static constexpr std::uint16_t null = 64;

  // The null id.
  constexpr DeviceId() noexcept = default;
  // Raises Vunda::RangeException when the raw number is below `min` or above `null`.
  template <std::integral Raw>
  constexpr explicit DeviceId(Raw raw) : value_(static_cast<std::uint8_t>(raw)) {
    if (std::cmp_less(raw, min) || std::cmp_greater(raw, null)) throwRange();
  }

  constexpr std::uint8_t value() const noexcept { return value_; }
  constexpr bool isNull() const noexcept { return value_ == null; }
  constexpr std::uint32_t hash() const noexcept { return value_; }

  constexpr bool operator==(DeviceId const&) const noexcept = default;
  constexpr std::strong_ordering operator<=>(DeviceId const&) const noexcept = default;

 private:
  [[noreturn]] static void throwRange();

  std::uint8_t value_ = null;
};

static_assert(sizeof(DeviceId) == 1);

}  // namespace Oru::Central
