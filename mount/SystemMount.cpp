#include "mount/SystemMount.h"

#include <algorithm>

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::ChipInfo;
using Central::ChipPort;
using Central::DeviceId;
using Central::SystemStatus;
using Lanko::IntfId;
using Vunda::String;

namespace {

TreePath const chips{"system", "chips"};
TreePath const slices{"system", "slices"};
TreePath const interfaces{"system", "interfaces"};

TreePath placeOf(TreePath const& directory, DeviceId id) {
  return directory / std::to_string(id.value());
}

}  // namespace

SystemMount::SystemMount(MountContext const& context, Vunda::Ptr<SystemStatus> const& systemStatus)
    : writer_(context.writer),
      systemStatus_(systemStatus),
      chips_(*this, context, "chips", &SystemMount::loadChip),
      slices_(*this, context, "slices", &SystemMount::loadSlice),
      interfaces_(*this, context, "interfaces", &SystemMount::loadInterfaces) {}

void SystemMount::read() {
  chips_.read();
  slices_.read();
  interfaces_.read();
}

void SystemMount::loadChip(std::string const& name, std::string const& text) {
  auto const info = Codec::chipInfoOf(text, name);
  Kesh::System::currentTimeFloorIs(info.genTime());
  systemStatus_->chipInfoIs(info);
}

void SystemMount::loadSlice(std::string const& name, std::string const& text) {
  systemStatus_->sliceToChipMapIs(entityName(name), Codec::sliceChipsOf(text));
}

void SystemMount::loadInterfaces(std::string const& name, std::string const& text) {
  auto const id = Codec::deviceIdOf(name);
  for (auto const& [interface, port] : Codec::interfacesOf(text))
    systemStatus_->intfToChipPortIs(Codec::intfIdOf(interface), ChipPort(id, port));
}

void SystemMount::follow() {
  watch_ = watchNode(*systemStatus_, [this](auto field, auto key) { changed(field, key); });
  for (auto at = systemStatus_->chipInfo().iterator(); at; ++at) chipChanged(at.key());
  for (auto at = systemStatus_->sliceToChipMap().iterator(); at; ++at) sliceChanged(at.key());
  for (auto at = systemStatus_->intfToChipPort().iterator(); at; ++at) interfaceChanged(at.key());
}

void SystemMount::changed(Vunda::FieldId field, void const* key) {
  if (field == SystemStatus::chipInfoField) chipChanged(*static_cast<DeviceId const*>(key));
  if (field == SystemStatus::sliceToChipMapField) sliceChanged(*static_cast<String const*>(key));
  if (field == SystemStatus::intfToChipPortField)
    interfaceChanged(*static_cast<IntfId const*>(key));
}

void SystemMount::chipChanged(DeviceId id) {
  auto const value = placeOf(chips, id);
  if (systemStatus_->chipInfo().has(id))
    writer_.valueIs(value, [this, id] { return Codec::jsonOf(systemStatus_->chipInfo(id)); });
  else
    writer_.valueDel(value);
}

void SystemMount::sliceChanged(String const& slice) {
  auto const value = slices / slice.view();
  if (systemStatus_->sliceToChipMap().has(slice))
    writer_.valueIs(value,
                    [this, slice] { return Codec::jsonOf(systemStatus_->sliceToChipMap(slice)); });
  else
    writer_.valueDel(value);
}

// An interface that moves leaves the chip where it was.
void SystemMount::interfaceChanged(IntfId intf) {
  auto const* const now = systemStatus_->intfToChipPort().lookup(intf);
  auto const before = deviceOf_.find(intf);
  if (before != deviceOf_.end()) {
    portsOf_[before->second.value()].erase(intf);
    if (!now || now->deviceId() != before->second) interfacesChanged(before->second);
    deviceOf_.erase(before);
  }
  if (!now) return;
  deviceOf_.emplace(intf, now->deviceId());
  portsOf_[now->deviceId().value()][intf] = now->portId();
  interfacesChanged(now->deviceId());
}

// Interfaces come and go one by one: the writer is told once for each text that it makes.
void SystemMount::interfacesChanged(DeviceId id) {
  auto wished = wished_[id.value()];
  if (portsOf_[id.value()].empty()) {
    wished = false;
    writer_.valueDel(placeOf(interfaces, id));
  } else if (!wished) {
    wished = true;
    writer_.valueIs(placeOf(interfaces, id), [this, id] {
      wished_[id.value()] = false;
      return interfacesText(id);
    });
  }
}

// By port: ids of interfaces differ from one run to the next.
std::string SystemMount::interfacesText(DeviceId id) const {
  auto const& ports = portsOf_[id.value()];
  std::vector<std::pair<IntfId, Central::PortId>> byPort(ports.begin(), ports.end());
  std::ranges::stable_sort(byPort, {}, [](auto const& entry) { return entry.second; });
  return Codec::jsonOfInterfaces(byPort);
}

}  // namespace Oru::Mount
