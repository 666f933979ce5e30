#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Oru::Tools {

// The candidate that somebody who wrote `word` may have meant; empty when none is close.
std::string closest(std::string_view word, std::vector<std::string> const& candidates);

// "; did you mean Slice1?" for an error message, or nothing.
std::string didYouMean(std::string_view word, std::vector<std::string> const& candidates);

}  // namespace Oru::Tools
