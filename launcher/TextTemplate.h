#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Oru::Launcher {

// A text of the configuration in which {name}, {kind} and {tree} stand for what differs from agent
// to agent; {{ and }} stand for the braces themselves. What is put in is put in as it is: it is not
// searched for placeholders again, and no shell sees it.
class TextTemplate {
 public:
  struct Values {
    std::string_view name;
    std::string_view kind;
    std::string_view tree;
  };

  // Raises std::invalid_argument ("has ...", of the text) on an unknown placeholder or a brace
  // without its partner.
  explicit TextTemplate(std::string_view text);

  std::string expand(Values const& values) const;

 private:
  using Field = std::string_view Values::*;

  // A literal, then the field that follows it, if any.
  struct Piece {
    std::string literal;
    Field field = nullptr;
  };

  static Field fieldOf(std::string_view placeholder);
  void addPlaceholder(std::string_view& rest);
  void addBrace(std::string_view& rest);

  std::vector<Piece> pieces_{1};
};

}  // namespace Oru::Launcher
