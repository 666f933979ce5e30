#include "sim/LauncherConfiguration.h"

#include "sim/NumberedText.h"

namespace Oru::Sim {

using nlohmann::json;

std::string launcherConfigurationOf(Device const& device, std::string const& sim,
                                    std::string const& control) {
  json const backoff{{"initial", 0.2}, {"factor", 2}, {"max", 5}, {"stable", 5}};
  json configuration;
  for (auto const* kind : {"slice", "chip", "feature"}) {
    json const argv{withDoubledBraces(sim),
                    kind,
                    "--control=" + withDoubledBraces(control),
                    "--init-time=" + json(device.agents.readyAfter()).dump(),
                    "--",
                    "{name}"};
    configuration[kind] = {{"argv", argv}, {"graceTime", 1}, {"backoff", backoff}};
  }
  if (device.launcher.is_object()) configuration.merge_patch(device.launcher);
  return configuration.dump(2) + '\n';
}

}  // namespace Oru::Sim
