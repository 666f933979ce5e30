#include <cstdlib>

#include "helper/CentralHelper.h"
#include "helper/FeatureCollection.h"

namespace Oru::Central {

FeatureCollection::~FeatureCollection() { nodeFlagSet(notificationActiveFlag, false); }

Vunda::Publisher* FeatureCollection::publisher() const { return &publisher_; }

void FeatureCollection::featureIs(Vunda::String const& given, bool enabled) {
  Vunda::String const name = given;  // the name may stand in the collection, which callbacks change
  if (feature_.memberIs(name, enabled)) publisher_.publishChange(featureField, &name, &enabled);
}

void FeatureCollection::featureDel(Vunda::String const& given) {
  Vunda::String const name = given;
  if (feature_.deleteMember(name)) publisher_.publishChange(featureField, &name, nullptr);
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
