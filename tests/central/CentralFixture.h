#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "central/DefaultTraceHandle.h"
#include "tests/central/DeviceHelper.h"
#include "tests/central/Journal.h"
#include "tests/central/StateText.h"
#include "tests/central/WriteObserver.h"

namespace OruTest {

using Oru::Central::CentralChipSm;
using Oru::Central::CentralSliceSm;
using Oru::Central::CentralSm;
using Oru::Central::ChipCollection;
using Oru::Central::ChipConfig;
using Oru::Central::ChipHwConfig;
using Oru::Central::ChipInfo;
using Oru::Central::ChipPort;
using Oru::Central::ChipStatus;
using Oru::Central::DeviceId;
using Oru::Central::FeatureCollection;
using Oru::Central::FeatureCollSm;
using Oru::Central::PortHwConfig;
using Oru::Central::ResetEntry;
using Oru::Central::ResetKey;
using Oru::Central::ResetReason;
using Oru::Central::ResetRequestDir;
using Oru::Central::ResetRequestSm;
using Oru::Central::ResetStatusDir;
using Oru::Central::ResetType;
using Oru::Central::SliceHwConfig;
using Oru::Central::SliceHwStatus;
using Oru::Central::SystemStatus;
using Vunda::Duration;
using Vunda::Ptr;
using Vunda::String;

using Names = std::vector<std::string>;

// Seconds since the epoch that only tests move. Every reading is one second later than the one
// before, so that each generation can be told from every other: the first is 1001.
class SimulatedClock {
 public:
  SimulatedClock();
  ~SimulatedClock();
  static void nowIs(double now) { now_ = now; }
  static double now() { return now_; }

 private:
  static double now_;
};

// The generation that a chip's agent was configured with.
struct AtConfigGeneration {};
inline constexpr AtConfigGeneration atConfigGeneration;

// An in-memory device with the root on it: verbs for what the surroundings do, a journal of all
// that the machines do to them, and the state that results. Traces of levels 1 and 3 are on.
//
// Chips are named with a number at the end, which is their device id: "Chip1" has id 1 and the
// interfaces Et1/1 and Et1/2 on its ports 1 and 2. No two slices have a chip of the same name,
// unless a test makes that itself.
//
// When the test is over, the root goes, and nothing may be subscribed or held any more.
class CentralFixture : public testing::Test {
 protected:
  static constexpr double hwGenTime = 5;

  CentralFixture();
  ~CentralFixture() override;
  void TearDown() override;

  // The hosting agent.
  void start();
  void stop();
  // Text traces of these levels go to the journal: "1,3", "2", "none".
  void traces(char const* levels);
  // Writes are noted from now on, or not any more.
  void observeWrites();
  void ignoreWrites() { observer_.stop(); }

  // The platform.
  Ptr<ChipHwConfig> makeChip(std::string const& chip, std::uint16_t deviceId);
  Ptr<ChipHwConfig> makeChip(std::string const& chip);
  Ptr<SliceHwConfig> makeSlice(std::string const& slice, Names const& chips,
                               double genTime = hwGenTime);
  void insertSlice(std::string const& slice, Names const& chips, double genTime = hwGenTime);
  void announceSlice(std::string const& slice);
  void hwGenTimeIs(std::string const& slice, double genTime);
  void removeSlice(std::string const& slice);

  // The slice and chip agents.
  void sliceAgentReports(std::string const& slice);
  void sliceAgentLeaves(std::string const& slice);
  // The chip's status appears (generation 0, no interfaces), and disappears.
  void chipAgentReports(std::string const& chip);
  void chipAgentLeaves(std::string const& chip);
  void reportInterfaces(std::string const& chip);  // those of its ports
  void reportStatus(std::string const& chip, double genTime);
  void reportStatus(std::string const& chip, AtConfigGeneration);
  // The slice with all its chips, up to the point where each chip is published.
  void bringUp(std::string const& slice, Names const& chips);
  // The same, up to where no agent has reported a generation yet.
  void bringUpAgents(std::string const& slice, Names const& chips);

  // Operators. A request directory appears with its first request.
  Ptr<ResetRequestDir> requestDirAppears(std::string const& dir = "ops");
  Ptr<ResetEntry> makeRequest(ResetKey const& key, double genTime);
  Ptr<ResetEntry> request(ResetType type, char const* chip, char const* slice, double genTime,
                          std::string const& dir = "ops");
  void withdraw(ResetType type, char const* chip, char const* slice,
                std::string const& dir = "ops");

  // What stands in the directories, null when it is not there.
  Ptr<SliceHwConfig> hwConfig(std::string const& slice) const;
  Ptr<SliceHwStatus> hwStatus(std::string const& slice) const;
  Ptr<ChipConfig> chipConfig(std::string const& chip) const;
  Ptr<ChipStatus> chipStatus(std::string const& chip) const;
  Ptr<ResetRequestDir> requestDir(std::string const& dir = "ops") const;
  Ptr<ResetStatusDir> records(std::string const& dir = "ops") const;
  Ptr<CentralSliceSm> sliceSm(std::string const& slice) const;
  Ptr<CentralChipSm> chipSm(std::string const& chip) const;
  Ptr<ResetRequestSm> resetSm(std::string const& dir = "ops") const;
  std::string const& sliceOf(std::string const& chip) const { return sliceOf_.at(chip); }

  // All lines since the last call; all that stands now.
  std::string journal() { return journal_.take(); }
  std::string state() const { return stateText(device, root.ptr()); }

  static std::uint32_t subscribers(Vunda::Node const& node);
  // The publishers of the device that have subscribers, one line each.
  std::string subscriptions() const;

  SimulatedClock clock;
  Journal journal_;
  Device device = Device::make();
  Ptr<DeviceHelper> helper;
  Ptr<CentralSm> root;

 private:
  template <class T>
  static Ptr<T> entity(Ptr<Kesh::Dir> const& dir, std::string const& name);
  Ptr<Kesh::Dir> statusOf(std::string const& slice) const;

  WriteObserver observer_{journal_};
  std::map<std::string, std::string> sliceOf_;
};

}  // namespace OruTest
