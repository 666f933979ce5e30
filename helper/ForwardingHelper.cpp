#include "helper/ForwardingHelper.h"

#include "runtime/kesh/MutatorException.h"

namespace OruHelper {

ForwardingHelper::ForwardingHelper(Vunda::String const& name,
                                   Vunda::Ptr<CentralHelper> const& target)
    : Typed(name), target_(target) {
  if (!target_) Kesh::throwMutatorArgNullPointerException(typeName, "target");
}

ForwardingHelper::~ForwardingHelper() = default;

void ForwardingHelper::initialize() { target_->initialize(); }

void ForwardingHelper::syncStateOnInit(Oru::Central::ChipCollection const& runningChips) {
  target_->syncStateOnInit(runningChips);
}

void ForwardingHelper::sliceDetected(Vunda::String const& sliceName) {
  target_->sliceDetected(sliceName);
}

void ForwardingHelper::chipAdded(Oru::Central::ChipInfo const& chipInfo) {
  target_->chipAdded(chipInfo);
}

void ForwardingHelper::chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo) {
  target_->chipAlreadyAdded(chipInfo);
}

void ForwardingHelper::chipRemoved(Oru::Central::DeviceId deviceId) {
  target_->chipRemoved(deviceId);
}

void ForwardingHelper::featureAgentResetRequested(Vunda::Duration genTime) {
  target_->featureAgentResetRequested(genTime);
}

void ForwardingHelper::featureCollection(
    Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const {
  target_->featureCollection(featureColl);
}

Vunda::Ptr<Oru::Central::ChipConfig> ForwardingHelper::createChipConfig(
    Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) {
  return target_->createChipConfig(chipName, sliceConfigDir);
}

}  // namespace OruHelper
