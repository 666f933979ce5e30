#pragma once

#include <tuple>

#include "central/CentralChipSm.h"
#include "runtime/kesh/Dir.h"
#include "runtime/kesh/StateMachine.h"
#include "runtime/vunda/Export.h"
#include "state/SliceHwConfig.h"
#include "state/SliceHwStatus.h"
#include "state/SystemStatus.h"

namespace Oru::Central {

class CentralSm;

struct HN_ChipSm;

// Supervises one slice: keeps one chip state machine per configured chip, and takes over a newly
// inserted board.
//
//   watches   hwConfig     genTime (field 259)          -> handleHwConfigInitialized
//             statusDir    chip statuses (field 266)    -> handleChipStatus
//   writes    hwStatus     genTime: the hardware generation that the slice has taken over
//             configDir    deviceId of each chip's ChipConfig
//             the root's sliceLauncherConfigDir   deletes the slice's entry, which the root made,
//                          when it goes
//             systemStatus drops the slice's key of sliceToChipMap when it goes
//   owns      chipSm       by chip name
//   tells     the root's helper   sliceDetected
//
// The chips are first set up when every configured chip has a status entity; from then on every
// announcement of the hardware configuration brings the set in line with it. A hardware generation
// of 0 means that no board is there yet: nothing happens. One that is newer than the slice's
// hardware status is a newly inserted board: every chip is reset, then the status takes the
// generation over.
//
// INVARIANTS, after each pass with a generation that is not 0
//   - Each configured chip has a chip machine, and no other chip has one.
//   - Each configured chip's ChipConfig, which must exist, carries the device id of the hardware
//     configuration.
//   - hwStatus, which must exist, is not older than hwConfig.
//
// The construction arguments stay for life. Without a hardware configuration the machine only stops
// what there is when it goes; without a status directory no chip has a status.
class ORU_EXPORT CentralSliceSm : public Kesh::StateMachine<CentralSliceSm> {
 public:
  static constexpr char const* typeName = "Oru::Central::CentralSliceSm";
  using ChipSms = Kesh::ChildCollection<HN_ChipSm, Vunda::String, CentralChipSm>;

  // `centralSm` outlives the machine.
  static Vunda::Ptr<CentralSliceSm> CentralSliceSmIs(
      Vunda::String const& name, Vunda::Ptr<SliceHwConfig const> const& hwConfig,
      Vunda::Ptr<SliceHwStatus> const& hwStatus, Vunda::Ptr<Kesh::Dir> const& configDir,
      Vunda::Ptr<Kesh::Dir const> const& statusDir, Vunda::Ptr<SystemStatus> const& systemStatus,
      CentralSm* centralSm);
  ~CentralSliceSm() override;

  Vunda::String const& name() const { return name_; }
  Vunda::Ptr<SliceHwConfig const> const& hwConfig() const { return hwConfig_.ptr(); }
  Vunda::Ptr<SliceHwStatus> const& hwStatus() const { return hwStatus_; }
  Vunda::Ptr<Kesh::Dir> const& configDir() const { return configDir_; }
  Vunda::Ptr<Kesh::Dir const> const& statusDir() const { return statusDir_.ptr(); }
  Vunda::Ptr<SystemStatus> const& systemStatus() const { return systemStatus_; }
  CentralSm* centralSm() const { return centralSm_; }
  CentralSm* parentSm() const { return centralSm_; }
  bool initialized() const { return initialized_; }

  ChipSms const& chipSm() const { return chipSm_; }
  Vunda::Ptr<CentralChipSm> chipSm(Vunda::String const& chipName) const {
    return chipSm_.child(chipName);
  }
  // The chip's machine, built when there is none. Raises the re-instantiation exception when there
  // is one that was built with other arguments. Null when it is asked for from within that
  // machine's own construction.
  Vunda::Ptr<CentralChipSm> chipSmIs(Vunda::String const& name, Vunda::String const& sliceName,
                                     Vunda::Ptr<ChipHwConfig const> const& hwConfig,
                                     Vunda::Ptr<ChipConfig> const& config,
                                     Vunda::Ptr<ChipStatus const> const& status,
                                     Vunda::Ptr<SystemStatus> const& systemStatus);
  Vunda::Ptr<CentralChipSm> chipSmDel(Vunda::String const& name);
  void chipSmDelAll();

  // In the order of a slice's life.
  void handleInitialized();
  // The gate: goes on to handleHwConfigInitialized once every configured chip has a status entity.
  void updateChipSms();
  void handleChipStatus(Vunda::String const& name);
  void handleHwConfigInitialized();
  // Restarts (true) or stops (false) every chip's agent.
  void doReset(bool enabled);
  void handleDestroyed();

  static void hwConfigDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                               void const* key, void const* value) noexcept;
  static void statusDirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                void const* key, void const* value) noexcept;

 private:
  friend class Kesh::StateMachine<CentralSliceSm>;

  CentralSliceSm(Vunda::String const& name, Vunda::Ptr<SliceHwConfig const> const& hwConfig,
                 Vunda::Ptr<SliceHwStatus> const& hwStatus, Vunda::Ptr<Kesh::Dir> const& configDir,
                 Vunda::Ptr<Kesh::Dir const> const& statusDir,
                 Vunda::Ptr<SystemStatus> const& systemStatus, CentralSm* centralSm);
  bool isConfigured(Vunda::String const& chipName) const;
  void deleteChipSmsNotConfigured();
  void createChipSmsConfigured();
  void catchUp(CentralChipSm& chip, Vunda::Duration hwStatusBefore);
  auto watched() { return std::tie(hwConfig_, statusDir_); }
  auto children() { return std::tie(chipSm_); }

  Vunda::String const name_;
  Kesh::Watched<CentralSliceSm, SliceHwConfig const> hwConfig_;
  Vunda::Ptr<SliceHwStatus> const hwStatus_;
  Vunda::Ptr<Kesh::Dir> const configDir_;
  Kesh::Watched<CentralSliceSm, Kesh::Dir const> statusDir_;
  Vunda::Ptr<SystemStatus> const systemStatus_;
  CentralSm* const centralSm_;
  ChipSms chipSm_;
  bool initialized_ = false;
};

}  // namespace Oru::Central
