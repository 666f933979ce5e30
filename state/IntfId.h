#pragma once

#include <compare>
#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/String.h"

namespace Lanko {

// A network interface, as a small number. Each interface name of the process has one id; ids are
// dense, starting at 1 in the order in which the names are first met, so that what is keyed by them
// stays compact. The number means nothing outside the process. 0 is invalid.
//
// Names are interned for as long as the process lives, on the event-loop thread only.
class ORU_EXPORT IntfId {
 public:
  // The invalid id.
  constexpr IntfId() noexcept = default;

  // This id becomes that of the interface of this name. The empty name names no interface: the id
  // is then invalid.
  void handleInitialized(Vunda::String const& name);

  constexpr bool valid() const noexcept { return id_ != 0; }
  constexpr std::uint32_t value() const noexcept { return id_; }
  constexpr std::uint32_t hash() const noexcept { return id_; }
  // The interface's name; empty when invalid.
  Vunda::String name() const;

  constexpr bool operator==(IntfId const&) const noexcept = default;
  constexpr std::strong_ordering operator<=>(IntfId const&) const noexcept = default;

 private:
  std::uint32_t id_ = 0;
};

static_assert(sizeof(IntfId) == 4);

}  // namespace Lanko
