#pragma once

#include <string>

#include "sim/Scenario.h"

namespace Oru::Sim {

// The name of a request's file, without extension.
std::string resetKeyOf(ResetTarget const& target);
// The text of a request's file.
std::string jsonOf(Step::Reset const& reset, double genTime);

}  // namespace Oru::Sim
