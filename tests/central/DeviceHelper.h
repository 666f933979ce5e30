#pragma once

#include <functional>
#include <map>
#include <string>

#include "helper/CentralHelper.h"
#include "tests/central/Journal.h"

namespace OruTest {

// The platform helper of the tests: notes every call in the journal, makes chip configurations as a platform would, and
// lets a test act from within a call.
class DeviceHelper : public Kesh::Typed<DeviceHelper, OruHelper::CentralHelper> {
 public:
  static constexpr char const* typeName = "OruTest::DeviceHelper";
  using Action = std::function<void()>;

  // `journal` outlives the helper.
  explicit DeviceHelper(Journal& journal) : Typed("helper"), journal_(journal) {}
  ~DeviceHelper() override;

  // Runs within each call of that operation from now on, or only within the next one, once it was noted.
  void on(std::string const& operation, Action action) { actions_[operation] = std::move(action); }
  void once(std::string const& operation, Action action);
  void forgetActions() { actions_.clear(); }
  // createChipConfig returns null instead of a chip configuration.
  void noChipConfigs() { makesChipConfigs_ = false; }
  // What featureCollection was given.
  Vunda::Ptr<Oru::Central::FeatureCollection> const& features() const { return features_; }
  void forgetFeatures() { features_ = nullptr; }

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
  void called(std::string const& operation, std::string const& arguments = "") const;

  Journal& journal_;
  std::map<std::string, Action> actions_;
  bool makesChipConfigs_ = true;
  mutable Vunda::Ptr<Oru::Central::FeatureCollection> features_;
};

}  // namespace OruTest
