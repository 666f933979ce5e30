#include "launcher/TextTemplate.h"

#include <array>
#include <stdexcept>
#include <utility>

namespace Oru::Launcher {

TextTemplate::TextTemplate(std::string_view text) {
  while (!text.empty()) {
    bool const doubled = text.size() > 1 && text[1] == text[0];
    if (text[0] == '{' && !doubled) {
      addPlaceholder(text);
    } else if (text[0] == '{' || text[0] == '}') {
      if (!doubled) throw std::invalid_argument("has a single '}'; write }} for a brace");
      addBrace(text);
    } else {
      std::size_t const length = text.find_first_of("{}");
      pieces_.back().literal += text.substr(0, length);
      text.remove_prefix(std::min(length, text.size()));
    }
  }
}

void TextTemplate::addPlaceholder(std::string_view& rest) {
  std::size_t const end = rest.find('}');
  if (end == std::string_view::npos) {
    throw std::invalid_argument("has a '{' that is not closed; write {{ for a brace");
  }
  pieces_.back().field = fieldOf(rest.substr(1, end - 1));
  pieces_.emplace_back();
  rest.remove_prefix(end + 1);
}

void TextTemplate::addBrace(std::string_view& rest) {
  pieces_.back().literal += rest[0];
  rest.remove_prefix(2);
}

TextTemplate::Field TextTemplate::fieldOf(std::string_view placeholder) {
  static constexpr std::array<std::pair<std::string_view, Field>, 3> fields{
      {{"name", &Values::name}, {"kind", &Values::kind}, {"tree", &Values::tree}}};
  for (auto const& [word, field] : fields) {
    if (word == placeholder) return field;
  }
  throw std::invalid_argument("has the unknown placeholder {" + std::string(placeholder) +
                              "}; known are {name}, {kind} and {tree}");
}

std::string TextTemplate::expand(Values const& values) const {
  std::string text;
  for (Piece const& piece : pieces_) {
    text += piece.literal;
    if (piece.field != nullptr) text += values.*piece.field;
  }
  return text;
}

}  // namespace Oru::Launcher
