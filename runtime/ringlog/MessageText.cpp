#include "runtime/ringlog/MessageText.h"

#include <cstddef>

#include "runtime/ringlog/TemplateFiller.h"
#include "runtime/ringlog/ValueText.h"

namespace Ringlog {

namespace {

struct Shortest {
  std::string operator()(std::string const& value) const { return value; }
  std::string operator()(double value) const { return shortestText(value); }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  template <typename Integer>
  std::string operator()(Integer value) const {
    return std::to_string(value);
  }
};

std::string withBraces(std::string_view text, std::vector<Argument> const& arguments) {
  std::string result;
  std::size_t next = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    bool const doubled = at + 1 < text.size() && text[at + 1] == text[at];
    std::size_t const end = text[at] == '{' ? text.find('}', at) : std::string_view::npos;
    if ((text[at] == '{' || text[at] == '}') && doubled) {
      result += text[at++];
    } else if (end != std::string_view::npos && next < arguments.size()) {
      result += std::visit(Shortest{}, arguments[next++]);
      at = end;
    } else {
      result += text[at];
    }
  }
  return result;
}

std::string withPercents(std::string_view text, std::vector<Argument> const& arguments) {
  TemplateFiller filler{std::string(text)};
  for (Argument const& argument : arguments) {
    std::visit([&filler](auto const& value) { filler.put(value); }, argument);
  }
  return filler.text();
}

}  // namespace

std::string messageText(TextStyle style, std::string_view text,
                        std::vector<Argument> const& arguments) {
  return style == TextStyle::Braces ? withBraces(text, arguments) : withPercents(text, arguments);
}

}  // namespace Ringlog
