#include "tests/central/DeviceHelper.h"

#include "tests/central/StateText.h"

namespace OruTest {

using Oru::Central::ChipConfig;
using Oru::Central::FeatureCollection;
using Vunda::Ptr;
using Vunda::String;

DeviceHelper::~DeviceHelper() = default;

void DeviceHelper::once(std::string const& operation, Action action) {
  on(operation, [this, operation, action = std::move(action)] {
    Action const act = action;
    actions_.erase(operation);
    act();
  });
}

void DeviceHelper::called(std::string const& operation, std::string const& arguments) const {
  journal_.happened("helper." + operation + "(" + arguments + ")");
  auto const found = actions_.find(operation);
  if (found == actions_.end()) return;
  Action const action = found->second;
  action();
}

void DeviceHelper::initialize() { called("initialize"); }

void DeviceHelper::syncStateOnInit(Oru::Central::ChipCollection const& runningChips) {
  called("syncStateOnInit", textOf(runningChips));
}

void DeviceHelper::sliceDetected(String const& sliceName) {
  called("sliceDetected", textOf(sliceName));
}

void DeviceHelper::chipAdded(Oru::Central::ChipInfo const& chipInfo) {
  called("chipAdded", textOf(chipInfo));
}

void DeviceHelper::chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo) {
  called("chipAlreadyAdded", textOf(chipInfo));
}

void DeviceHelper::chipRemoved(Oru::Central::DeviceId deviceId) {
  called("chipRemoved", textOf(deviceId));
}

void DeviceHelper::featureAgentResetRequested(Vunda::Duration genTime) {
  called("featureAgentResetRequested", textOf(genTime));
}

void DeviceHelper::featureCollection(Ptr<FeatureCollection> const& featureColl) const {
  features_ = featureColl;
  called("featureCollection", featureColl ? "" : "null");
}

Ptr<ChipConfig> DeviceHelper::createChipConfig(String const& chipName,
                                               Ptr<Kesh::Dir> const& sliceConfigDir) {
  called("createChipConfig", textOf(chipName) + "," + textOf(sliceConfigDir->name()));
  if (!makesChipConfigs_) return nullptr;
  return Vunda::ptrCast<ChipConfig>(sliceConfigDir->createEntity(ChipConfig::typeName, chipName));
}

}  // namespace OruTest
