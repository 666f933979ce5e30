#pragma once

#include <compare>
#include <cstdint>

#include "runtime/vunda/Export.h"

namespace Oru::Central {

// The device number of a switching chip: 0 to 63, or 64 for "no device". Its raw form is 16 bits
// wide, because that is how hardware configurations carry it; a raw number is checked before it is
// narrowed.
class ORU_EXPORT DeviceId {
 public:
  // Raw numbers: the smallest id, and the greatest, which is the null id.
  static constexpr std::uint16_t min = 0;
  static constexpr std::uint16_t null = 64;

  // Raises Vunda::RangeException, with the text that a constructor gives, when the raw number is
  // above `null`.
  static constexpr void check(std::uint16_t raw) {
    if (raw > null) throwRange();
  }

  // The null id.
  constexpr DeviceId() noexcept = default;
  // Raises Vunda::RangeException when the raw number is above `null`.
  constexpr explicit DeviceId(std::uint16_t raw)
      : value_((check(raw), static_cast<std::uint8_t>(raw))) {}

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
