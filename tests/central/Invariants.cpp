#include "tests/central/Invariants.h"

#include <functional>
#include <map>
#include <set>

namespace OruTest {

using namespace Oru::Central;
using Kesh::Dir;
using Vunda::Node;
using Vunda::Ptr;

namespace {

// Every node of the device under its path, a directory before its members, and who holds it.
class Census {
 public:
  struct Entry {
    std::string path;
    std::uint32_t holders = 0;
    std::uint32_t watchers = 0;
  };
  std::vector<Node const*> order;
  std::map<Node const*, Entry> nodes;

  void held(Node const* node, std::string const& path, std::uint32_t by = 1) {
    if (!node) return;
    Entry& entry = nodes[node];
    entry.holders += by;
    if (!entry.path.empty()) return;
    entry.path = path;
    order.push_back(node);
    members(path, node);
  }
  template <class T>
  void held(Ptr<T> const& node, std::string const& path, std::uint32_t by = 1) {
    held(static_cast<Node const*>(node.ptr()), path, by);
  }
  template <class T>
  void watched(Ptr<T> const& node, std::string const& path) {
    held(node, path);
    if (node) ++nodes[node.ptr()].watchers;
  }

  void device(Device const& device) {
    held(device.hwConfigDir, "hwConfig");
    held(device.hwStatusDir, "hwStatus");
    held(device.configDir, "config");
    held(device.statusDir, "status");
    held(device.resetRequestDir, "resetRequest");
    held(device.resetStatusDir, "resetStatus");
    held(device.sliceLauncher, "sliceLauncher");
    held(device.chipLauncher, "chipLauncher");
    held(device.featureLauncher, "featureLauncher");
    held(device.systemStatus, "systemStatus");
  }

  void root(CentralSm const& root) {
    held(&root, "root");
    watched(root.hwConfigDir(), "hwConfig");
    held(root.hwStatusDir(), "hwStatus");
    held(root.configDir(), "config");
    watched(root.statusDir(), "status");
    held(root.systemStatus(), "systemStatus");
    watched(root.resetRequestDir(), "resetRequest");
    held(root.resetStatusDir(), "resetStatus");
    held(root.sliceLauncherConfigDir(), "sliceLauncher");
    held(root.chipLauncherConfigDir(), "chipLauncher");
    held(root.featureLauncherConfigDir(), "featureLauncher");
    held(root.helper(), "helper");
    held(root.featureColl(), "features");
    features(root.featureCollSm().ptr());
    for (auto it = root.sliceSm().iterator(); it; ++it) slice(it.currNodeNonStale()->value().ptr());
    for (auto it = root.resetSm().iterator(); it; ++it)
      requests(it.currNodeNonStale()->value().ptr());
  }

 private:
  void features(FeatureCollSm const* sm) {
    if (!sm) return;
    held(sm, "featureCollSm");
    watched(sm->featureColl(), "features");
    held(sm->featureLauncherConfigDir(), "featureLauncher");
  }

  void slice(CentralSliceSm const* sm) {
    std::string const path = "sliceSm/" + textOf(sm->name());
    held(sm, path);
    watched(sm->hwConfig(), path + ".hwConfig");
    held(sm->hwStatus(), path + ".hwStatus");
    held(sm->configDir(), path + ".configDir");
    watched(sm->statusDir(), path + ".statusDir");
    held(sm->systemStatus(), "systemStatus");
    for (auto it = sm->chipSm().iterator(); it; ++it)
      chip(path, it.currNodeNonStale()->value().ptr());
  }

  void chip(std::string const& slice, CentralChipSm const* sm) {
    std::string const path = slice + "/" + textOf(sm->name());
    held(sm, path);
    held(sm->hwConfig(), path + ".hwConfig");
    held(sm->config(), path + ".config");
    watched(sm->status(), path + ".status");
    held(sm->systemStatus(), "systemStatus");
  }

  void requests(ResetRequestSm const* sm) {
    std::string const path = "resetSm/" + textOf(sm->name());
    held(sm, path);
    watched(sm->resetRequestDir(), path + ".resetRequestDir");
    held(sm->resetStatusDir(), path + ".resetStatusDir");
    for (auto it = sm->resetSm().iterator(); it; ++it) {
      auto const* const nested = it.currNodeNonStale()->value().ptr();
      held(nested, path + "/" + ringText(it.key()));
      held(nested->resetSm(), path + "/" + ringText(it.key()) + ".entry");
      if (nested->resetSm()) ++nodes[nested->resetSm()].watchers;
    }
  }

