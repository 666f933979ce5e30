#pragma once

#include <cstddef>
#include <string>

namespace Oru::Agent {

// "1 chip", "2 chips".
inline std::string counted(std::size_t count, char const* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace Oru::Agent
