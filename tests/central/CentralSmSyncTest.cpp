// What the root does at its start with the system status of an earlier run.

#include <cmath>
#include <limits>

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

class CentralSmSyncTest : public CentralFixture {
 protected:
  static constexpr double running = 100;

  CentralSmSyncTest() {
    helper->on("syncStateOnInit", [this] { synced = stateText(device, nullptr); });
  }

  // A slice whose hardware is at the configured generation, with directories for its chips.
  void leftSlice(std::string const& slice, double hwStatusGenTime = hwGenTime) {
    insertSlice(slice, {});
    auto const hwStatus = Vunda::makeNode<SliceHwStatus>(String(slice));
    hwStatus->genTimeIs(Duration(hwStatusGenTime));
    device.hwStatusDir->entityIs(hwStatus);
    device.configDir->createEntity(Dir::typeName, String(slice));
    device.statusDir->createEntity(Dir::typeName, String(slice));
  }

  // One of its chips: the generations in its configuration, its status and the system status.
  void leftChip(std::string const& slice, std::string const& chip, double configured = running,
                double reported = running, double published = running) {
    auto const hwConfig = makeChip(chip);
    this->hwConfig(slice)->chipConfigIs(hwConfig);
    auto const config = Vunda::makeNode<ChipConfig>(String(chip));
    config->deviceIdIs(DeviceId(hwConfig->deviceId()));
    config->enabledIs(true);
    config->genTimeIs(Duration(configured));
    Vunda::ptrCast<Dir>(device.configDir->entityPtr(String(slice)))->entityIs(config);
    auto const status = Vunda::makeNode<ChipStatus>(String(chip));
    status->genTimeIs(Duration(reported));
    Vunda::ptrCast<Dir>(device.statusDir->entityPtr(String(slice)))->entityIs(status);
    if (published != 0) leftPublished(slice, chip, hwConfig->deviceId(), published);
  }

  void leftPublished(std::string const& slice, std::string const& chip, std::uint16_t id,
                     double genTime) {
    ChipInfo info{DeviceId(id), String(chip)};
    info.sliceNameIs(String(slice));
    info.genTimeIs(Duration(genTime));
    Lanko::IntfId intf;
    intf.handleInitialized(String("Et" + std::to_string(id) + "/1"));
    info.intfIdIs(intf, true);
    device.systemStatus->intfToChipPortIs(intf, ChipPort(DeviceId(id), 1));
    ChipCollection chips = device.systemStatus->sliceToChipMap(String(slice));
    chips.chipIs(DeviceId(id), true);
    device.systemStatus->sliceToChipMapIs(String(slice), chips);
    device.systemStatus->chipInfoIs(info);
  }

  // Starts as far as to the synchronisation: after it no slice has a status any more, so none is
  // taken up.
  void startAndSync() {
    helper->on("syncStateOnInit", [this] {
      synced = stateText(device, nullptr);
      for (char const* slice : {"Slice1", "Slice2"}) sliceAgentLeaves(slice);
    });
    start();
  }

  // Starts, and expects that Chip1 was found running, or was cleaned up.
  void expectRunning() {
    startAndSync();
    EXPECT_NE(journal().find("helper.syncStateOnInit 1\n"), std::string::npos);
    EXPECT_NE(synced.find("chipInfo[1] Chip1@Slice1 genTime=100 Et1/1\n"), std::string::npos);
  }
  void expectCleanedUp() {
    startAndSync();
    std::string const lines = journal();
    EXPECT_NE(lines.find("3 Clean up chipInfo for chip Chip1 upon "
                         "init\nhelper.syncStateOnInit\n"),
              std::string::npos)
        << lines;
    EXPECT_EQ(synced.find("chipInfo["), std::string::npos) << synced;
  }

  std::string synced;
};

TEST_F(CentralSmSyncTest, WithoutAnythingPublishedTheHelperHearsOfNoChip) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", running, running, 0);
  traces("2,3");
  startAndSync();
  auto const lines = journal();
  EXPECT_NE(lines.find("2 void Oru::Central::CentralSm::syncStateOnInit(): \n"
                       "helper.syncStateOnInit\n"),
            std::string::npos)
      << lines;
}

