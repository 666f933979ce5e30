#pragma once

#include <tuple>

#include "central/CentralSliceSm.h"
#include "central/FeatureCollSm.h"
#include "central/ResetRequestSm.h"
#include "helper/CentralHelper.h"
#include "helper/FeatureCollection.h"
#include "runtime/kesh/Dir.h"
#include "runtime/kesh/StateMachine.h"
#include "runtime/vunda/Export.h"
#include "state/SystemStatus.h"

namespace Oru::Central {

struct HN_ResetSm;
struct HN_SliceSm;

// The root of the supervision tree. The hosting agent creates one through `centralSmFactory`, with
// the shared directories and its helper, and keeps the pointer for as long as supervision runs.
//
//   watches   (field 266 of each)
//             hwConfigDir       slice hardware configurations   -> handleHwConfigDir(name)
//             statusDir         slice status directories        -> handleStatusDir(name)
//             resetRequestDir   reset-request directories       -> handleResetRequestDir(name)
//   writes    configDir         a directory per slice; through the helper a ChipConfig per chip,
//                               with its device id
//             hwStatusDir       a SliceHwStatus per configured slice
//             sliceLauncherConfigDir   an entry per configured slice (deleted here only when no
//                               slice machine is there)
//             resetStatusDir    a ResetStatusDir per reset-request directory; never deleted
//             systemStatus      at start: drops the chips of an earlier run that do not run now
//   owns      featureColl, featureCollSm, resetSm (by directory name), sliceSm (by slice name)
//   tells     helper            initialize, featureCollection, syncStateOnInit, createChipConfig
//
// A slice machine exists once the slice has both a configuration and a status entry, and goes when
// its status entry goes.
//
// INVARIANTS, when no handler runs
//   - A status and a configuration entry of one name have a slice machine; a slice machine has a
//     status entry.
//   - A slice has a hardware status exactly while it has a configuration. (One that an earlier run
//     left may have none.)
//   - Each ResetRequestDir has a reset machine, built on that very directory, and no other name has
//     one.
//   - The directories that are written are watched by no machine.
//
// Any directory may be null: a watched one is then empty, a launcher directory is not written.
// `helper`, `configDir`, `hwStatusDir`, `systemStatus` and `resetStatusDir` are asserted where they
// are needed. Children hold plain back pointers to the root and may not be held by others beyond
// its life.
//
// Everything runs on one thread; handlers may be entered again from within their own writes. An
// exception that escapes a subscription callback ends the process; one that escapes a handler
// called directly, or the factory, is the caller's.
class ORU_EXPORT CentralSm : public Kesh::StateMachine<CentralSm> {
 public:
  static constexpr char const* typeName = "Oru::Central::CentralSm";
  using ResetSms = Kesh::ChildCollection<HN_ResetSm, Vunda::String, ResetRequestSm>;
  using SliceSms = Kesh::ChildCollection<HN_SliceSm, Vunda::String, CentralSliceSm>;

  static Vunda::Ptr<CentralSm> CentralSmIs(Vunda::Ptr<Kesh::Dir const> const& hwConfigDir,
                                           Vunda::Ptr<Kesh::Dir> const& hwStatusDir,
                                           Vunda::Ptr<Kesh::Dir> const& configDir,
                                           Vunda::Ptr<Kesh::Dir> const& statusDir,
                                           Vunda::Ptr<SystemStatus> const& systemStatus,
                                           Vunda::Ptr<Kesh::Dir const> const& resetRequestDir,
                                           Vunda::Ptr<Kesh::Dir> const& resetStatusDir,
                                           Vunda::Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
                                           Vunda::Ptr<Kesh::Dir> const& chipLauncherConfigDir,
                                           Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir,
                                           Vunda::Ptr<OruHelper::CentralHelper> const& helper);
  ~CentralSm() override;

  Vunda::Ptr<Kesh::Dir const> const& hwConfigDir() const { return hwConfigDir_.ptr(); }
  Vunda::Ptr<Kesh::Dir> const& hwStatusDir() const { return hwStatusDir_; }
  Vunda::Ptr<Kesh::Dir> const& configDir() const { return configDir_; }
  Vunda::Ptr<Kesh::Dir> const& statusDir() const { return statusDir_.ptr(); }
  Vunda::Ptr<SystemStatus> const& systemStatus() const { return systemStatus_; }
  Vunda::Ptr<Kesh::Dir const> const& resetRequestDir() const { return resetRequestDir_.ptr(); }
  Vunda::Ptr<Kesh::Dir> const& resetStatusDir() const { return resetStatusDir_; }
  Vunda::Ptr<Kesh::Dir> const& sliceLauncherConfigDir() const { return sliceLauncherConfigDir_; }
  Vunda::Ptr<Kesh::Dir> const& chipLauncherConfigDir() const { return chipLauncherConfigDir_; }
  Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir() const {
    return featureLauncherConfigDir_;
  }
  Vunda::Ptr<OruHelper::CentralHelper> const& helper() const { return helper_; }
  Vunda::Ptr<FeatureCollection> const& featureColl() const { return featureColl_; }
  Vunda::Ptr<FeatureCollSm> const& featureCollSm() const { return featureCollSm_; }
  ResetSms const& resetSm() const { return resetSm_; }
  Vunda::Ptr<ResetRequestSm> resetSm(Vunda::String const& name) const {
    return resetSm_.child(name);
  }
  SliceSms const& sliceSm() const { return sliceSm_; }
  Vunda::Ptr<CentralSliceSm> sliceSm(Vunda::String const& name) const {
    return sliceSm_.child(name);
  }
  bool initialized() const { return initialized_; }

