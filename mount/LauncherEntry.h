#pragma once

#include <optional>
#include <string_view>

namespace Oru::Mount {

// The restart time of the launcher entry with this text, in seconds since the epoch, if it has one.
// An entry is a JSON object that may have the field "restart" and no other; raises JsonError for
// anything else.
std::optional<double> restartOfEntry(std::string_view text);

}  // namespace Oru::Mount
