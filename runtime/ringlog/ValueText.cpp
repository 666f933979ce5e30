#include "runtime/ringlog/ValueText.h"

#include <charconv>
#include <cmath>

namespace Ringlog {

namespace {

// Long enough for every double in any of the forms used here.
constexpr std::size_t bufferBytes = 512;

template <typename... Form>
std::string written(Form... form) {
  char buffer[bufferBytes];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, form...).ptr};
}

}  // namespace

std::string shortestText(double value) {
  // Plain digits for everything from 0.0001 to below 10^16, the exponent form outside.
  double const size = std::fabs(value);
  bool const plain = value == 0 || (size >= 1e-4 && size < 1e16);
  return written(value, plain ? std::chars_format::fixed : std::chars_format::scientific);
}

std::string streamText(double value) {
  constexpr int digits = 6;
  return written(value, std::chars_format::general, digits);
}

std::string hexadecimalText(std::uint64_t value) {
  constexpr int hexadecimal = 16;
  return written(value, hexadecimal);
}

}  // namespace Ringlog
