#include "tools/Chassis.h"

#include <algorithm>
#include <set>
#include <utility>

#include "launcher/AgentStatusJson.h"

namespace Oru::Tools {

namespace {

using Launcher::AgentKind;
using Names = std::set<std::string, NaturalOrder>;

template <class Map>
void addKeys(Names& names, Map const& map) {
  for (auto const& entry : map) names.insert(entry.first);
}

Mount::Codec::ChipHwData const* hardwareOf(TreeData const& data, std::string const& slice,
                                           std::string const& chip) {
  auto const at = data.hwConfig.find(slice);
  if (at == data.hwConfig.end()) return nullptr;
  auto const found = at->second.chips.find(chip);
  return found == at->second.chips.end() ? nullptr : &found->second;
}

Mount::Codec::ChipStatusData const* statusOf(TreeData const& data, std::string const& slice,
                                             std::string const& chip) {
  auto const at = data.status.find(slice);
  if (at == data.status.end()) return nullptr;
  auto const found = at->second.find(chip);
  return found == at->second.end() ? nullptr : &found->second;
}

std::optional<unsigned> idOf(unsigned raw) {
  return raw == Central::DeviceId::null ? std::nullopt : std::optional(raw);
}

ChipState stateOf(ChipRow const& row, bool inSlice, Mount::Codec::ChipConfigData const* config,
                  Central::ChipInfo const* published) {
  if (!inSlice) return ChipState::leaving;
  if (!config || config->genTime.seconds() == 0.0) return ChipState::waiting;
  if (!config->enabled) return ChipState::stopped;
  bool const up = published && published->genTime() == config->genTime;
  return up && row.reported == row.configured ? ChipState::up : ChipState::starting;
}

ChipRow chipOf(TreeData const& data, std::string const& slice, std::string const& name) {
  ChipRow row;
  row.slice = slice;
  row.name = name;
  auto const* const hardware = hardwareOf(data, slice, name);
  auto const* const config = data.configOf(slice, name);
  auto const* const published = data.publishedOf(slice, name);
  if (hardware)
    row.deviceId = idOf(hardware->deviceId);
  else if (config)
    row.deviceId = idOf(config->deviceId.value());
  else if (published)
    row.deviceId = idOf(published->deviceId().value());
  if (config) row.configured = config->genTime.seconds();
  if (auto const* const status = statusOf(data, slice, name)) {
    row.reported = status->genTime.seconds();
    row.interfaces = status->intfToPortId.size();
  }
  row.agent = data.agentOf(AgentKind::chip, name);
  bool const inSlice = hardware || data.isUnreadable({"hw", "config", slice});
  row.state = stateOf(row, inSlice, config, published);
  return row;
}

// What is left in config/ of boards that went says nothing of the device.
Names chipNames(TreeData const& data, std::string const& slice) {
  Names names;
  if (auto const at = data.hwConfig.find(slice); at != data.hwConfig.end())
    addKeys(names, at->second.chips);
  if (auto const at = data.status.find(slice); at != data.status.end()) addKeys(names, at->second);
  for (auto const& [id, info] : data.chips)
    if (info.sliceName().view() == slice) names.insert(textOf(info.name()));
  return names;
}

Names sliceNames(TreeData const& data) {
  Names names;
  addKeys(names, data.hwConfig);
  addKeys(names, data.status);
  for (auto const& [id, info] : data.chips) names.insert(textOf(info.sliceName()));
  for (auto const& [id, restart] : data.entries)
    if (id.kind == AgentKind::slice) names.insert(id.name);
  return names;
}

SliceState stateOf(SliceRow const& row, TreeData const& data) {
  auto const hardware = data.hwConfig.find(row.name);
  if (hardware == data.hwConfig.end())
    return data.isUnreadable({"hw", "config", row.name}) ? SliceState::unreadable
                                                         : SliceState::leaving;
  if (row.configured == 0.0) return SliceState::empty;
  if (!data.status.contains(row.name)) return SliceState::waiting;
  bool const all = row.takenOver >= row.configured && row.chipsUp == row.chips;
  return all ? SliceState::up : SliceState::starting;
}

InterfaceRow interfaceRow(std::string const& name, ChipRow const& chip) {
  InterfaceRow row;
  row.name = name;
  row.slice = chip.slice;
  row.chip = chip.name;
  row.deviceId = chip.deviceId;
  return row;
}

// Where the chip's agent says that an interface sits; otherwise where the hardware has it.
void addInterfaces(std::vector<InterfaceRow>& rows, TreeData const& data, ChipRow const& chip) {
  std::map<std::string, InterfaceRow> found;
  if (auto const* const hardware = hardwareOf(data, chip.slice, chip.name))
    for (auto const& [port, name] : hardware->ports) {
      if (name.empty()) continue;
      auto& row = found.emplace(name, interfaceRow(name, chip)).first->second;
      row.port = port;
    }
  auto const* const published = data.publishedOf(chip.slice, chip.name);
  auto const at =
      published ? data.interfaces.find(published->deviceId().value()) : data.interfaces.end();
  if (at != data.interfaces.end())
    for (auto const& [name, port] : at->second) {
      auto& row = found.emplace(name, interfaceRow(name, chip)).first->second;
      row.port = port;
      row.up = true;
    }
  for (auto& [name, row] : found) rows.push_back(std::move(row));
}

// What a program had no room for counts as told: it may be just this.
bool isTold(TreeData const& data, Problem const& problem) {
  return std::ranges::any_of(data.problems, [&](auto const& program) {
    auto const& [problems, more] = program.second;
    return more > 0 || std::ranges::any_of(problems, [&](Problem const& other) {
             return other.file == problem.file;
           });
  });
}

}  // namespace

std::vector<ChipRow> chipsOf(TreeData const& data) {
  std::vector<ChipRow> rows;
  for (auto const& slice : sliceNames(data))
    for (auto const& chip : chipNames(data, slice)) rows.push_back(chipOf(data, slice, chip));
  return rows;
}

std::vector<SliceRow> slicesOf(TreeData const& data) {
  std::vector<SliceRow> rows;
  for (auto const& name : sliceNames(data)) {
    SliceRow row;
    row.name = name;
    for (auto const& chip : chipNames(data, name)) {
      ++row.chips;
      if (chipOf(data, name, chip).state == ChipState::up) ++row.chipsUp;
    }
    if (auto const at = data.hwConfig.find(name); at != data.hwConfig.end())
      row.configured = at->second.genTime.seconds();
    if (auto const at = data.hwStatus.find(name); at != data.hwStatus.end())
      row.takenOver = at->second;
    row.agent = data.agentOf(AgentKind::slice, name);
    row.state = stateOf(row, data);
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<InterfaceRow> interfacesOf(TreeData const& data) {
  std::vector<InterfaceRow> rows;
  for (auto const& chip : chipsOf(data)) addInterfaces(rows, data, chip);
  std::ranges::stable_sort(rows, NaturalOrder(), &InterfaceRow::name);
  return rows;
}

std::vector<FeatureRow> featuresOf(TreeData const& data) {
  std::vector<FeatureRow> rows;
  for (auto const& [name, enabled] : data.features)
    rows.push_back({name, enabled, data.agentOf(AgentKind::feature, name)});
  return rows;
}

std::vector<ResetRow> resetsOf(TreeData const& data) {
  std::vector<ResetRow> rows;
  for (auto const& [id, request] : data.requests) {
    auto const answer = data.answers.find(id);
    bool const answered = answer != data.answers.end() && answer->second.genTime == request.genTime;
    auto const state = !request.genTime ? ResetState::idle
                       : answered       ? ResetState::answered
                                        : ResetState::pending;
    rows.push_back({id.first, state, &request});
  }
  for (auto const& [id, answer] : data.answers)
    if (!data.requests.contains(id)) rows.push_back({id.first, ResetState::withdrawn, &answer});
  std::ranges::stable_sort(rows, {},
                           [](ResetRow const& row) { return row.data->genTime.seconds(); });
  return rows;
}

std::vector<AgentRow> agentsOf(TreeData const& data) {
  std::map<Launcher::AgentId, AgentRow> found;
  for (auto const& [id, restart] : data.entries) found[id] = {id, true, false, nullptr};
  for (auto const& [id, status] : data.agents) {
    auto& row = found[id];
    if (!row.wanted) {
      bool const bad = data.isUnreadable({"launcher", std::string(toString(id.kind)), id.name});
      row = {id, bad, bad, nullptr};
    }
    row.status = &status;
  }
  std::vector<AgentRow> rows;
  for (auto& [id, row] : found) rows.push_back(std::move(row));
  std::ranges::stable_sort(rows, [](AgentRow const& a, AgentRow const& b) {
    if (a.id.kind != b.id.kind) return a.id.kind < b.id.kind;
    return naturalLess(a.id.name, b.id.name);
  });
  return rows;
}

std::vector<ProblemRow> problemsOf(TreeData const& data) {
  std::vector<ProblemRow> rows;
  for (auto const& [program, report] : data.problems)
    for (auto const& problem : report.problems) rows.push_back({program, problem});
  for (auto const& problem : data.unreadable)
    if (!isTold(data, problem)) rows.push_back({"oructl", problem});
  return rows;
}

TreeData::ByName<std::size_t> moreProblemsOf(TreeData const& data) {
  TreeData::ByName<std::size_t> more;
  for (auto const& [program, report] : data.problems)
    if (report.more > 0) more[program] = report.more;
  return more;
}

std::size_t problemCount(TreeData const& data) {
  std::size_t count = problemsOf(data).size();
  for (auto const& [program, more] : moreProblemsOf(data)) count += more;
  return count;
}

char const* wordOf(SliceState state) {
  constexpr char const* words[] = {"empty", "waiting", "starting", "up", "leaving", "unreadable"};
  return words[static_cast<std::size_t>(state)];
}

char const* wordOf(ChipState state) {
  constexpr char const* words[] = {"waiting", "starting", "up", "stopped", "leaving"};
  return words[static_cast<std::size_t>(state)];
}

char const* wordOf(ResetState state) {
  constexpr char const* words[] = {"idle", "pending", "answered", "withdrawn"};
  return words[static_cast<std::size_t>(state)];
}

std::string wordOf(Launcher::AgentStatus const* agent) {
  return agent ? std::string(toString(agent->state)) : "none";
}

std::string textOf(Central::ResetKey const& key) {
  using enum Central::ResetType;
  switch (key.resetType()) {
    case chip:
      return "chip " + textOf(key.sliceName()) + '/' + textOf(key.chipName());
    case slice:
      return "slice " + textOf(key.sliceName());
    case allSlices:
      return "all slices";
    case featureAgents:
      break;
  }
  return "the feature agents";
}

}  // namespace Oru::Tools
