// Whole stories of a device, step by step.

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;

class DeviceStoryTest : public CentralFixture {
 protected:
  DeviceStoryTest() {
    start();
    observeWrites();
    journal();
  }
};

TEST_F(DeviceStoryTest, ASliceIsInserted) {
  // The platform describes the slice: its directories are prepared, the launcher starts its agent.
  insertSlice("Slice1", {"Chip1"});
  EXPECT_EQ(journal(), lines(R"(
    +config/Slice1
    helper.createChipConfig Chip1 in Slice1
    +config/Slice1/Chip1
    config/Slice1/Chip1.deviceId=1
    +hwStatus/Slice1
    3 Starting slice agent Slice1
    +sliceLauncher/Slice1
  )"));

  // The slice agent runs. Nothing happens until each of its chips has a status.
  sliceAgentReports("Slice1");
  EXPECT_EQ(journal(), "");
  EXPECT_TRUE(root->featureCollSm());

  // They have: chip agents are started, the new board is detected and its chips configured.
  chipAgentReports("Chip1");
  EXPECT_EQ(journal(), lines(R"(
    3 Create chipSm for Chip1
    3 Starting chip agent Chip1
    +chipLauncher/Chip1
    3 config genTime 0 status genTime 0
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 5
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.enabled=true
    config/Slice1/Chip1.genTime=1001
    config/Slice1/Chip1.syncGenTime=1002
    1 Reset chip Chip1 with genTime 1001
    hwStatus/Slice1.genTime=5
    3 config genTime 1001 status genTime 0
  )"));

  // The chip agent reports its ports, then the generation that it was configured with: the chip is
  // published.
  reportInterfaces("Chip1");
  journal();
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(journal(), lines(R"(
    3 config genTime 1001 status genTime 1001
    3 Chip is initialized Chip1 genTime 1001
    intfToChipPort[Et1/1]=1:1
    intfToChipPort[Et1/2]=1:2
    sliceToChipMap[Slice1]=1
    helper.chipAdded 1 Chip1 Slice1 1001 Et1/1 Et1/2
    chipInfo[1]=Chip1@Slice1 genTime=1001 Et1/1 Et1/2
  )"));
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=5
    config/Slice1/Chip1 deviceId=1 enabled genTime=1001 syncGenTime=1002
    sliceLauncher/Slice1
    chipLauncher/Chip1
    chipInfo[1] Chip1@Slice1 genTime=1001 Et1/1 Et1/2
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
    sliceSm/Slice1/Chip1
  )"));
}

TEST_F(DeviceStoryTest, ASliceIsPulledAndItsConfigurationGoesFirst) {
  bringUp("Slice1", {"Chip1"});
  journal();
  removeSlice("Slice1");
  EXPECT_EQ(journal(), "-hwStatus/Slice1\n");
  sliceAgentLeaves("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    helper.chipRemoved 1
    -intfToChipPort[Et1/1]
    -intfToChipPort[Et1/2]
    sliceToChipMap[Slice1]=
    -chipInfo[1]
    config/Slice1/Chip1.enabled=false
    config/Slice1/Chip1.genTime=1003
    config/Slice1/Chip1.syncGenTime=1004
    1 Reset chip Chip1 with genTime 1003
    3 Stopping slice agent Slice1
    -sliceLauncher/Slice1
    -sliceToChipMap[Slice1]
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.genTime=1005
    config/Slice1/Chip1.syncGenTime=1006
    1 Reset chip Chip1 with genTime 1005
    3 Stopping chip agent Chip1
    -chipLauncher/Chip1
  )"));
  EXPECT_EQ(state(),
            "config/Slice1/Chip1 deviceId=1 disabled genTime=1005 "
            "syncGenTime=1006\n");
}

TEST_F(DeviceStoryTest, ASliceIsPulledAndItsStatusGoesFirst) {
  bringUp("Slice1", {"Chip1"});
  sliceAgentLeaves("Slice1");
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=5
    config/Slice1/Chip1 deviceId=1 disabled genTime=1005 syncGenTime=1006
  )"));
  journal();
  removeSlice("Slice1");
  EXPECT_EQ(journal(), "-hwStatus/Slice1\n");
  EXPECT_EQ(state(),
            "config/Slice1/Chip1 deviceId=1 disabled genTime=1005 "
            "syncGenTime=1006\n");
}

TEST_F(DeviceStoryTest, APulledSliceIsInsertedAgain) {
  bringUp("Slice1", {"Chip1"});
  removeSlice("Slice1");
  sliceAgentLeaves("Slice1");
  bringUp("Slice1", {"Chip1"});
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=5
    config/Slice1/Chip1 deviceId=1 enabled genTime=1007 syncGenTime=1008
    sliceLauncher/Slice1
    chipLauncher/Chip1
    chipInfo[1] Chip1@Slice1 genTime=1007 Et1/1 Et1/2
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
    sliceSm/Slice1/Chip1
  )"));
}

TEST_F(DeviceStoryTest, TheAgentIsRestartedOverARunningDevice) {
  bringUp("Slice1", {"Chip1"});
  stop();
  EXPECT_EQ(subscriptions().find("hwConfig"), std::string::npos);
  start();
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_FALSE(chipConfig("Chip1")->enabled());
  hwGenTimeIs("Slice1", 6);
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=1007 Et1/1 Et1/2");
}

TEST_F(DeviceStoryTest, ADeviceOfManySlicesComesUpAndGoes) {
  for (int slice = 1; slice <= 8; ++slice) {
    Names chips;
    for (int chip = 0; chip < 8; ++chip)
      chips.push_back("Chip" + std::to_string(slice * 8 + chip - 8));
    bringUp("Slice" + std::to_string(slice), chips);
  }
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 64u);
  EXPECT_EQ(device.systemStatus->intfToChipPort().size(), 128u);
  stop();
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
  EXPECT_EQ(device.systemStatus->sliceToChipMap().size(), 0u);
  EXPECT_EQ(device.chipLauncher->entityPtrCount() + device.sliceLauncher->entityPtrCount(), 0u);
}

}  // namespace
