#include "tools/TraceUnit.h"

#include <array>
#include <string_view>

namespace Oru::Tools {

namespace {

struct Source {
  std::string_view stem;
  char const* unit;
  bool named;  // there is one machine for each name
};

constexpr std::array sources{
    Source{"CentralChipSm", "chip", true},      Source{"CentralSliceSm", "slice", true},
    Source{"CentralSmSync", "central", false},  Source{"CentralSm", "central", false},
    Source{"FeatureCollSm", "features", false}, Source{"ResetRequestSm", "resets", false},
    Source{"NestedSm_ResetSm", "resets", false}};

std::string_view stemOf(std::string_view file) {
  file.remove_prefix(file.rfind('/') + 1);
  return file.substr(0, file.rfind('.'));
}

Source const* sourceOf(Ringlog::Record const& record) {
  auto const stem = stemOf(record.file);
  for (auto const& source : sources)
    if (source.stem == stem) return &source;
  return nullptr;
}

std::string const* firstText(Ringlog::Record const& record) {
  return record.arguments.empty() ? nullptr : std::get_if<std::string>(&record.arguments[0]);
}

// The entry of a member function, whose first argument is the machine's name.
bool isEntry(Ringlog::Record const& record) {
  auto const name = "::" + record.function + '(';
  auto const at = record.text.find(name);
  return record.level == 2 && at != std::string::npos &&
         record.text.find("): ", at) != std::string::npos;
}

// "Starting chip agent Chip1" begins what the unit "chip Chip1" does from then on.
struct Change {
  std::string_view stem, begin;
  char const *kind, *state;
};
constexpr std::array changes{
    Change{"CentralChipSm", "Starting chip agent ", "chip ", "agent starting"},
    Change{"CentralChipSm", "Reset chip ", "chip ", "starting"},
    Change{"CentralChipSm", "Chip is initialized ", "chip ", "up"},
    Change{"CentralChipSm", "Stopping chip agent ", "chip ", ""},
    Change{"CentralSm", "Starting slice agent ", "slice ", "agent"},
    Change{"CentralSm", "Stopping slice agent ", "slice ", ""},
    Change{"CentralSliceSm", "Stopping slice agent ", "slice ", ""}};

}  // namespace

std::string TraceUnit::of(Ringlog::Record const& record) {
  Source const* const source = sourceOf(record);
  if (!source) return record.file.empty() ? std::string("other") : std::string(stemOf(record.file));
  if (!source->named) return source->unit;
  auto& last = last_[source->unit];
  if (auto const* const name = firstText(record); name && isEntry(record)) last = *name;
  return last.empty() ? std::string(source->unit) + 's' : std::string(source->unit) + ' ' + last;
}

std::optional<UnitChange> unitChangeOf(Ringlog::Record const& record) {
  auto const* const name = firstText(record);
  if (!name) return std::nullopt;
  for (auto const& change : changes)
    if (stemOf(record.file) == change.stem && record.text.starts_with(change.begin))
      return UnitChange{change.kind + *name, change.state};
  return std::nullopt;
}

}  // namespace Oru::Tools
