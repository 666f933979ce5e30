#pragma once

#include <functional>
#include <map>
#include <string>

#include "helper/CentralHelper.h"
#include "mount/Log.h"
#include "mount/StateMount.h"

namespace Oru::Agent {

// The platform's plug-in of oru-agent: makes chip configurations, feeds the feature collection from
// the tree, restarts feature agents, and logs what happens. A request to reset the feature agents
// that is not newer than the last that was carried out, by an earlier run too, is not carried out:
// it is that one, told again, or came late. One that an earlier run did not answer is finished.
class PlatformHelper : public Kesh::Typed<PlatformHelper, OruHelper::CentralHelper> {
 public:
  static constexpr char const* typeName = "Oru::Agent::PlatformHelper";

  // `changed` is called when chips or slices come or go. `log` and `mount` must outlive detach().
  PlatformHelper(Vunda::String const& name, Mount::Log const& log, Mount::StateMount& mount,
                 std::function<void()> changed);

  // From now on nothing that is called touches the mount or is logged.
  void detach() { mount_ = nullptr; }

  void syncStateOnInit(Central::ChipCollection const& runningChips) override;
  void sliceDetected(Vunda::String const& sliceName) override;
  void chipAdded(Central::ChipInfo const& chipInfo) override;
  void chipRemoved(Central::DeviceId deviceId) override;
  void featureAgentResetRequested(Vunda::Duration genTime) override;
  void featureCollection(Vunda::Ptr<Central::FeatureCollection> const& featureColl) const override;
  Vunda::Ptr<Central::ChipConfig> createChipConfig(
      Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) override;

 private:
  Mount::Log const& log_;
  Mount::StateMount* mount_;
  std::function<void()> const changed_;
  std::map<std::string, Vunda::Duration> detected_;
  Vunda::Duration lastFeatureReset_;  // that was carried out and, of an earlier run, answered
  // What an earlier run restarted for, perhaps not all of them: the same again harms nobody.
  Vunda::Duration lastFeatureRestart_;
};

}  // namespace Oru::Agent
