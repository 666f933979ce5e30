#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Oru::Sim {

// The numbers of a text such as "1-4" or "1,3,7-9", in the order given. From 0 to 65535, none
// twice, at most 4096. Raises std::invalid_argument with the reason.
std::vector<unsigned> numbersOf(std::string_view text);

// The values of placeholders by their names.
using Placeholders = std::map<std::string, unsigned, std::less<>>;

// `text` with each {name} replaced by its number. Raises std::invalid_argument, with the reason, on
// a placeholder that is not known and on a brace without its partner.
std::string expanded(std::string_view text, Placeholders const& values);

// "1 chip", "2 chips".
std::string counted(std::size_t count, std::string const& what);

// `text` with `word`, wherever it stands, replaced by `by`.
std::string replaced(std::string text, std::string_view word, std::string_view by);

// `text` as it must be written where braces stand for placeholders.
std::string withDoubledBraces(std::string_view text);

}  // namespace Oru::Sim
