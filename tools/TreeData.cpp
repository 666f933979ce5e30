#include "tools/TreeData.h"

#include <algorithm>

#include "launcher/AgentStatusJson.h"
#include "mount/JsonError.h"
#include "mount/LauncherEntry.h"

namespace Oru::Tools {

namespace {

using Launcher::AgentId;
using Mount::Backend;
using Mount::TreePath;
namespace Codec = Mount::Codec;

template <class Map, class Key>
auto const* find(Map const& map, Key const& key) {
  auto const at = map.find(key);
  return at == map.end() ? nullptr : &at->second;
}

TreeData::ResetId resetId(TreePath const& path) { return {path[2], path[3]}; }

}  // namespace

std::string textOf(Vunda::String const& text) { return std::string(text.view()); }

AgentId agentIdOf(TreePath const& path) {
  auto const kind = Launcher::agentKind(path[1]);
  if (!kind) throw Mount::JsonError({}, "is in none of the directories slice, chip, feature");
  return {*kind, path[2]};
}

TreeData::TreeData(TreeScan const& scan) : unreadable(scan.strays) {
  for (auto const& directory : scan.directories)
    if (directory[0] == "status") status[directory[1]];
  for (auto const& [path, reading] : scan.values) {
    auto const area = areaOf(path);
    if (reading.state == Backend::Reading::State::refused) {
      unreadable.push_back(Tools::problemOf(path.valueText(), {}, reading.reason));
    } else if (area)
      try {
        take(*area, path, reading.text);
      } catch (Mount::JsonError const& error) {
        unreadable.push_back(Tools::problemOf(path.valueText(), error.place(), error.reason()));
      }
  }
}

void TreeData::take(Area area, TreePath const& path, std::string const& text) {
  switch (area) {
    case Area::hwConfig:
      hwConfig.emplace(path.leaf(), Codec::sliceHwConfigOf(text));
      break;
    case Area::hwStatus:
      hwStatus.emplace(path.leaf(), Codec::sliceHwStatusOf(text).seconds());
      break;
    case Area::config:
      config[path[1]].emplace(path.leaf(), Codec::chipConfigOf(text));
      break;
    case Area::status:
      status[path[1]].emplace(path.leaf(), Codec::chipStatusOf(text));
      break;
    case Area::chips:
      chips.emplace(Codec::deviceIdOf(path.leaf()).value(), Codec::chipInfoOf(text, path.leaf()));
      break;
    case Area::slices:
      static_cast<void>(Codec::sliceChipsOf(text));  // says nothing that `chips` does not
      break;
    case Area::interfaces:
      interfaces.emplace(Codec::deviceIdOf(path.leaf()).value(), Codec::interfacesOf(text));
      break;
    case Area::features:
      features.emplace(path.leaf(), Codec::featureOf(text));
      break;
    case Area::requests:
      requests.emplace(resetId(path), Codec::resetOf(text, path.leaf()));
      break;
    case Area::answers:
      answers.emplace(resetId(path), Codec::resetOf(text, path.leaf()));
      break;
    case Area::entries:
      entries.emplace(agentIdOf(path), Mount::restartOfEntry(text).value_or(0.0));
      break;
    case Area::agents:
      agents.emplace(agentIdOf(path), Launcher::agentStatusOf(text));
      break;
    case Area::problems:
      problems.emplace(path.leaf(), Mount::problemReportOf(text));
      break;
  }
}

Codec::ChipConfigData const* TreeData::configOf(std::string const& slice,
                                                std::string const& chip) const {
  auto const* const chipsOfSlice = find(config, slice);
  return chipsOfSlice ? find(*chipsOfSlice, chip) : nullptr;
}

Central::ChipInfo const* TreeData::publishedOf(std::string const& slice,
                                               std::string const& chip) const {
  for (auto const& [id, info] : chips)
    if (info.name().view() == chip && info.sliceName().view() == slice) return &info;
  return nullptr;
}

Launcher::AgentStatus const* TreeData::agentOf(Launcher::AgentKind kind,
                                               std::string const& name) const {
  return find(agents, AgentId{kind, name});
}

bool TreeData::isUnreadable(TreePath const& value) const {
  auto const file = value.valueText();
  return std::ranges::any_of(unreadable, [&](Problem const& each) { return each.file == file; });
}

}  // namespace Oru::Tools
