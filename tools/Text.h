#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Oru::Tools {

// Names in the tree are any text that anybody wrote; these make them fit for a terminal.

// The text with nothing in it that a terminal acts on: control characters, bytes that are no UTF-8,
// what turns the direction of writing, and what cannot be printed are written as \x1B or \u202E.
std::string shown(std::string_view text);

// Columns that a text takes which shown() has made: wide characters take two, combining ones none.
std::size_t displayWidth(std::string_view text);

// The beginning of such a text, not more than so many columns.
std::string fitted(std::string_view text, std::size_t columns);

// Whether `a` comes before `b` where runs of digits count as numbers: Chip2 before Chip10.
bool naturalLess(std::string_view a, std::string_view b);

// naturalLess() as the order of a map or a sort.
struct NaturalOrder {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return naturalLess(a, b); }
};

}  // namespace Oru::Tools
