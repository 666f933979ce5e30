#include "sim/NumberedText.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace Oru::Sim {

namespace {

constexpr unsigned highest = 65535;
constexpr std::size_t mostNumbers = 4096;

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

unsigned numberOf(std::string_view text) {
  unsigned number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number > highest) {
    throw std::invalid_argument("has " + quoted(text) + " where a number from 0 to " +
                                std::to_string(highest) + " belongs");
  }
  return number;
}

void addRange(std::vector<unsigned>& numbers, std::string_view part) {
  auto const dash = part.find('-');
  unsigned const first = numberOf(part.substr(0, dash));
  unsigned const last = dash == std::string_view::npos ? first : numberOf(part.substr(dash + 1));
  if (last < first) throw std::invalid_argument("has the range " + quoted(part) + " backwards");
  if (numbers.size() + (last - first) >= mostNumbers) {
    throw std::invalid_argument("has more than " + std::to_string(mostNumbers) + " numbers");
  }
  for (unsigned number = first; number <= last; ++number) {
    if (std::ranges::find(numbers, number) != numbers.end()) {
      throw std::invalid_argument("has " + std::to_string(number) + " twice");
    }
    numbers.push_back(number);
  }
}

}  // namespace

std::vector<unsigned> numbersOf(std::string_view text) {
  std::vector<unsigned> numbers;
  for (;;) {
    auto const comma = text.find(',');
    addRange(numbers, text.substr(0, comma));
    if (comma == std::string_view::npos) return numbers;
    text.remove_prefix(comma + 1);
  }
}

std::string expanded(std::string_view text, Placeholders const& values) {
  std::string result;
  for (;;) {
    auto const open = text.find_first_of("{}");
    result.append(text.substr(0, open));
    if (open == std::string_view::npos) return result;
    auto const close = text.find('}', open);
    if (text[open] == '}' || close == std::string_view::npos) {
      throw std::invalid_argument("has a brace without its partner");
    }
    auto const name = text.substr(open + 1, close - open - 1);
    auto const value = values.find(name);
    if (value == values.end()) {
      throw std::invalid_argument("has the placeholder {" + std::string(name) +
                                  "}, which has no meaning here");
    }
    result.append(std::to_string(value->second));
    text.remove_prefix(close + 1);
  }
}

std::string counted(std::size_t count, std::string const& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string replaced(std::string text, std::string_view word, std::string_view by) {
  for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size())) {
    text.replace(at, word.size(), by);
  }
  return text;
}

std::string withDoubledBraces(std::string_view text) {
  std::string result;
  for (char const c : text) result.append(c == '{' || c == '}' ? 2 : 1, c);
  return result;
}

}  // namespace Oru::Sim
