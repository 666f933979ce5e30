#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Oru::Mount {

// What is wrong with a JSON text: where (the way to the field, "chips.Chip1.deviceId"; empty for
// the whole text) and why. Neither says anything of the text's content but names of fields; of a
// place that is longer only the beginning is kept, with "..." behind it.
class JsonError : public std::runtime_error {
 public:
  static constexpr std::size_t longestPlace = 400;  // bytes; names that become a file's fit

  JsonError(std::string place, std::string reason);

  std::string const& place() const noexcept { return place_; }
  std::string const& reason() const noexcept { return reason_; }

 private:
  std::string const place_;
  std::string const reason_;
};

}  // namespace Oru::Mount
