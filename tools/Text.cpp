#include "tools/Text.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace Oru::Tools {

namespace {

// One character of a text; a byte that belongs to none is its own.
struct Character {
  std::string_view bytes;
  std::uint32_t code = 0;
  bool valid = false;
};

std::size_t lengthBy(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return 2;
  if (first >= 0xE0 && first < 0xF0) return 3;
  return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool isLegal(std::uint32_t code, std::size_t length) {
  constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  bool const surrogate = code >= 0xD800 && code < 0xE000;
  return code >= least[length] && code <= 0x10FFFF && !surrogate;
}

Character characterAt(std::string_view text) {
  auto const first = static_cast<unsigned char>(text[0]);
  std::size_t const length = lengthBy(first);
  Character const broken{text.substr(0, 1), first, false};
  if (length == 0 || length > text.size()) return broken;
  std::uint32_t code = length == 1 ? first : first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    auto const next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0U) != 0x80U) return broken;
    code = code << 6 | (next & 0x3FU);
  }
  return isLegal(code, length) ? Character{text.substr(0, length), code, true} : broken;
}

template <class Each>
void forEachCharacter(std::string_view text, Each each) {
  while (!text.empty()) {
    Character const character = characterAt(text);
    each(character);
    text.remove_prefix(character.bytes.size());
  }
}

// Columns of a character whatever the user's locale is; negative when it cannot be printed.
int columnsOf(std::uint32_t code) {
  static locale_t const utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (utf8 == nullptr) return code < 0x20 || (code >= 0x7F && code < 0xA0) ? -1 : 1;
  locale_t const before = ::uselocale(utf8);
  int const columns = ::wcwidth(static_cast<wchar_t>(code));
  ::uselocale(before);
  return columns;
}

bool turnsDirection(std::uint32_t code) {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(Character const& character) {
  char text[16];
  bool const asByte = !character.valid || character.code < 0x80;
  std::snprintf(text, sizeof text, asByte ? "\\x%02X" : "\\u%04X", character.code);
  return text;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view number(std::string_view& text) {
  auto const end = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
  std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

}  // namespace

std::string shown(std::string_view text) {
  std::string result;
  forEachCharacter(text, [&](Character const& character) {
    bool const harmless =
        character.valid && !turnsDirection(character.code) && columnsOf(character.code) >= 0;
    if (harmless && character.code != 0)
      result += character.bytes;
    else
      result += escaped(character);
  });
  return result;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  forEachCharacter(text, [&](Character const& character) {
    width += static_cast<std::size_t>(std::max(0, columnsOf(character.code)));
  });
  return width;
}

std::string fitted(std::string_view text, std::size_t columns) {
  std::string result;
  std::size_t used = 0;
  forEachCharacter(text, [&](Character const& character) {
    used += static_cast<std::size_t>(std::max(0, columnsOf(character.code)));
    if (used <= columns) result += character.bytes;
  });
  return result;
}

bool naturalLess(std::string_view a, std::string_view b) {
  std::string_view const wholeA = a, wholeB = b;
  while (!a.empty() && !b.empty()) {
    if (isDigit(a[0]) && isDigit(b[0])) {
      auto const left = number(a), right = number(b);
      if (left != right) return std::pair(left.size(), left) < std::pair(right.size(), right);
    } else {
      if (a[0] != b[0]) return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() != b.empty()) return a.empty();
  return wholeA < wholeB;  // "7" and "07" are two names
}

}  // namespace Oru::Tools