TEST_F(CentralSmSyncTest, ARunningChipIsKept) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  expectRunning();
}

TEST_F(CentralSmSyncTest, AChipWhoseAgentHasNotReachedItsGenerationIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", running, 99);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipPublishedAtAnotherGenerationIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", running, running, 99);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipAsOldAsItsSlicesHardwareIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", hwGenTime, hwGenTime, hwGenTime);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipOlderThanItsSlicesHardwareIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", 4, 4, 4);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipJustNewerThanItsSlicesHardwareIsKept) {
  leftSlice("Slice1");
  double const above = std::nextafter(hwGenTime, 6.0);
  leftChip("Slice1", "Chip1", above, above, above);
  startAndSync();
  EXPECT_NE(journal().find("helper.syncStateOnInit 1\n"), std::string::npos);
}

TEST_F(CentralSmSyncTest, AllChipsOfASliceWhoseHardwareMovedOnAreCleanedUp) {
  leftSlice("Slice1", 4);
  leftChip("Slice1", "Chip1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AHardwareGenerationThatIsNoNumberMatchesNothing) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  leftSlice("Slice1", nan);
  leftChip("Slice1", "Chip1");
  hwGenTimeIs("Slice1", nan);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, ChipsOfASliceWithoutHardwareStatusAreCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  device.hwStatusDir->deleteEntity("Slice1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, ChipsOfASliceWithoutStatusDirectoryAreCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  device.statusDir->deleteEntity("Slice1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, ChipsOfASliceWithoutConfigDirectoryAreCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  device.configDir->deleteEntity("Slice1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, ChipsOfASliceWithoutConfigurationAreCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  device.hwConfigDir->deleteEntity("Slice1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipWithoutStatusIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1"))->deleteEntity("Chip1");
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipStatusOfAnotherTypeIsNone) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  auto const status = Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1"));
  status->entityIs(Vunda::makeNode<Dir>("Chip1"));
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipConfigurationOfAnotherTypeIsSkipped) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  hwConfig("Slice1")->chipConfigDel("Chip1");
  auto const config = Vunda::ptrCast<Dir>(device.configDir->entityPtr("Slice1"));
  config->entityIs(Vunda::makeNode<Dir>("Chip1"));
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, SliceEntitiesOfAnotherTypeAreSkipped) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  device.hwConfigDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  expectCleanedUp();
  stop();
  leftPublished("Slice1", "Chip1", 1, running);
  device.hwConfigDir->deleteEntity("Slice1");
  device.hwStatusDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, AChipPublishedUnderAnotherIdThanItsConfigurationsIsCleanedUp) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", running, running, 0);
  leftPublished("Slice1", "Chip1", 9, running);
  expectCleanedUp();
}

