#include <utility>

#include "mount/Codec.h"
#include "mount/Json.h"
#include "mount/ResetKeyName.h"

namespace Oru::Mount::Codec {

using namespace Central;
using nlohmann::ordered_json;
using Vunda::Duration;
using Vunda::String;

namespace {

std::string line(ordered_json const& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

ordered_json jsonOfPorts(ChipHwConfig const& chip) {
  auto json = ordered_json::object();
  for (auto at = chip.portConfig().iterator(); at; ++at)
    json[std::to_string(at.key())] = at.value()->intfName().view();
  return json;
}

// Each interface has one port, so nothing needs to look for it among those before, which is what
// an ordered object does otherwise.
ordered_json membersOf(std::vector<std::pair<Lanko::IntfId, PortId>> const& ports) {
  ordered_json::object_t members;
  members.reserve(ports.size());
  for (auto const& [interface, port] : ports)
    members.Container::emplace_back(interface.name().view(), port);
  return members;
}

}  // namespace

Lanko::IntfId intfIdOf(std::string const& name) {
  Lanko::IntfId id;
  id.handleInitialized(String(std::string_view(name)));
  return id;
}

std::string nameOf(ResetKey const& key) {
  return resetKeyName(stringValue(key.resetType()).view(), key.sliceName().view(),
                      key.chipName().view());
}

std::string jsonOf(SliceHwConfig const& config) {
  auto chips = ordered_json::object();
  for (auto at = config.chipConfig().iterator(); at; ++at) {
    ordered_json chip;
    chip["deviceId"] = at.value()->deviceId();
    chip["ports"] = jsonOfPorts(*at.value());
    chips[std::string(at.key().view())] = std::move(chip);
  }
  ordered_json json;
  json["genTime"] = config.genTime().seconds();
  json["chips"] = std::move(chips);
  return line(json);
}

std::string jsonOf(SliceHwStatus const& status) {
  ordered_json json;
  json["genTime"] = status.genTime().seconds();
  return line(json);
}

std::string jsonOf(ChipConfig const& config) {
  ordered_json json;
  json["deviceId"] = config.deviceId().value();
  json["enabled"] = config.enabled();
  json["genTime"] = config.genTime().seconds();
  json["syncGenTime"] = config.syncGenTime().seconds();
  return line(json);
}

std::string jsonOf(ChipStatus const& status) {
  std::vector<std::pair<Lanko::IntfId, PortId>> ports;
  for (auto at = status.intfToPortId().iterator(); at; ++at)
    ports.emplace_back(at.key(), at.value());
  ordered_json json;
  json["genTime"] = status.genTime().seconds();
  json["intfToPortId"] = membersOf(ports);
  return line(json);
}

std::string jsonOf(ResetEntry const& entry) {
  auto const& key = entry.key();
  ordered_json json;
  json["type"] = stringValue(key.resetType()).view();
  if (!key.sliceName().empty()) json["slice"] = key.sliceName().view();
  if (!key.chipName().empty()) json["chip"] = key.chipName().view();
  json["cause"] = entry.resetCause().view();
  json["reason"] = static_cast<std::uint32_t>(entry.resetReason());
  json["genTime"] = entry.genTime().seconds();
  return line(json);
}

std::string jsonOf(ChipInfo const& info) {
  auto interfaces = ordered_json::array();
  for (auto at = info.intfId().iterator(); at; ++at)
    if (at.key().valid()) interfaces.push_back(at.key().name().view());
  ordered_json json;
  json["deviceId"] = info.deviceId().value();
  json["name"] = info.name().view();
  json["slice"] = info.sliceName().view();
  json["genTime"] = info.genTime().seconds();
  json["interfaces"] = std::move(interfaces);
  return line(json);
}

std::string jsonOf(ChipCollection const& chips) {
  auto ids = ordered_json::array();
  for (auto at = chips.chip().iterator(); at; ++at)
    if (at.value()) ids.push_back(at.key().value());
  ordered_json json;
  json["chips"] = std::move(ids);
  return line(json);
}

std::string jsonOfFeature(bool enabled) {
  ordered_json json;
  json["enabled"] = enabled;
  return line(json);
}

std::string jsonOfLauncherEntry(Duration restart) {
  auto json = ordered_json::object();
  if (restart) json["restart"] = restart.seconds();
  return line(json);
}

std::string jsonOfInterfaces(std::vector<std::pair<Lanko::IntfId, PortId>> const& ports) {
  ordered_json json;
  json["intfToPortId"] = membersOf(ports);
  return line(json);
}

}  // namespace Oru::Mount::Codec
