#include "tests/central/DeviceHelper.h"

namespace OruTest {

DeviceHelper::~DeviceHelper() = default;

void DeviceHelper::once(std::string const& operation, Action action) {
  on(operation, [this, operation, action = std::move(action)] {
    Action const act = action;
    actions_.erase(operation);
    act();
  });
}

void DeviceHelper::called(std::string const& line) const {
  journal_.happened("helper." + line);
  auto const found = actions_.find(line.substr(0, line.find(' ')));
  if (found == actions_.end()) return;
  Action const action = found->second;
  action();
}

Vunda::Ptr<Oru::Central::ChipConfig> DeviceHelper::createChipConfig(
    Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) {
  return makesChipConfigs_ ? RecordingHelper::createChipConfig(chipName, sliceConfigDir) : nullptr;
}

}  // namespace OruTest
