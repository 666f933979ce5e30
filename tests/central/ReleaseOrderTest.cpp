// In which order a machine that goes releases what it was built on: last argument first.

#include <utility>

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

// A node that writes down its end.
template <class T>
struct Ending : T {
  template <class... Args>
  Ending(Names& ends, char const* label, Args&&... args)
      : T(std::forward<Args>(args)...), ends_(ends), label_(label) {}
  ~Ending() override { ends_.emplace_back(label_); }

  Names& ends_;
  char const* label_;
};

class ReleaseOrderTest : public CentralFixture {
 protected:
  template <class T>
  Ptr<Ending<T>> ending(char const* label) {
    return Vunda::makeNode<Ending<T>>(ends, label, label);
  }

  Names ends;
};

TEST_F(ReleaseOrderTest, OfTheRoot) {
  device.hwConfigDir = ending<Dir>("hwConfigDir");
  device.hwStatusDir = ending<Dir>("hwStatusDir");
  device.configDir = ending<Dir>("configDir");
  device.statusDir = ending<Dir>("statusDir");
  device.systemStatus = ending<SystemStatus>("systemStatus");
  device.resetRequestDir = ending<Dir>("resetRequestDir");
  device.resetStatusDir = ending<Dir>("resetStatusDir");
  device.sliceLauncher = ending<Dir>("sliceLauncher");
  device.chipLauncher = ending<Dir>("chipLauncher");
  device.featureLauncher = ending<Dir>("featureLauncher");
  helper = Vunda::makeNode<Ending<DeviceHelper>>(ends, "helper", journal_);
  start();
  device = Device();
  helper = Vunda::makeNode<DeviceHelper>(journal_);
  EXPECT_EQ(ends, Names());
  stop();
  EXPECT_EQ(ends, (Names{"helper", "featureLauncher", "chipLauncher", "sliceLauncher",
                         "resetStatusDir", "resetRequestDir", "systemStatus", "statusDir",
                         "configDir", "hwStatusDir", "hwConfigDir"}));
}

TEST_F(ReleaseOrderTest, OfASlice) {
  start();
  auto slice = CentralSliceSm::CentralSliceSmIs("Slice1", ending<SliceHwConfig>("hwConfig"),
                                                ending<SliceHwStatus>("hwStatus"),
                                                ending<Dir>("configDir"), ending<Dir>("statusDir"),
                                                ending<SystemStatus>("systemStatus"), root.ptr());
  EXPECT_EQ(ends, Names());
  slice = nullptr;
  EXPECT_EQ(ends, (Names{"systemStatus", "statusDir", "configDir", "hwStatus", "hwConfig"}));
}

TEST_F(ReleaseOrderTest, OfAChip) {
  start();
  bringUp("Slice1", {});
  auto chip = CentralChipSm::CentralChipSmIs(
      "Chip1", "Slice1", ending<ChipHwConfig>("hwConfig"), ending<ChipConfig>("config"),
      ending<ChipStatus>("status"), ending<SystemStatus>("systemStatus"), sliceSm("Slice1").ptr());
  EXPECT_EQ(ends, Names());
  chip = nullptr;
  EXPECT_EQ(ends, (Names{"systemStatus", "status", "config", "hwConfig"}));
}

TEST_F(ReleaseOrderTest, OfARequestDirectorysMachine) {
  start();
  auto machine = ResetRequestSm::ResetRequestSmIs("ops", ending<ResetRequestDir>("requests"),
                                                  ending<ResetStatusDir>("records"), root.ptr());
  EXPECT_EQ(ends, Names());
  machine = nullptr;
  EXPECT_EQ(ends, (Names{"records", "requests"}));
}

TEST_F(ReleaseOrderTest, OfTheFeatureMachine) {
  auto machine = FeatureCollSm::FeatureCollSmIs(
      Vunda::makeNode<Ending<FeatureCollection>>(ends, "features"), ending<Dir>("launcher"));
  EXPECT_EQ(ends, Names());
  machine = nullptr;
  EXPECT_EQ(ends, (Names{"launcher", "features"}));
}

}  // namespace
