#pragma once

#include <cstdint>
#include <string>

namespace Ringlog {

// The shortest text that reads back as the same double, as "{}" prints it: 12.5, 3, 1e+20.
std::string shortestText(double value);

// As a standard stream prints a double by default: six significant digits.
std::string streamText(double value);

std::string hexadecimalText(std::uint64_t value);

}  // namespace Ringlog
