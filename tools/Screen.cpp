#include "tools/Screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace Oru::Tools {

namespace {

constexpr char const* ownScreen = "\033[?1049h\033[?25l";
constexpr char const* formerScreen = "\033[?25h\033[?1049l";
constexpr char const* begin = "\033[H";
constexpr char const* clearLine = "\033[K";
constexpr char const* clearBelow = "\033[J";

}  // namespace

Screen::Screen(std::ostream& out) : out_(out) {
  termios mode{};
  if (::isatty(STDIN_FILENO) != 0 && ::tcgetattr(STDIN_FILENO, &mode) == 0) {
    saved_ = mode;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &mode);
  }
  out_ << ownScreen;
}

Screen::~Screen() {
  out_ << formerScreen << std::flush;
  if (saved_) ::tcsetattr(STDIN_FILENO, TCSANOW, &*saved_);
}

bool Screen::isThere() { return ::isatty(STDOUT_FILENO) != 0; }

Screen::Size Screen::size() const {
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) < 0 || size.ws_col == 0 || size.ws_row == 0)
    return {};
  return {size.ws_col, size.ws_row};
}

void Screen::draw(std::vector<std::string> const& lines) {
  std::size_t const count = std::min(lines.size(), size().rows);
  out_ << begin;
  for (std::size_t i = 0; i < count; ++i)
    out_ << lines[i] << clearLine << (i + 1 < count ? "\r\n" : "");
  out_ << clearBelow << std::flush;
}

}  // namespace Oru::Tools
