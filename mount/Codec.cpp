#include "mount/Codec.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mount/Json.h"
#include "mount/ResetKeyName.h"
#include "mount/TreePath.h"

namespace Oru::Mount::Codec {

using namespace Central;
using nlohmann::ordered_json;
using Vunda::Duration;
using Vunda::String;

namespace {

constexpr std::int64_t greatestPort = 65535;
constexpr std::int64_t greatestReason = 4294967295;
// With its extension, and after a prefix, it is still a file's name.
constexpr std::size_t longestFileName = 240;

constexpr std::array resetTypes{ResetType::chip, ResetType::slice, ResetType::allSlices,
                                ResetType::featureAgents};

Duration time(JsonObject& object, char const* field) { return Duration(object.seconds(field)); }

DeviceId deviceId(JsonObject& object, char const* field) {
  return DeviceId(static_cast<std::uint16_t>(object.integer(field, DeviceId::min, DeviceId::null)));
}

PortId port(JsonObject& object, std::string const& name) {
  return static_cast<PortId>(object.integer(name.c_str(), 0, greatestPort));
}

// A name that becomes a file's.
void requireName(JsonObject const& object, std::string const& field, std::string const& name) {
  if (name.empty()) object.refuse(field, "is an empty name");
  if (name.find('\0') != std::string::npos) object.refuse(field, "holds a NUL character");
  if (encodedName(name).size() > longestFileName) object.refuse(field, "is too long a name");
}

String text(JsonObject& object, char const* field) {
  return String(std::string_view(object.string(field)));
}

String name(JsonObject& object, char const* field) {
  requireName(object, field, object.string(field));
  return text(object, field);
}

template <class Read>
auto whole(std::string const& text, Read read) {
  auto const json = parsedJson(text);
  JsonObject object(json);
  auto data = read(object);
  object.finish();
  return data;
}

std::map<PortId, std::string> ports(JsonObject object) {
  std::map<PortId, std::string> result;
  for (auto const& number : object.names()) {
    auto const id = integerOf(number, 0, greatestPort, object.placeOf(number));
    result.emplace(static_cast<PortId>(id), object.string(number.c_str()));
  }
  return result;
}

ChipHwData chipHw(JsonObject object) {
  ChipHwData chip;
  chip.deviceId = deviceId(object, "deviceId").value();
  chip.ports = ports(object.object("ports"));
  object.finish();
  return chip;
}

std::map<std::string, ChipHwData> chipsHw(JsonObject object) {
  std::map<std::string, ChipHwData> result;
  for (auto const& chip : object.names()) {
    requireName(object, chip, chip);
    result.emplace(chip, chipHw(object.object(chip.c_str())));
  }
  return result;
}

std::map<std::string, PortId> interfacePorts(JsonObject object) {
  std::map<std::string, PortId> result;
  for (auto const& interface : object.names()) {
    if (interface.empty()) object.refuse(interface, "is an empty name");
    if (interface.find('\0') != std::string::npos)
      object.refuse(interface, "holds a NUL character");
    result.emplace(interface, port(object, interface));
  }
  return result;
}

ResetType resetType(JsonObject& object) {
  auto const& word = object.string("type");
  auto const type =
      std::ranges::find_if(resetTypes, [&](ResetType t) { return stringValue(t).view() == word; });
  if (type == resetTypes.end())
    object.refuse("type", "is none of chip, slice, allSlices, featureAgents");
  return *type;
}

ResetKey resetKey(JsonObject& object) {
  auto const type = resetType(object);
  bool const ofChip = type == ResetType::chip;
  bool const ofSlice = ofChip || type == ResetType::slice;
  String const slice = ofSlice ? name(object, "slice") : String();
  String const chip = ofChip ? name(object, "chip") : String();
  return {type, chip, slice};
}

std::string line(ordered_json const& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

ordered_json jsonOfPorts(ChipHwConfig const& chip) {
  auto json = ordered_json::object();
  for (auto at = chip.portConfig().iterator(); at; ++at)
    json[std::to_string(at.key())] = at.value()->intfName().view();
  return json;
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

SliceHwData sliceHwConfigOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    return SliceHwData{time(object, "genTime"), chipsHw(object.object("chips"))};
  });
}

Duration sliceHwStatusOf(std::string const& text) {
  return whole(text, [](JsonObject& object) { return time(object, "genTime"); });
}

ChipConfigData chipConfigOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    return ChipConfigData{deviceId(object, "deviceId"), object.boolean("enabled"),
                          time(object, "genTime"), time(object, "syncGenTime")};
  });
}

