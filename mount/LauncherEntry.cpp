#include "mount/LauncherEntry.h"

#include "mount/Json.h"

namespace Oru::Mount {

std::optional<double> restartOfEntry(std::string_view text) {
  auto const json = parsedJson(text);
  JsonObject entry(json);
  std::optional<double> restart;
  if (entry.has("restart")) restart = entry.seconds("restart");
  entry.finish();
  return restart;
}

}  // namespace Oru::Mount
