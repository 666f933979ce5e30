#pragma once

#include <string>

namespace Oru::Tools {

// What a piece of text is to the reader; on a terminal, its colour.
enum class Tone { plain, heading, good, busy, bad, quiet };

// Whether and how texts are coloured.
class Style {
 public:
  explicit Style(bool colours = false) : colours_(colours) {}
  // Colours for a terminal, unless the environment has NO_COLOR or a TERM that has none.
  static Style forDescriptor(int fd);

  bool colours() const { return colours_; }
  std::string operator()(Tone tone, std::string const& text) const;

 private:
  bool colours_;
};

}  // namespace Oru::Tools
