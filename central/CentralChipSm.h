#pragma once

#include <tuple>

#include "runtime/kesh/StateMachine.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"
#include "state/ChipConfig.h"
#include "state/ChipHwConfig.h"
#include "state/ChipStatus.h"
#include "state/SystemStatus.h"

namespace Oru::Central {

class CentralSliceSm;

// Supervises one switching chip of one slice: runs its agent, follows the agent's generation,
// publishes the chip.
//
//   watches   status          genTime, intfToPortId (fields 260, 261)   -> handleRunning
//   writes    config          enabled, genTime, syncGenTime
//             the root's chipLauncherConfigDir   entry `name` while this machine lives
//             systemStatus    chipInfo, intfToChipPort, sliceToChipMap, by addToSystemStatus and
//                             removeFromSystemStatus
//   tells     the root's helper   chipAdded, chipAlreadyAdded, chipRemoved
//
// The chip is running when its agent reports exactly the configured generation, that generation is
// not 0, and the chip is enabled. The machine keeps no running state: the system status is the
// record of which chips run.
//
// INVARIANTS
//   - config.genTime >= status.genTime. An agent that reports a newer generation than was ever
//     configured (or a NaN on either side) ends the process.
//   - The construction arguments stay for life, whatever is put in their place in the directories
//     later.
//   - A machine without a status never runs. A machine without a chip launcher directory neither
//     starts nor stops its agent, and leaves the system status alone when it goes.
class ORU_EXPORT CentralChipSm : public Kesh::StateMachine<CentralChipSm> {
 public:
  static constexpr char const* typeName = "Oru::Central::CentralChipSm";

  // `parent` outlives the machine.
  static Vunda::Ptr<CentralChipSm> CentralChipSmIs(Vunda::String const& name,
                                                   Vunda::String const& sliceName,
                                                   Vunda::Ptr<ChipHwConfig const> const& hwConfig,
                                                   Vunda::Ptr<ChipConfig> const& config,
                                                   Vunda::Ptr<ChipStatus const> const& status,
                                                   Vunda::Ptr<SystemStatus> const& systemStatus,
                                                   CentralSliceSm* parent);
  ~CentralChipSm() override;

  Vunda::String const& name() const { return name_; }
  Vunda::String const& sliceName() const { return sliceName_; }
  Vunda::Ptr<ChipHwConfig const> const& hwConfig() const { return hwConfig_; }
  Vunda::Ptr<ChipConfig> const& config() const { return config_; }
  Vunda::Ptr<ChipStatus const> const& status() const { return status_.ptr(); }
  Vunda::Ptr<SystemStatus> const& systemStatus() const { return systemStatus_; }
  CentralSliceSm* parentSm() const { return parent_; }
  bool initialized() const { return initialized_; }

  // In the order of a chip's life.
  void handleInitialized();
  void handleRunning();
  // Restarts the agent (true) or stops it (false): withdraws the chip, then writes a new
  // generation.
  void doReset(bool enabled);
  void handleDestroyed();

  // The agent runs the configured generation: publishes the chip, or tells the helper that it is
  // published already.
  void addToSystemStatus();
  // Withdraws the chip; only says so when it is not published.
  void removeFromSystemStatus();

  static void statusDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                             void const* key, void const* value) noexcept;

 private:
  friend class Kesh::StateMachine<CentralChipSm>;

  CentralChipSm(Vunda::String const& name, Vunda::String const& sliceName,
                Vunda::Ptr<ChipHwConfig const> const& hwConfig,
                Vunda::Ptr<ChipConfig> const& config, Vunda::Ptr<ChipStatus const> const& status,
                Vunda::Ptr<SystemStatus> const& systemStatus, CentralSliceSm* parent);
  void traceReversedGenerations() const;
  ChipInfo chipInfo() const;
  auto watched() { return std::tie(status_); }
  auto children() { return std::tuple<>(); }

  Vunda::String const name_;
  Vunda::String const sliceName_;
  Vunda::Ptr<ChipHwConfig const> const hwConfig_;
  Vunda::Ptr<ChipConfig> const config_;
  Kesh::Watched<CentralChipSm, ChipStatus const> status_;
  Vunda::Ptr<SystemStatus> const systemStatus_;
  CentralSliceSm* const parent_;
  bool initialized_ = false;
};

}  // namespace Oru::Central
