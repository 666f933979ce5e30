#include "tests/central/StateText.h"

#include <array>
#include <charconv>

namespace OruTest {

using namespace Oru::Central;
using Kesh::Dir;
using Vunda::Ptr;
using Vunda::String;

Device Device::make() {
  auto const dir = [](char const* name) { return Vunda::makeNode<Dir>(name); };
  Device device;
  device.hwConfigDir = dir("hwConfig");
  device.hwStatusDir = dir("hwStatus");
  device.configDir = dir("config");
  device.statusDir = dir("status");
  device.systemStatus = Vunda::makeNode<SystemStatus>("systemStatus");
  device.resetRequestDir = dir("resetRequest");
  device.resetStatusDir = dir("resetStatus");
  device.sliceLauncher = dir("sliceLauncher");
  device.chipLauncher = dir("chipLauncher");
  device.featureLauncher = dir("featureLauncher");
  return device;
}

std::string textOf(String const& text) { return std::string(text.view()); }

std::string textOf(Vunda::Duration duration) {
  std::array<char, 32> digits;
  auto const end =
      std::to_chars(digits.data(), digits.data() + digits.size(), duration.seconds()).ptr;
  return std::string(digits.data(), end);
}

std::string textOf(DeviceId id) { return std::to_string(id.value()); }

std::string textOf(ChipCollection const& chips) {
  std::string text;
  for (auto chip = chips.chip().iterator(); chip; ++chip) {
    if (!text.empty()) text += ",";
    text += textOf(chip.key()) + (chip.value() ? "" : "=false");
  }
  return text;
}

std::string textOf(ChipInfo const& info) {
  std::string text =
      textOf(info.name()) + "@" + textOf(info.sliceName()) + " genTime=" + textOf(info.genTime());
  for (auto intf = info.intfId().iterator(); intf; ++intf) text += " " + textOf(intf.key().name());
  return text;
}

std::string textOf(ChipPort port) {
  return textOf(port.deviceId()) + ":" + std::to_string(port.portId());
}

std::string textOf(ResetEntry const& entry) {
  return "cause=\"" + textOf(entry.resetCause()) +
         "\" reason=" + textOf(stringValue(entry.resetReason())) +
         " genTime=" + textOf(entry.genTime());
}

namespace {

class StateWriter {
 public:
  std::string text;

  void directory(Ptr<Dir> const& dir) {
    if (dir) entries(textOf(dir->name()), *dir);
  }

  void systemStatus(SystemStatus const& status) {
    for (auto chip = status.chipInfo().iterator(); chip; ++chip) {
      line("chipInfo[" + textOf(chip.key()) + "] " + textOf(chip.value()));
    }
    for (auto slice = status.sliceToChipMap().iterator(); slice; ++slice) {
      line("sliceToChipMap[" + textOf(slice.key()) + "] " + textOf(slice.value()));
    }
    for (auto intf = status.intfToChipPort().iterator(); intf; ++intf) {
      line("intfToChipPort[" + textOf(intf.key().name()) + "] " + textOf(intf.value()));
    }
  }

  void machines(CentralSm const& root) {
    for (auto it = root.sliceSm().iterator(); it; ++it) {
      std::string const path = "sliceSm/" + textOf(it.key());
      if (it.value()->chipSm().size() == 0) line(path);
      for (auto chip = it.value()->chipSm().iterator(); chip; ++chip)
        line(path + "/" + textOf(chip.key()));
    }
    for (auto it = root.resetSm().iterator(); it; ++it) {
      std::string const path = "resetSm/" + textOf(it.key());
      if (it.value()->resetSm().size() == 0) line(path);
      for (auto key = it.value()->resetSm().iterator(); key; ++key)
        line(path + "/" + ringText(key.key()));
    }
  }

 private:
  void line(std::string const& content) { text.append(content).append("\n"); }

  void entries(std::string const& path, Dir const& dir) {
    for (auto it = dir.entityPtrIteratorConst(); it; ++it)
      entity(path + "/" + textOf(it.name()), *it.entity());
  }

  void entity(std::string const& path, Kesh::Entity const& entity) {
    if (auto const* const dir = dynamic_cast<Dir const*>(&entity)) {
      if (dir->entityPtrCount() == 0) line(path);
      entries(path, *dir);
    } else if (auto const* const hwStatus = dynamic_cast<SliceHwStatus const*>(&entity)) {
      line(path + " genTime=" + textOf(hwStatus->genTime()));
    } else if (auto const* const config = dynamic_cast<ChipConfig const*>(&entity)) {
      line(path + " deviceId=" + textOf(config->deviceId()) +
           (config->enabled() ? " enabled" : " disabled") + " genTime=" +
           textOf(config->genTime()) + " syncGenTime=" + textOf(config->syncGenTime()));
    } else if (auto const* const records = dynamic_cast<ResetStatusDir const*>(&entity)) {
      if (records->resetStatus().empty()) line(path);
      for (auto it = records->resetStatus().iterator(); it; ++it) {
        line(path + "/" + ringText(it.key()) + " " + textOf(*it.value()));
      }
    } else {
      line(path + " " + entity.typeData()->name);
    }
  }
};

}  // namespace

std::string stateText(Device const& device, CentralSm const* root) {
  StateWriter writer;
  writer.directory(device.hwStatusDir);
  writer.directory(device.configDir);
  writer.directory(device.sliceLauncher);
  writer.directory(device.chipLauncher);
  writer.directory(device.featureLauncher);
  if (device.systemStatus) writer.systemStatus(*device.systemStatus);
  writer.directory(device.resetStatusDir);
  if (root) writer.machines(*root);
  return writer.text;
}

std::string lines(std::string_view literal) {
  std::string text;
  while (!literal.empty()) {
    auto const end = literal.find('\n');
    std::string_view const line = literal.substr(0, end);
    literal.remove_prefix(end == std::string_view::npos ? literal.size() : end + 1);
    auto const first = line.find_first_not_of(' ');
    if (first != std::string_view::npos) text.append(line.substr(first)).append("\n");
  }
  return text;
}

}  // namespace OruTest
