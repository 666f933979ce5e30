#pragma once

#include <cstdint>

namespace Vunda {

// Identifies an attribute or a collection of a node's type in change notifications.
class FieldId {
 public:
  constexpr FieldId() noexcept = default;
  constexpr explicit FieldId(std::uint16_t value) noexcept : value_(value) {}

  constexpr std::uint16_t value() const noexcept { return value_; }
  constexpr bool operator==(FieldId const&) const noexcept = default;

 private:
  std::uint16_t value_ = 0;
};

}  // namespace Vunda
