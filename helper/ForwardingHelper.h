#pragma once

#include "helper/CentralHelper.h"

namespace OruHelper {

// A helper that passes every operation on to another one, its target: the base of helpers that add
// something to a platform's helper, or change one operation of it. It keeps its target alive.
class ORU_EXPORT ForwardingHelper : public Kesh::Typed<ForwardingHelper, CentralHelper> {
 public:
  static constexpr char const* typeName = "OruHelper::ForwardingHelper";

  // Raises Kesh::MutatorArgNullPointerException on a null target.
  ForwardingHelper(Vunda::String const& name, Vunda::Ptr<CentralHelper> const& target);
  ~ForwardingHelper() override;

  Vunda::Ptr<CentralHelper> const& target() const noexcept { return target_; }

  void initialize() override;
  void syncStateOnInit(Oru::Central::ChipCollection const& runningChips) override;
  void sliceDetected(Vunda::String const& sliceName) override;
  void chipAdded(Oru::Central::ChipInfo const& chipInfo) override;
  void chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo) override;
  void chipRemoved(Oru::Central::DeviceId deviceId) override;
  void featureAgentResetRequested(Vunda::Duration genTime) override;
  void featureCollection(
      Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const override;
  Vunda::Ptr<Oru::Central::ChipConfig> createChipConfig(
      Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) override;

 private:
  Vunda::Ptr<CentralHelper> const target_;
};

}  // namespace OruHelper
