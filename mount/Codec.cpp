#include "mount/Codec.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mount/Json.h"
#include "mount/LauncherEntry.h"
#include "mount/TreePath.h"

namespace Oru::Mount::Codec {

using namespace Central;
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

Duration generation(JsonObject& object, char const* field) {
  return Duration(object.generation(field));
}

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
    auto const id = object.integerName(number, 0, greatestPort);
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
    result.emplace_hint(result.end(), interface, port(object, interface));
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

}  // namespace

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
                          generation(object, "genTime"), generation(object, "syncGenTime")};
  });
}

ChipStatusData chipStatusOf(std::string const& text) {
  return whole(text, [](JsonObject& object) {
    return ChipStatusData{generation(object, "genTime"),
                          interfacePorts(object.object("intfToPortId"))};
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
  return Duration(restartOfEntry(text).value_or(0.0));
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
    info.genTimeIs(generation(object, "genTime"));
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

}  // namespace Oru::Mount::Codec
