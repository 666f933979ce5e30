#include <cstdlib>

#include "helper/CentralHelper.h"
#include "helper/FeatureCollection.h"

namespace Oru::Central {

FeatureCollection::~FeatureCollection() { nodeFlagSet(notificationActiveFlag, false); }

Vunda::Publisher* FeatureCollection::publisher() const { return &publisher_; }

void FeatureCollection::featureIs(Vunda::String const& name, bool enabled) {
  publisher_.memberIs(featureField, feature_, name, enabled);
}

void FeatureCollection::featureDel(Vunda::String const& name) {
  publisher_.memberDel(featureField, feature_, name);
}

void FeatureCollection::featureDelAll() {
  if (publisher_.subscriberCount() == 0) {
    feature_.memberDelAll();
    return;
  }
  Vunda::Ptr<FeatureCollection> const keepAlive(this);
  FeatureMap const present = feature_;
  for (auto it = present.iterator(); it; ++it) featureDel(it.key());
}

Vunda::Ptr<FeatureCollection> featureCollectionFactory() {
  return Vunda::makeNode<FeatureCollection>();
}

}  // namespace Oru::Central

namespace OruHelper {

namespace {

bool isNoopAgent() { return std::getenv("ORU_NOOP_AGENT") != nullptr; }

}  // namespace

CentralHelper::~CentralHelper() { nodeFlagSet(notificationActiveFlag, false); }

void CentralHelper::initialize() {}
void CentralHelper::syncStateOnInit(Oru::Central::ChipCollection const&) {}
void CentralHelper::sliceDetected(Vunda::String const&) {}
void CentralHelper::chipAdded(Oru::Central::ChipInfo const&) {}
void CentralHelper::chipAlreadyAdded(Oru::Central::ChipInfo const&) {}
void CentralHelper::chipRemoved(Oru::Central::DeviceId) {}
void CentralHelper::featureAgentResetRequested(Vunda::Duration) {}

void CentralHelper::featureCollection(Vunda::Ptr<Oru::Central::FeatureCollection> const&) const {
  if (!isNoopAgent()) oruAssert("unimplemented");
}

Vunda::Ptr<Oru::Central::ChipConfig> CentralHelper::createChipConfig(Vunda::String const&,
                                                                     Vunda::Ptr<Kesh::Dir> const&) {
  if (!isNoopAgent()) oruAssert("unimplemented");
  return nullptr;
}

}  // namespace OruHelper
