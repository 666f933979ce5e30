#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"
#include "state/ResetType.h"

namespace Oru::Central {

// What a reset request is about, and its key in the request and status directories. The default key
// is a chip reset with two empty names. Keys are ordered by type, then chip name, then slice name.
//
//   resetType   what kind of reset
//   chipName    the chip, for a chip reset
//   sliceName   the slice, for a chip or slice reset
//
//   written by   requesters
//   read by      the reset machines
class ORU_EXPORT ResetKey {
 public:
  ResetKey() = default;
  ResetKey(ResetType resetType, Vunda::String const& chipName,
           Vunda::String const& sliceName) noexcept
      : resetType_(resetType), chipName_(chipName), sliceName_(sliceName) {}

  ResetType resetType() const noexcept { return resetType_; }
  Vunda::String const& chipName() const noexcept { return chipName_; }
  Vunda::String const& sliceName() const noexcept { return sliceName_; }

  // Mixes the type and the hashes of both names, in this order.
  std::uint32_t hash() const noexcept;

  bool isEq(ResetKey const& other) const noexcept { return *this == other; }
  bool operator==(ResetKey const&) const noexcept = default;
  std::strong_ordering operator<=>(ResetKey const&) const noexcept = default;

 private:
  ResetType resetType_ = ResetType::chip;
  Vunda::String chipName_;
  Vunda::String sliceName_;
};

// The key in ring-buffer trace records: "type,chip,slice".
ORU_EXPORT std::string ringText(ResetKey const& key);
// The key in text traces, in the generic form of composite values: "{resetType=chip chipName=C1
// sliceName=S1}".
ORU_EXPORT std::string valueToStrep(ResetKey const& key);

}  // namespace Oru::Central
