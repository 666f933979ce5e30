#include "tools/ResetOutcome.h"

#include <set>

namespace Oru::Tools {

namespace {

using Kind = ResetOutcome::Kind;
using Launcher::AgentKind;

double configuredIn(TreeData const& data, std::string const& slice, std::string const& chip) {
  auto const* const config = data.configOf(slice, chip);
  return config ? config->genTime.seconds() : 0.0;
}

// Of a board whose file cannot be read just now, the last one that could is in force.
bool isInserted(TreeData const& data, std::string const& slice) {
  return (data.hwConfig.contains(slice) || data.isUnreadable({"hw", "config", slice})) &&
         data.status.contains(slice);
}

ResetOutcome chipOutcome(double requested, std::string const& slice, std::string const& chip,
                         TreeData const& before, TreeData const& after) {
  ResetOutcome outcome{Kind::notFound, slice, chip, {}, 0};
  double const first = configuredIn(before, slice, chip);
  double const last = configuredIn(after, slice, chip);
  if (first < requested && last > requested) {
    outcome.kind = Kind::reset;
  } else if (!isInserted(after, slice)) {
    outcome.kind = Kind::notInserted;
  } else if (first >= requested) {
    outcome.kind = Kind::outdated;
    outcome.configured = first;
  }
  return outcome;
}

void addSlice(std::vector<ResetOutcome>& outcomes, double requested, std::string const& slice,
              TreeData const& before, TreeData const& after) {
  if (!isInserted(after, slice)) {
    outcomes.push_back({Kind::notInserted, slice, {}, {}, 0});
    return;
  }
  std::set<std::string, NaturalOrder> chips;
  if (auto const board = after.hwConfig.find(slice); board != after.hwConfig.end())
    for (auto const& [chip, hardware] : board->second.chips) chips.insert(chip);
  else if (auto const known = after.config.find(slice); known != after.config.end())
    for (auto const& [chip, config] : known->second) chips.insert(chip);
  for (auto const& chip : chips)
    outcomes.push_back(chipOutcome(requested, slice, chip, before, after));
}

// The restarts stand in the entries before the answer does. One that was made after it, for a
// feature that is new, has none and is not spoken of.
void addFeatures(std::vector<ResetOutcome>& outcomes, double requested, TreeData const& before,
                 TreeData const& after) {
  for (auto const& [id, restart] : after.entries) {
    if (id.kind != AgentKind::feature) continue;
    auto const known = before.entries.find(id);
    bool const wasThere = known != before.entries.end();
    bool const isOutdated = restart < requested || (wasThere && known->second >= requested);
    if (!isOutdated)
      outcomes.push_back({Kind::reset, {}, {}, id.name, 0});
    else if (wasThere)
      outcomes.push_back({Kind::outdated, {}, {}, id.name, restart});
  }
}

}  // namespace

char const* wordOf(Kind kind) {
  constexpr char const* words[] = {"reset", "outdated", "not inserted", "not found"};
  return words[static_cast<std::size_t>(kind)];
}

std::string subjectOf(ResetOutcome const& outcome) {
  if (!outcome.feature.empty()) return "feature agent " + outcome.feature;
  if (outcome.chip.empty()) return "slice " + outcome.slice;
  return "chip " + outcome.slice + '/' + outcome.chip;
}

bool isAnswered(TreeData const& data, TreeData::ResetId const& id, double genTime) {
  auto const answer = data.answers.find(id);
  return answer != data.answers.end() && answer->second.genTime.seconds() == genTime;
}

std::vector<ResetOutcome> outcomesOf(Mount::Codec::ResetData const& request, TreeData const& before,
                                     TreeData const& after) {
  double const requested = request.genTime.seconds();
  std::string const sliceName = textOf(request.key.sliceName());
  std::vector<ResetOutcome> outcomes;
  switch (request.key.resetType()) {
    using enum Central::ResetType;
    case chip:
      outcomes.push_back(
          chipOutcome(requested, sliceName, textOf(request.key.chipName()), before, after));
      break;
    case slice:
      addSlice(outcomes, requested, sliceName, before, after);
      break;
    case allSlices:
      for (auto const& [name, hardware] : after.hwConfig)
        addSlice(outcomes, requested, name, before, after);
      break;
    case featureAgents:
      addFeatures(outcomes, requested, before, after);
      break;
  }
  return outcomes;
}

Return returnOf(ResetOutcome const& outcome, double requested, TreeData const& now) {
  if (!outcome.feature.empty()) {
    if (!now.entries.contains({AgentKind::feature, outcome.feature})) return Return::gone;
    auto const* const agent = now.agentOf(AgentKind::feature, outcome.feature);
    bool const back = agent && agent->state == Launcher::AgentState::running && agent->restart &&
                      *agent->restart >= requested;
    return back ? Return::running : Return::pending;
  }
  auto const* const config = now.configOf(outcome.slice, outcome.chip);
  if (!config || !config->enabled || !isInserted(now, outcome.slice)) return Return::gone;
  auto const* const published = now.publishedOf(outcome.slice, outcome.chip);
  return published && published->genTime() == config->genTime ? Return::running : Return::pending;
}

}  // namespace Oru::Tools