TEST_F(CentralSmSyncTest, CleaningUpDropsInterfacesThenTheIdThenTheEntry) {
  leftPublished("Slice1", "Chip1", 1, running);
  leftPublished("Slice1", "Chip2", 2, running);
  observeWrites();
  start();
  EXPECT_EQ(journal(), lines(R"(
    helper.initialize
    helper.featureCollection
    3 Clean up chipInfo for chip Chip1 upon init
    -intfToChipPort[Et1/1]
    sliceToChipMap[Slice1]=2
    -chipInfo[1]
    3 Clean up chipInfo for chip Chip2 upon init
    -intfToChipPort[Et2/1]
    sliceToChipMap[Slice1]=
    -chipInfo[2]
    helper.syncStateOnInit
  )"));
}

TEST_F(CentralSmSyncTest, ASliceKeepsItsKeyWithoutChips) {
  leftPublished("Slice1", "Chip1", 1, running);
  start();
  EXPECT_EQ(state(), "sliceToChipMap[Slice1] \n");
}

TEST_F(CentralSmSyncTest, AnEntryWhoseSliceHasNoKeyGetsAnEmptyOne) {
  leftPublished("Slice1", "Chip1", 1, running);
  device.systemStatus->sliceToChipMapDel("Slice1");
  start();
  EXPECT_EQ(state(), "sliceToChipMap[Slice1] \n");
}

TEST_F(CentralSmSyncTest, WhatNoEntryListsIsLeftAlone) {
  leftPublished("Slice1", "Chip1", 1, running);
  Lanko::IntfId foreign;
  foreign.handleInitialized("Et9/9");
  device.systemStatus->intfToChipPortIs(foreign, ChipPort(DeviceId(1), 9));
  device.systemStatus->sliceToChipMapIs("Slice9", ChipCollection());
  device.chipLauncher->createEntity(Dir::typeName, "Chip1");
  device.sliceLauncher->createEntity(Dir::typeName, "Slice1");
  start();
  EXPECT_EQ(state(), lines(R"(
    sliceLauncher/Slice1
    chipLauncher/Chip1
    sliceToChipMap[Slice1] 
    sliceToChipMap[Slice9] 
    intfToChipPort[Et9/9] 1:9
  )"));
}

TEST_F(CentralSmSyncTest, OnlyTheChipsThatDoNotRunAreCleanedUp) {
  leftSlice("Slice1");
  leftSlice("Slice2");
  leftChip("Slice1", "Chip1");
  leftChip("Slice1", "Chip2", running, 99);
  leftChip("Slice2", "Chip3");
  startAndSync();
  EXPECT_NE(journal().find("helper.syncStateOnInit 1 3\n"), std::string::npos);
  EXPECT_EQ(synced.substr(synced.find("chipInfo")), lines(R"(
    chipInfo[1] Chip1@Slice1 genTime=100 Et1/1
    chipInfo[3] Chip3@Slice2 genTime=100 Et3/1
    sliceToChipMap[Slice1] 1
    sliceToChipMap[Slice2] 3
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et3/1] 3:1
  )"));
}

TEST_F(CentralSmSyncTest, ARestartWithLeftoversKeepsWhatRunsAndStopsNothing) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1");
  leftChip("Slice1", "Chip2", running, 99);
  observeWrites();
  start();
  EXPECT_EQ(journal(), lines(R"(
    helper.initialize
    helper.featureCollection
    3 Clean up chipInfo for chip Chip2 upon init
    -intfToChipPort[Et2/1]
    sliceToChipMap[Slice1]=1
    -chipInfo[2]
    helper.syncStateOnInit 1
    helper.createChipConfig Chip1 in Slice1
    helper.createChipConfig Chip2 in Slice1
    3 Starting slice agent Slice1
    +sliceLauncher/Slice1
    3 Create chipSm for Chip1
    3 Starting chip agent Chip1
    +chipLauncher/Chip1
    3 config genTime 100 status genTime 100
    3 Chip is initialized Chip1 genTime 100
    helper.chipAlreadyAdded 1 Chip1 Slice1 100 Et1/1
    3 Create chipSm for Chip2
    3 Starting chip agent Chip2
    +chipLauncher/Chip2
    3 config genTime 100 status genTime 99
    helper.sliceDetected Slice1
    3 config genTime 100 status genTime 100
    3 Chip is initialized Chip1 genTime 100
    helper.chipAlreadyAdded 1 Chip1 Slice1 100 Et1/1
    3 config genTime 100 status genTime 99
  )"));
}

TEST_F(CentralSmSyncTest, ALeftoverChipThatCatchesUpIsPublished) {
  leftSlice("Slice1");
  leftChip("Slice1", "Chip1", running, 99, 99);
  start();
  Vunda::ptrCast<ChipStatus>(
      Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1"))->entityPtr("Chip1"))
      ->genTimeIs(Duration(running));
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=100 Et1/1 Et1/2");
}

TEST_F(CentralSmSyncTest, WhatTheHelperChangesInInitializeIsHandledAtOnce) {
  helper->once("initialize", [&] { insertSlice("Slice1", {"Chip1"}); });
  start();
  EXPECT_EQ(journal(), lines(R"(
    helper.initialize
    helper.createChipConfig Chip1 in Slice1
    3 Starting slice agent Slice1
    helper.featureCollection
    helper.syncStateOnInit
    helper.createChipConfig Chip1 in Slice1
    3 Starting slice agent Slice1
  )"));
}

}  // namespace
