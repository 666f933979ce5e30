#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "runtime/vunda/Duration.h"
#include "runtime/vunda/String.h"
#include "state/ChipConfig.h"
#include "state/ChipHwConfig.h"
#include "state/ChipInfo.h"
#include "state/ChipStatus.h"
#include "state/ResetEntry.h"
#include "state/SliceHwConfig.h"
#include "state/SliceHwStatus.h"
#include "state/SystemStatus.h"

// The one home of the files' formats: what a file of each type says, from its text and back.
// docs/state-tree.md explains the fields.
//
//   T dataOf<...>(text)    the whole text, checked: raises JsonError, with place and reason, for
//                          whatever is not exactly as it must be, and never hands out a part
//   apply(data, entity)    makes an entity equal to the data, member by member, in place
//   jsonOf(entity)         the text; dataOf() of it is equal to the entity (CodecWriting.cpp)
namespace Oru::Mount::Codec {

struct ChipHwData {
  std::uint16_t deviceId = Central::DeviceId::null;
  std::map<Central::PortId, std::string> ports;
};
struct SliceHwData {
  Vunda::Duration genTime;
  std::map<std::string, ChipHwData> chips;
};
struct ChipConfigData {
  Central::DeviceId deviceId;
  bool enabled = false;
  Vunda::Duration genTime;
  Vunda::Duration syncGenTime;
};
struct ChipStatusData {
  Vunda::Duration genTime;
  std::map<std::string, Central::PortId> intfToPortId;
};
struct ResetData {
  Central::ResetKey key;
  Vunda::String cause;
  Central::ResetReason reason = Central::ResetReason::unspecified;
  Vunda::Duration genTime;
};

SliceHwData sliceHwConfigOf(std::string const& text);
Vunda::Duration sliceHwStatusOf(std::string const& text);
ChipConfigData chipConfigOf(std::string const& text);
ChipStatusData chipStatusOf(std::string const& text);
// `name` is the value's name in its directory, which the key must make.
ResetData resetOf(std::string const& text, std::string const& name);
bool featureOf(std::string const& text);
// The restart time of a launcher entry; 0 when it has none.
Vunda::Duration launcherEntryOf(std::string const& text);
// `name` is the value's name in its directory, which is the device id.
Central::ChipInfo chipInfoOf(std::string const& text, std::string const& name);
Central::ChipCollection sliceChipsOf(std::string const& text);
std::map<std::string, Central::PortId> interfacesOf(std::string const& text);
// The device id that names a value of the system status.
Central::DeviceId deviceIdOf(std::string const& name);

// One attribute or member after the other; each that changes is announced. A generation comes last,
// since it is what others act on.
void apply(ChipConfigData const& data, Central::ChipConfig& config);
void apply(ChipStatusData const& data, Central::ChipStatus& status);
void apply(ResetData const& data, Central::ResetEntry& entry);
void apply(ChipHwData const& data, Central::ChipHwConfig& chip);

std::string jsonOf(Central::SliceHwConfig const& config);
std::string jsonOf(Central::SliceHwStatus const& status);
std::string jsonOf(Central::ChipConfig const& config);
std::string jsonOf(Central::ChipStatus const& status);
std::string jsonOf(Central::ResetEntry const& entry);
std::string jsonOf(Central::ChipInfo const& info);
std::string jsonOf(Central::ChipCollection const& chips);
std::string jsonOfFeature(bool enabled);
std::string jsonOfLauncherEntry(Vunda::Duration restart);
std::string jsonOfInterfaces(std::vector<std::pair<Lanko::IntfId, Central::PortId>> const& ports);

// The name of a request's or record's value in its directory.
std::string nameOf(Central::ResetKey const& key);
Lanko::IntfId intfIdOf(std::string const& name);

}  // namespace Oru::Mount::Codec
