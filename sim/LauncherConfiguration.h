#pragma once

#include <string>

#include "sim/Device.h"

namespace Oru::Sim {

// The text of the launcher's configuration: `sim`, this program's file, with its commands `slice`,
// `chip` and `feature`, and what the device's description says otherwise. `control` is the folder
// of the agents' behaviour files.
std::string launcherConfigurationOf(Device const& device, std::string const& sim,
                                    std::string const& control);

}  // namespace Oru::Sim
