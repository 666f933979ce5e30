#include "launcher/LauncherEntry.h"

#include <cmath>

#include "mount/Json.h"

namespace Oru::Launcher {

double restartOf(Mount::JsonObject& object) {
  nlohmann::json const& value = object.value("restart");
  double const number = value.is_number() ? value.get<double>() : std::nan("");
  if (!std::isfinite(number)) object.refuse("restart", "is not a number");
  return number;
}

std::optional<double> restartOfEntry(std::string_view text) {
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) return std::nullopt;
  nlohmann::json const parsed = Mount::parsedJson(text);
  Mount::JsonObject object(parsed);
  std::optional<double> restart;
  if (object.has("restart")) restart = restartOf(object);
  object.finish();
  return restart;
}

}  // namespace Oru::Launcher
