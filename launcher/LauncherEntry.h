#pragma once

#include <optional>
#include <string_view>

namespace Oru::Mount {
class JsonObject;
}

namespace Oru::Launcher {

// The field "restart": any finite number.
double restartOf(Mount::JsonObject& object);

// The restart number of an entry with this text, if it has one. An entry is empty or a JSON object
// that may have the field "restart" and no other; raises Mount::JsonError for anything else.
std::optional<double> restartOfEntry(std::string_view text);

}  // namespace Oru::Launcher