ChipStatusData chipStatusOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    return ChipStatusData{time(object, "genTime"), interfacePorts(object.object("intfToPortId"))};
  });
}

ResetData resetOf(std::string const& text, std::string const& name) {
  return whole(text, [&](JsonObject& object) {
    ResetData data;
    data.key = resetKey(object);
    data.cause = Codec::text(object, "cause");
    data.reason = static_cast<ResetReason>(object.integer("reason", 0, greatestReason));
    data.genTime = time(object, "genTime");
    if (nameOf(data.key) != name)
      throw JsonError({}, "belongs into a file named " + encodedName(nameOf(data.key)) + ".json");
    return data;
  });
}

bool featureOf(std::string const& text) {
  return whole(text, [](JsonObject& object) { return object.boolean("enabled"); });
}

Duration launcherEntryOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    return object.has("restart") ? time(object, "restart") : Duration();
  });
}

DeviceId deviceIdOf(std::string const& name) {
  return DeviceId(static_cast<std::uint16_t>(
      integerOf(name, DeviceId::min, DeviceId::null, "the file's name")));
}

ChipInfo chipInfoOf(std::string const& text, std::string const& fileName) {
  return whole(text, [&](JsonObject& object) {
    ChipInfo info(deviceId(object, "deviceId"), name(object, "name"));
    if (info.deviceId() != deviceIdOf(fileName))
      object.refuse("deviceId", "is not the file's name");
    info.sliceNameIs(name(object, "slice"));
    info.genTimeIs(time(object, "genTime"));
    for (auto const& interface : object.array("interfaces")) {
      if (!interface.is_string()) object.refuse("interfaces", "holds what is not a string");
      info.intfIdIs(intfIdOf(interface.get<std::string>()), true);
    }
    return info;
  });
}

ChipCollection sliceChipsOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    ChipCollection chips;
    for (auto const& id : object.array("chips")) {
      if (!id.is_number_unsigned() || id.get<std::uint64_t>() > DeviceId::null)
        object.refuse("chips", "holds what is not a whole number from 0 to 64");
      chips.chipIs(DeviceId(id.get<std::uint16_t>()), true);
    }
    return chips;
  });
}

std::map<std::string, PortId> interfacesOf(std::string const& text) {
  return whole(text,
               [](JsonObject& object) { return interfacePorts(object.object("intfToPortId")); });
}

void apply(ChipConfigData const& data, ChipConfig& config) {
  config.deviceIdIs(data.deviceId);
  config.enabledIs(data.enabled);
  config.syncGenTimeIs(data.syncGenTime);
  config.genTimeIs(data.genTime);
}

void apply(ChipStatusData const& data, ChipStatus& status) {
  for (auto at = status.intfToPortId().iterator(); at; ++at)
    if (!data.intfToPortId.contains(std::string(at.key().name().view())))
      status.intfToPortIdDel(at.key());
  for (auto const& [interface, port] : data.intfToPortId)
    status.intfToPortIdIs(intfIdOf(interface), port);
  status.genTimeIs(data.genTime);
}

void apply(ResetData const& data, ResetEntry& entry) {
  entry.resetCauseIs(data.cause);
  entry.resetReasonIs(data.reason);
  entry.genTimeIs(data.genTime);
}

void apply(ChipHwData const& data, ChipHwConfig& chip) {
  for (auto at = chip.portConfig().iterator(); at; ++at)
    if (!data.ports.contains(at.key())) chip.portConfigDel(at.key());
  for (auto const& [number, interface] : data.ports) {
    auto const known = chip.portConfig(number);
    if (known && known->intfName().view() == interface) continue;
    chip.portConfigIs(number, Vunda::makeNode<PortHwConfig>(String(std::string_view(interface))));
  }
  chip.deviceIdIs(data.deviceId);
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
  std::string json = jsonOfInterfaces(ports);
  ordered_json const genTime = status.genTime().seconds();
  return json.insert(1, "\"genTime\":" + genTime.dump() + ',');
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

// Written by hand: a member per interface in an ordered object would be looked up one by one.
std::string jsonOfInterfaces(std::vector<std::pair<Lanko::IntfId, PortId>> const& ports) {
  std::string json = "{\"intfToPortId\":{";
  for (auto const& [interface, port] : ports) {
    if (json.back() != '{') json += ',';
    ordered_json const name = interface.name().view();
    json += name.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    json += ':' + std::to_string(port);
  }
  return json + "}}\n";
}

}  // namespace Oru::Mount::Codec
