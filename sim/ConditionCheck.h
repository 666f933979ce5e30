#pragma once

#include <string>
#include <vector>

#include "sim/Scenario.h"
#include "sim/Situation.h"

namespace Oru::Sim {

// What of the condition does not hold, in words; empty when all of it holds.
std::vector<std::string> unmet(Condition const& condition, Situation const& situation);

}  // namespace Oru::Sim
