#pragma once

#include <string>
#include <vector>

#include "helper/CentralHelper.h"

namespace OruTest {

// A plain platform that writes down every call that it gets, as one line of text each, in order:
//
//   initialize
//   syncStateOnInit 3 5                    device ids, ascending
//   sliceDetected Slice1
//   chipAdded 3 Chip1 Slice1 12.5 Ethernet1 Ethernet2     device id, name, slice, generation, interfaces
//   chipAlreadyAdded ...                   likewise
//   chipRemoved 3
//   featureAgentResetRequested 12.5
//   featureCollection                      (or: featureCollection null)
//   createChipConfig Chip1 in Slice1       (or: in null)
//
// It keeps the feature collection that it is given, and creates chip configurations as they are
// asked for.
class RecordingHelper : public Kesh::Typed<RecordingHelper, OruHelper::CentralHelper> {
 public:
  static constexpr char const* typeName = "OruTest::RecordingHelper";

  explicit RecordingHelper(Vunda::String const& name = "recording");

  std::vector<std::string> const& calls() const noexcept { return calls_; }
  // The lines since the last call of this.
  std::vector<std::string> takeCalls();
  // What the root handed over; null before.
  Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl() const noexcept {
    return featureColl_;
  }

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

 protected:
  // Every call goes through here, before it is answered: writes the line down.
  virtual void called(std::string const& line) const;

 private:
  mutable std::vector<std::string> calls_;
  mutable Vunda::Ptr<Oru::Central::FeatureCollection> featureColl_;
};

}  // namespace OruTest
