#pragma once

#include "helper/FeatureCollection.h"
#include "helper/OruBaseHelper.h"
#include "runtime/kesh/Dir.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"
#include "state/ChipCollection.h"
#include "state/ChipConfig.h"
#include "state/ChipInfo.h"
#include "state/DeviceId.h"

namespace OruHelper {

// The platform's plug-in: hears what the state machines do, and is asked for what only the platform
// knows. The hosting agent derives its own helper and hands it to `centralSmFactory`, which keeps
// it alive.
//
// All operations are called on the event-loop thread, from within a handler. They may change any
// entity, which is handled before they return. What they throw passes through the handler: out of
// the factory during the start, and from within a notification it ends the process. References
// given are good for the call.
//
// The first seven default to doing nothing. The last two must be overridden: their defaults end the
// process, unless the environment variable ORU_NOOP_AGENT is set (to anything), which lets an agent
// run that does nothing.
class ORU_EXPORT CentralHelper : public Kesh::Typed<CentralHelper, Oru::OruBaseHelper> {
 public:
  static constexpr char const* typeName = "OruHelper::CentralHelper";

  using Typed::Typed;
  ~CentralHelper() override;

  // The root starts: called once, first of all.
  virtual void initialize();
  // The root starts, and has withdrawn what was left over from an earlier run: `runningChips` are
  // published and run on.
  virtual void syncStateOnInit(Oru::Central::ChipCollection const& runningChips);
  // A slice's hardware configuration with a non-zero generation was handled: called each time, new
  // slice or not.
  virtual void sliceDetected(Vunda::String const& sliceName);
  // A chip runs and is being published: its interfaces and slice are written, its `chipInfo`
  // follows this call.
  virtual void chipAdded(Oru::Central::ChipInfo const& chipInfo);
  // A chip runs that is published already, at the same generation.
  virtual void chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo);
  // A chip is about to be withdrawn: its entry still stands.
  virtual void chipRemoved(Oru::Central::DeviceId deviceId);
  // The feature agents are to be reset; carrying it out is the helper's business. Called again,
  // with the same time, when the request is handled again (after a restart too): a helper that must
  // not act twice compares the time.
  virtual void featureAgentResetRequested(Vunda::Duration genTime);
  // The root starts: `featureColl` is the feature collection of this run, empty, for the platform
  // to fill.
  virtual void featureCollection(
      Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const;
  // Creates the chip's configuration in its slice's directory, named after the chip, or returns the
  // one that is there. Called each time the slice's configuration is handled. Null is passed over.
  virtual Vunda::Ptr<Oru::Central::ChipConfig> createChipConfig(
      Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir);
};

}  // namespace OruHelper
