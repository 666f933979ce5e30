#include "tools/KnownNames.h"

#include <algorithm>
#include <set>

#include "tools/Failure.h"
#include "tools/Suggestion.h"

namespace Oru::Tools {

namespace {

using Names = std::set<std::string, NaturalOrder>;

std::vector<std::string> listOf(Names const& names) { return {names.begin(), names.end()}; }

template <class Map>
void addKeys(Names& names, Map const& map) {
  for (auto const& entry : map) names.insert(entry.first);
}

std::string quoted(std::string const& name) { return '"' + shown(name) + '"'; }

[[noreturn]] void unknown(char const* what, std::string const& name,
                          std::vector<std::string> const& known) {
  throw Failure(exitUsage,
                std::string("there is no ") + what + ' ' + quoted(name) + didYouMean(name, known));
}

void require(char const* what, std::string const& name, std::vector<std::string> const& known) {
  if (std::ranges::find(known, name) == known.end()) unknown(what, name, known);
}

}  // namespace

std::vector<std::string> knownSlices(TreeData const& data) {
  Names names;
  addKeys(names, data.hwConfig);
  addKeys(names, data.config);
  addKeys(names, data.status);
  return listOf(names);
}

std::vector<std::string> knownFeatures(TreeData const& data) {
  Names names;
  addKeys(names, data.features);
  return listOf(names);
}

std::vector<std::pair<std::string, std::string>> knownChips(TreeData const& data) {
  std::vector<std::pair<std::string, std::string>> chips;
  for (auto const& slice : knownSlices(data)) {
    Names names;
    if (auto const at = data.hwConfig.find(slice); at != data.hwConfig.end())
      addKeys(names, at->second.chips);
    if (auto const at = data.config.find(slice); at != data.config.end())
      addKeys(names, at->second);
    for (auto const& chip : names) chips.emplace_back(slice, chip);
  }
  return chips;
}

void requireSlice(TreeData const& data, std::string const& name) {
  require("slice", name, knownSlices(data));
}

void requireFeature(TreeData const& data, std::string const& name) {
  require("feature", name, knownFeatures(data));
}

std::string sliceOfChip(TreeData const& data, std::string const& chip, std::string const& slice) {
  if (!slice.empty()) requireSlice(data, slice);
  std::vector<std::string> slices, chips;
  for (auto const& [itsSlice, name] : knownChips(data)) {
    if (!slice.empty() && itsSlice != slice) continue;
    chips.push_back(name);
    if (name == chip) slices.push_back(itsSlice);
  }
  if (slices.empty()) unknown("chip", chip, chips);
  // A board that went leaves its configuration behind; the one that has the chip now counts.
  std::vector<std::string> present;
  for (auto const& each : slices) {
    auto const at = data.hwConfig.find(each);
    if (at != data.hwConfig.end() && at->second.chips.contains(chip)) present.push_back(each);
  }
  auto const& candidates = present.empty() ? slices : present;
  if (candidates.size() == 1) return candidates.front();
  throw Failure(exitUsage, "chip " + quoted(chip) + " is in the slices " + quoted(candidates[0]) +
                               " and " + quoted(candidates[1]) + "; say which with --slice");
}

}  // namespace Oru::Tools
