#pragma once

#include <string>

#include "tools/Context.h"

namespace Oru::Tools {

// `how` is on, off or remove. Switching on a feature that nobody knows makes it known; the other
// two raise Failure for one.
int switchFeature(Context const& context, std::string const& how, std::string const& name);

}  // namespace Oru::Tools
