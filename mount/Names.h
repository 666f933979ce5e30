#pragma once

#include <string>
#include <string_view>

#include "runtime/vunda/String.h"

namespace Oru::Mount {

// Names in the tree and names of entities are the same texts in two types.
inline Vunda::String entityName(std::string const& name) {
  return Vunda::String(std::string_view(name));
}
inline std::string treeName(Vunda::String const& name) { return std::string(name.view()); }

}  // namespace Oru::Mount