  void members(std::string const& path, Node const* node) {
    if (auto const* const dir = dynamic_cast<Dir const*>(node)) {
      for (auto it = dir->entityPtrIteratorConst(); it; ++it) {
        held(it.entity().ptr(), path + "/" + textOf(it.name()));
      }
    } else if (auto const* const slice = dynamic_cast<SliceHwConfig const*>(node)) {
      for (auto it = slice->chipConfig().iterator(); it; ++it) {
        held(it.currNodeNonStale()->value(), path + "/" + textOf(it.key()));
      }
    } else if (auto const* const requests = dynamic_cast<ResetRequestDir const*>(node)) {
      for (auto it = requests->resetRequest().iterator(); it; ++it) {
        held(it.currNodeNonStale()->value(), path + "/" + ringText(it.key()));
      }
    } else if (auto const* const records = dynamic_cast<ResetStatusDir const*>(node)) {
      for (auto it = records->resetStatus().iterator(); it; ++it) {
        held(it.currNodeNonStale()->value(), path + "/" + ringText(it.key()));
      }
    }
  }
};

std::uint32_t subscribersOf(Node const& node) {
  return node.publisher() ? node.publisher()->subscriberCount() : 0;
}

}  // namespace

std::string brokenOwnership(Device const& device, CentralSm const& root,
                            DeviceHelper const& helper) {
  Census census;
  census.device(device);
  census.root(root);
  census.held(&helper, "helper");
  census.held(helper.featureColl(), "features");
  std::string broken;
  for (Node const* const node : census.order) {
    Census::Entry const& entry = census.nodes[node];
    auto const differs = [&](char const* what, std::uint32_t actual, std::uint32_t expected) {
      if (actual == expected) return;
      broken += entry.path + " has " + std::to_string(actual) + " " + what + " instead of " +
                std::to_string(expected) + "\n";
    };
    differs("subscribers", subscribersOf(*node), entry.watchers);
    differs("users", node->useCount(), entry.holders);
  }
  return broken;
}

std::string subscriptionText(Device const& device, FeatureCollection const* features) {
  Census census;
  census.device(device);
  census.held(features, "features");
  std::string text;
  for (Node const* const node : census.order) {
    if (auto const count = subscribersOf(*node)) {
      text += census.nodes[node].path + " " + std::to_string(count) + "\n";
    }
  }
  return text;
}

namespace {

class InvariantCheck {
 public:
  InvariantCheck(Device const& device, CentralSm const& root) : device_(device), root_(root) {
    slices();
    systemStatus();
    requests();
  }
  std::string broken;

 private:
  void require(bool holds, std::string const& sentence) {
    if (!holds) broken += sentence + "\n";
  }

  void slices() {
    for (auto it = device_.hwConfigDir->entityPtrIteratorConst(); it; ++it) {
      require(device_.hwStatusDir->entityPtrHas(it.name()),
              "a configured slice has a hardware status");
      require(!device_.statusDir->entityPtrHas(it.name()) || root_.sliceSm(it.name()),
              "status and configuration make a slice machine");
    }
    for (auto it = device_.hwStatusDir->entityPtrIteratorConst(); it; ++it) {
      require(device_.hwConfigDir->entityPtrHas(it.name()),
              "a hardware status has its configuration");
    }
    for (auto it = root_.sliceSm().iterator(); it; ++it) {
      require(device_.statusDir->entityPtrHas(it.key()), "a slice machine has its status entry");
      for (auto chip = it.value()->chipSm().iterator(); chip; ++chip) this->chip(*chip.value());
    }
    require(device_.chipLauncher->entityPtrCount() == chips_.size(),
            "each chip launcher entry has its machine");
  }

  void chip(CentralChipSm const& sm) {
    chips_.insert(textOf(sm.name()));
    require(device_.chipLauncher->entityPtrHas(sm.name()), "a chip machine has its launcher entry");
    ChipConfig const& config = *sm.config();
    bool const published = device_.systemStatus->chipInfo().has(config.deviceId());
    if (sm.status() && config.enabled() && config.genTime() &&
        config.genTime() == sm.status()->genTime()) {
      require(published, "a running chip is published");
    }
    if (!published) return;
    ChipInfo const info = device_.systemStatus->chipInfo(config.deviceId());
    require(config.enabled(), "a published chip is enabled");
    require(info.genTime() == config.genTime(), "a chip is published at its generation");
    require(info.name() == sm.name() && info.sliceName() == sm.sliceName(),
            "a chip is published by its name");
  }

  void systemStatus() {
    std::set<std::string> listed;
    SystemStatus const& status = *device_.systemStatus;
    for (auto it = status.sliceToChipMap().iterator(); it; ++it) {
      require(root_.sliceSm(it.key()) != nullptr, "a slice without machine has no key");
      ChipCollection const chips = it.value();
      for (auto chip = chips.chip().iterator(); chip; ++chip) {
        listed.insert(textOf(it.key()) + textOf(chip.key()));
      }
    }
    for (auto it = status.chipInfo().iterator(); it; ++it) {
      require(listed.erase(textOf(it.value().sliceName()) + textOf(it.key())) == 1,
              "a published chip is in its slice's set");
      require(chips_.count(textOf(it.value().name())) == 1, "a published chip has a machine");
    }
    require(listed.empty(), "a slice's set has published chips only");
  }

  void requests() {
    require(root_.resetSm().size() == device_.resetRequestDir->entityPtrCount(),
            "one machine per request directory");
    for (auto it = device_.resetRequestDir->entityPtrIteratorConst(); it; ++it) {
      auto const dir = Vunda::ptrCast<ResetRequestDir const>(it.entity());
      auto const sm = root_.resetSm(it.name());
      require(sm && sm->resetRequestDir() == dir, "a request directory has its machine");
      if (!sm) continue;
      require(sm->resetSm().size() == dir->resetRequest().size(), "one nested machine per request");
      for (auto request = dir->resetRequest().iterator(); request; ++request) {
        auto const nested = sm->resetSm(request.key());
        require(nested && nested->resetSm() == request.value().ptr(),
                "a nested machine is bound to its request");
      }
    }
  }

  Device const& device_;
  CentralSm const& root_;
  std::set<std::string> chips_;
};

}  // namespace

std::string brokenInvariants(Device const& device, CentralSm const& root) {
  return InvariantCheck(device, root).broken;
}

}  // namespace OruTest
