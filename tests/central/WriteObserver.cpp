#include "tests/central/WriteObserver.h"

#include "tests/central/StateText.h"

namespace OruTest {

using namespace Oru::Central;
using Kesh::Dir;
using Vunda::Ptr;
using Vunda::String;

void WriteObserver::observe(Ptr<Dir> const& dir) {
  if (dir) observe(textOf(dir->name()), dir);
}

void WriteObserver::observe(Ptr<SystemStatus> const& systemStatus) {
  if (systemStatus) observe("systemStatus", systemStatus);
}

void WriteObserver::observe(std::string const& path, Ptr<Vunda::Node const> const& node) {
  Observed& observed = observed_[path];
  if (observed.node == node) return;
  observed.slot = nullptr;
  observed.node = node;
  observed.slot = std::make_unique<CallbackSlot>(
      *node, [this, path, at = node.ptr()](Change const& change) { changed(path, *at, change); });
  if (auto const* const dir = dynamic_cast<Dir const*>(node.ptr())) {
    for (auto it = dir->entityPtrIteratorConst(); it; ++it)
      observe(path + "/" + textOf(it.name()), it.entity());
  }
  if (auto const* const records = dynamic_cast<ResetStatusDir const*>(node.ptr())) {
    for (auto it = records->resetStatus().iterator(); it; ++it)
      observe(path + "/" + ringText(it.key()), it.value());
  }
}

void WriteObserver::forget(std::string const& path) {
  observed_.erase(path);
  auto at = observed_.lower_bound(path + "/");
  while (at != observed_.end() && at->first.starts_with(path + "/")) at = observed_.erase(at);
}

void WriteObserver::entered(std::string const& path, Dir const& dir, String const& name) {
  std::string const entry = path + "/" + textOf(name);
  if (auto const entity = dir.entityPtr(name)) {
    observe(entry, entity);
    journal_.happened("+" + entry);
  } else {
    forget(entry);
    journal_.happened("-" + entry);
  }
}

void WriteObserver::recordChanged(std::string const& path, ResetStatusDir const& dir,
                                  ResetKey const& key) {
  std::string const entry = path + "/" + ringText(key);
  if (auto const record = dir.resetStatus(key)) {
    observe(entry, record);
    journal_.happened("+" + entry);
  } else {
    forget(entry);
    journal_.happened("-" + entry);
  }
}

void WriteObserver::changed(std::string const& path, Vunda::Node const& node,
                            Change const& change) {
  auto const wrote = [&](char const* attribute, std::string const& value) {
    journal_.happened(path + "." + attribute + "=" + value);
  };
  if (auto const* const dir = dynamic_cast<Dir const*>(&node)) {
    entered(path, *dir, *static_cast<String const*>(change.key));
  } else if (auto const* const hwStatus = dynamic_cast<SliceHwStatus const*>(&node)) {
    wrote("genTime", textOf(hwStatus->genTime()));
  } else if (auto const* const config = dynamic_cast<ChipConfig const*>(&node)) {
    if (change.field == ChipConfig::deviceIdField) wrote("deviceId", textOf(config->deviceId()));
    if (change.field == ChipConfig::enabledField)
      wrote("enabled", config->enabled() ? "true" : "false");
    if (change.field == ChipConfig::genTimeField) wrote("genTime", textOf(config->genTime()));
    if (change.field == ChipConfig::syncGenTimeField)
      wrote("syncGenTime", textOf(config->syncGenTime()));
  } else if (auto const* const records = dynamic_cast<ResetStatusDir const*>(&node)) {
    recordChanged(path, *records, *static_cast<ResetKey const*>(change.key));
  } else if (auto const* const record = dynamic_cast<ResetEntry const*>(&node)) {
    if (change.field == ResetEntry::resetCauseField)
      wrote("resetCause", textOf(record->resetCause()));
    if (change.field == ResetEntry::resetReasonField)
      wrote("resetReason", textOf(stringValue(record->resetReason())));
    if (change.field == ResetEntry::genTimeField) wrote("genTime", textOf(record->genTime()));
  } else if (auto const* const status = dynamic_cast<SystemStatus const*>(&node)) {
    systemStatusChanged(*status, change);
  }
}

void WriteObserver::systemStatusChanged(SystemStatus const& status, Change const& change) {
  auto const wrote = [&](std::string const& member, std::string const& value) {
    journal_.happened(change.value ? member + "=" + value : "-" + member);
  };
  if (change.field == SystemStatus::chipInfoField) {
    DeviceId const id = *static_cast<DeviceId const*>(change.key);
    wrote("chipInfo[" + textOf(id) + "]", textOf(status.chipInfo(id)));
  } else if (change.field == SystemStatus::sliceToChipMapField) {
    String const slice = *static_cast<String const*>(change.key);
    wrote("sliceToChipMap[" + textOf(slice) + "]", textOf(status.sliceToChipMap(slice)));
  } else if (change.field == SystemStatus::intfToChipPortField) {
    Lanko::IntfId const intf = *static_cast<Lanko::IntfId const*>(change.key);
    wrote("intfToChipPort[" + textOf(intf.name()) + "]", textOf(status.intfToChipPort(intf)));
  }
}

}  // namespace OruTest
