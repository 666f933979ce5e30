#include "tests/support/FaultInjectingHelper.h"

#include <string>
#include <utility>

namespace OruTest {

void FaultInjectingHelper::insideCallIs(HelperCall call, Action action) {
  inside_[static_cast<std::size_t>(call)] = std::move(action);
}

void FaultInjectingHelper::enter(HelperCall call) const {
  if (++callCount_ == throwAt_) throw InjectedFault("helper call " + std::to_string(callCount_));
  Action const action = inside_[static_cast<std::size_t>(call)];
  if (action) action();
}

void FaultInjectingHelper::initialize() {
  enter(HelperCall::initialize);
  ForwardingHelper::initialize();
}

void FaultInjectingHelper::syncStateOnInit(Oru::Central::ChipCollection const& runningChips) {
  enter(HelperCall::syncStateOnInit);
  ForwardingHelper::syncStateOnInit(runningChips);
}

void FaultInjectingHelper::sliceDetected(Vunda::String const& sliceName) {
  enter(HelperCall::sliceDetected);
  ForwardingHelper::sliceDetected(sliceName);
}

void FaultInjectingHelper::chipAdded(Oru::Central::ChipInfo const& chipInfo) {
  enter(HelperCall::chipAdded);
  ForwardingHelper::chipAdded(chipInfo);
}

void FaultInjectingHelper::chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo) {
  enter(HelperCall::chipAlreadyAdded);
  ForwardingHelper::chipAlreadyAdded(chipInfo);
}

void FaultInjectingHelper::chipRemoved(Oru::Central::DeviceId deviceId) {
  enter(HelperCall::chipRemoved);
  ForwardingHelper::chipRemoved(deviceId);
}

void FaultInjectingHelper::featureAgentResetRequested(Vunda::Duration genTime) {
  enter(HelperCall::featureAgentResetRequested);
  ForwardingHelper::featureAgentResetRequested(genTime);
}

void FaultInjectingHelper::featureCollection(
    Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const {
  enter(HelperCall::featureCollection);
  ForwardingHelper::featureCollection(featureColl);
}

Vunda::Ptr<Oru::Central::ChipConfig> FaultInjectingHelper::createChipConfig(
    Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) {
  enter(HelperCall::createChipConfig);
  return ForwardingHelper::createChipConfig(chipName, sliceConfigDir);
}

}  // namespace OruTest
