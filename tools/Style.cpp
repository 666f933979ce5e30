#include "tools/Style.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Oru::Tools {

namespace {

char const* codeOf(Tone tone) {
  switch (tone) {
    case Tone::heading:
      return "\033[1m";
    case Tone::good:
      return "\033[32m";
    case Tone::busy:
      return "\033[33m";
    case Tone::bad:
      return "\033[31m";
    case Tone::quiet:
      return "\033[90m";
    case Tone::plain:
      break;
  }
  return "";
}

bool isSet(char const* variable) {
  char const* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

Style Style::forDescriptor(int fd) {
  char const* const terminal = std::getenv("TERM");
  bool const dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return Style(::isatty(fd) != 0 && !dumb && !isSet("NO_COLOR"));
}

std::string Style::operator()(Tone tone, std::string const& text) const {
  if (!colours_ || tone == Tone::plain || text.empty()) return text;
  return codeOf(tone) + text + "\033[0m";
}

}  // namespace Oru::Tools
