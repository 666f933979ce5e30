#include "tools/Suggestion.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

#include "tools/Text.h"

namespace Oru::Tools {

namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// Letters to insert, remove, replace or swap with their neighbour, without regard to case.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> last(b.size() + 1), row(b.size() + 1), next(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    next[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      bool const same = lower(a[i]) == lower(b[j]);
      next[j + 1] = std::min({row[j + 1] + 1, next[j] + 1, row[j] + (same ? 0 : 1)});
      bool const swapped =
          i > 0 && j > 0 && lower(a[i]) == lower(b[j - 1]) && lower(a[i - 1]) == lower(b[j]);
      if (swapped) next[j + 1] = std::min(next[j + 1], last[j - 1] + 1);
    }
    last = std::exchange(row, next);
  }
  return row.back();
}

}  // namespace

std::string closest(std::string_view word, std::vector<std::string> const& candidates) {
  std::size_t const limit = std::max<std::size_t>(1, word.size() / 3);
  std::string const* best = nullptr;
  std::size_t least = limit + 1;
  for (auto const& candidate : candidates) {
    // A name is no longer than a file's; whatever is longer is not looked at letter by letter.
    if (word.size() > 255 || candidate.size() > 1024) continue;
    auto const found = distance(word, candidate);
    if (found < least) {
      least = found;
      best = &candidate;
    }
  }
  return best ? *best : std::string();
}

std::string didYouMean(std::string_view word, std::vector<std::string> const& candidates) {
  auto const found = closest(word, candidates);
  return found.empty() ? found : "; did you mean \"" + shown(found) + "\"?";
}

}  // namespace Oru::Tools