  // The slice's machine, built when there is none. Raises the re-instantiation exception when there
  // is one that was built with other arguments. Null when it is asked for from within that
  // machine's own construction.
  Vunda::Ptr<CentralSliceSm> sliceSmIs(Vunda::String const& name,
                                       Vunda::Ptr<SliceHwConfig const> const& hwConfig,
                                       Vunda::Ptr<SliceHwStatus> const& hwStatus,
                                       Vunda::Ptr<Kesh::Dir> const& configDir,
                                       Vunda::Ptr<Kesh::Dir const> const& statusDir,
                                       Vunda::Ptr<SystemStatus> const& systemStatus);
  // Removes the slice's machine and returns it, null when there is none.
  Vunda::Ptr<CentralSliceSm> sliceSmDel(Vunda::String const& name);
  void sliceSmDelAll();

  // The same for the machine of a reset-request directory.
  Vunda::Ptr<ResetRequestSm> resetSmIs(Vunda::String const& name,
                                       Vunda::Ptr<ResetRequestDir const> const& resetRequestDir,
                                       Vunda::Ptr<ResetStatusDir> const& resetStatusDir);
  Vunda::Ptr<ResetRequestSm> resetSmDel(Vunda::String const& name);
  void resetSmDelAll();

  // The root's feature collection, made empty when there is none.
  Vunda::Ptr<FeatureCollection> featureCollIs();
  void featureCollDel();
  // The feature machine on that collection and directory; one on others is replaced.
  Vunda::Ptr<FeatureCollSm> featureCollSmIs(Vunda::Ptr<FeatureCollection const> const& featureColl,
                                            Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir);
  void featureCollSmDel();

  // Start-up, once, at the end of the constructor.
  void handleInitialized();
  // Drops from the system status what an earlier run left of chips that do not run any more; tells
  // the helper which do.
  void syncStateOnInit();
  void handleHwConfigDir();
  void handleHwConfigDir(Vunda::String const& name);
  void handleStatusDir(Vunda::String const& name);
  void handleResetRequestDir();
  void handleResetRequestDir(Vunda::String const& name);

  static void hwConfigDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                  void const* key, void const* value) noexcept;
  static void statusDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                void const* key, void const* value) noexcept;
  static void resetRequestDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                      Vunda::FieldId field, void const* key,
                                      void const* value) noexcept;

 private:
  friend class Kesh::StateMachine<CentralSm>;

  CentralSm(Vunda::Ptr<Kesh::Dir const> const& hwConfigDir,
            Vunda::Ptr<Kesh::Dir> const& hwStatusDir, Vunda::Ptr<Kesh::Dir> const& configDir,
            Vunda::Ptr<Kesh::Dir> const& statusDir, Vunda::Ptr<SystemStatus> const& systemStatus,
            Vunda::Ptr<Kesh::Dir const> const& resetRequestDir,
            Vunda::Ptr<Kesh::Dir> const& resetStatusDir,
            Vunda::Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
            Vunda::Ptr<Kesh::Dir> const& chipLauncherConfigDir,
            Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir,
            Vunda::Ptr<OruHelper::CentralHelper> const& helper);
  void sliceIsConfigured(Vunda::String const& name, SliceHwConfig const& hwConfig);
  void sliceIsNotConfigured(Vunda::String const& name);
  void createChipConfigs(SliceHwConfig const& hwConfig,
                         Vunda::Ptr<Kesh::Dir> const& sliceConfigDir);
  void cleanUpChipInfos(ChipCollection const& runningChips);
  auto watched() { return std::tie(hwConfigDir_, statusDir_, resetRequestDir_); }
  auto children() { return std::tie(featureCollSm_, resetSm_, sliceSm_); }

  Kesh::Watched<CentralSm, Kesh::Dir const> hwConfigDir_;
  Vunda::Ptr<Kesh::Dir> const hwStatusDir_;
  Vunda::Ptr<Kesh::Dir> const configDir_;
  Kesh::Watched<CentralSm, Kesh::Dir> statusDir_;
  Vunda::Ptr<SystemStatus> const systemStatus_;
  Kesh::Watched<CentralSm, Kesh::Dir const> resetRequestDir_;
  Vunda::Ptr<Kesh::Dir> const resetStatusDir_;
  Vunda::Ptr<Kesh::Dir> const sliceLauncherConfigDir_;
  Vunda::Ptr<Kesh::Dir> const chipLauncherConfigDir_;
  Vunda::Ptr<Kesh::Dir> const featureLauncherConfigDir_;
  Vunda::Ptr<OruHelper::CentralHelper> const helper_;
  Vunda::Ptr<FeatureCollection> featureColl_;
  Vunda::Ptr<FeatureCollSm> featureCollSm_;
  ResetSms resetSm_;
  SliceSms sliceSm_;
  bool initialized_ = false;
};

}  // namespace Oru::Central
