#pragma once

#include <termios.h>

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Oru::Tools {

// A terminal that shows one picture after the other, on a screen of its own; what stood there
// before comes back at the end. Keys are read one by one.
class Screen {
 public:
  struct Size {
    std::size_t columns = 80, rows = 24;
  };

  explicit Screen(std::ostream& out);
  ~Screen();
  Screen(Screen const&) = delete;
  Screen& operator=(Screen const&) = delete;

  static bool isThere();  // standard output is a terminal
  Size size() const;
  void draw(std::vector<std::string> const& lines);
  // Whether keys can be read from standard input.
  bool hasKeys() const { return saved_.has_value(); }

 private:
  std::ostream& out_;
  std::optional<termios> saved_;  // how the terminal was
};

}  // namespace Oru::Tools
