#pragma once

#include <string>
#include <string_view>

namespace Oru::Mount {

// The text with its control characters, which names in the tree may hold, written \xNN: it makes no
// lines of its own, and a terminal acts on nothing in it.
inline std::string printable(std::string_view text) {
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string result;
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7f)
      result += c;
    else
      result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
  }
  return result;
}

}  // namespace Oru::Mount
