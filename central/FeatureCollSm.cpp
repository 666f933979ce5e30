#include "central/FeatureCollSm.h"

#include "central/DefaultTraceHandle.h"
#include "runtime/kesh/Trace.h"

namespace Oru::Central {

using Vunda::Ptr;

Ptr<FeatureCollSm> FeatureCollSm::FeatureCollSmIs(Ptr<FeatureCollection const> const& featureColl,
                                                  Ptr<Kesh::Dir> const& featureLauncherConfigDir) {
  return created(
      Ptr<FeatureCollSm>::adopt(new FeatureCollSm(featureColl, featureLauncherConfigDir)));
}

FeatureCollSm::FeatureCollSm(Ptr<FeatureCollection const> const& featureColl,
                             Ptr<Kesh::Dir> const& featureLauncherConfigDir)
    : featureColl_(*this, featureColl, &featureCollDispatch),
      featureLauncherConfigDir_(featureLauncherConfigDir) {
  subscribeAndRun([this] { handleFeatureColl(); });
}

FeatureCollSm::~FeatureCollSm() {
  deactivate([] {});
}

void FeatureCollSm::handleFeatureColl() {
  ORU_TRACE(9, "FeatureCollSm::{}", __func__);
  if (!membersAreSet()) {
    ORU_TRACE(5, "FeatureCollSm::{} Returning due to unitialized member(s)", __func__);
    return;
  }
  for (auto feature = featureColl()->feature().iterator(); feature; ++feature) {
    handleFeatureColl(Vunda::String(feature.key()));
  }
}

void FeatureCollSm::handleFeatureColl(Vunda::String const& name) {
  ORU_TRACE(9, "FeatureCollSm::{}", __func__);
  if (!membersAreSet()) {
    ORU_TRACE(5, "FeatureCollSm::{} Returning due to unitialized member(s)", __func__);
    return;
  }
  if (featureColl()->feature().has(name)) {
    ORU_TRACE(5, "FeatureCollSm::{} Adding: {} to featureLauncherConfigDir", __func__, name);
    featureLauncherConfigDir()->createEntity(Kesh::Dir::typeName, name);
  } else {
    ORU_TRACE(5, "FeatureCollSm::{} Removing: {} to featureLauncherConfigDir", __func__, name);
    featureLauncherConfigDir()->deleteEntity(name);
  }
}

void FeatureCollSm::featureCollDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                        Vunda::FieldId field, void const* key,
                                        void const*) noexcept {
  dispatch(&FeatureCollSm::featureColl_, slot, field == FeatureCollection::featureField,
           [key](FeatureCollSm& self) {
             self.handleFeatureColl(*static_cast<Vunda::String const*>(key));
           });
}

}  // namespace Oru::Central
