// How a slice keeps its set of chip machines.

#include "runtime/kesh/MutatorException.h"
#include "runtime/vunda/RangeException.h"
#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;
using Kesh::MutatorReinstantiatingException;

class SliceSmChipSetTest : public CentralFixture {
 protected:
  SliceSmChipSetTest() { start(); }

  Ptr<Dir> configOf(char const* slice) {
    return Vunda::ptrCast<Dir>(device.configDir->entityPtr(slice));
  }
  Ptr<Dir> statusOf(char const* slice) {
    return Vunda::ptrCast<Dir>(device.statusDir->entityPtr(slice));
  }
};

TEST_F(SliceSmChipSetTest, TheGateStopsAtTheFirstChipWithoutStatus) {
  insertSlice("Slice1", {"Chip1", "Chip2", "Chip3"});
  sliceAgentReports("Slice1");
  traces("2");
  journal();
  chipAgentReports("Chip1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleChipStatus(const String&): Slice1
    2 void Oru::Central::CentralSliceSm::updateChipSms(): Slice1
    2 hwChipConfig count=3
    2 chipStatusExist=true Chip1
    2 chipStatusExist=false Chip2
  )"));
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 0u);
}

TEST_F(SliceSmChipSetTest, TheLastStatusMakesAllChipMachinesInOnePass) {
  insertSlice("Slice1", {"Chip1", "Chip2"});
  sliceAgentReports("Slice1");
  chipAgentReports("Chip2");
  traces("2,3");
  observeWrites();
  journal();
  chipAgentReports("Chip1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleChipStatus(const String&): Slice1
    2 void Oru::Central::CentralSliceSm::updateChipSms(): Slice1
    2 hwChipConfig count=2
    2 chipStatusExist=true Chip1
    2 chipStatusExist=true Chip2
    2 hwConfig genTime=5 hwStatus genTime=0
    2 void Oru::Central::CentralSliceSm::handleHwConfigInitialized(): Slice1
    3 Create chipSm for Chip1
    2 void Oru::Central::CentralChipSm::handleInitialized(): Chip1
    3 Starting chip agent Chip1
    +chipLauncher/Chip1
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 0 status genTime 0
    3 Create chipSm for Chip2
    2 void Oru::Central::CentralChipSm::handleInitialized(): Chip2
    3 Starting chip agent Chip2
    +chipLauncher/Chip2
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip2
    3 config genTime 0 status genTime 0
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 5
    2 void Oru::Central::CentralSliceSm::doReset(bool): Slice1 enabled true
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 enabled true
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.enabled=true
    config/Slice1/Chip1.genTime=1001
    config/Slice1/Chip1.syncGenTime=1002
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip2 enabled true
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip2
    3 Cannot find chip Chip2 in systemStatus
    config/Slice1/Chip2.enabled=true
    config/Slice1/Chip2.genTime=1003
    config/Slice1/Chip2.syncGenTime=1004
    hwStatus/Slice1.genTime=5
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1001 status genTime 0
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip2
    3 config genTime 1003 status genTime 0
  )"));
}

TEST_F(SliceSmChipSetTest, ASliceWithoutChipsPassesTheGateAtOnce) {
  insertSlice("Slice1", {});
  traces("2");
  journal();
  sliceAgentReports("Slice1");
  EXPECT_NE(journal().find("2 hwChipConfig count=0\n2 hwConfig genTime=5 hwStatus genTime=0\n"),
            std::string::npos);
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration(5));
}

TEST_F(SliceSmChipSetTest, AStatusOfAnotherTypePassesTheGateAndCountsAsNone) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  statusOf("Slice1")->createEntity(Dir::typeName, "Chip1");
  ASSERT_TRUE(chipSm("Chip1"));
  EXPECT_FALSE(chipSm("Chip1")->status());
}

TEST_F(SliceSmChipSetTest, TheStatusOfAForeignChipReopensTheGateToo) {
  bringUpAgents("Slice1", {"Chip1"});
  journal();
  statusOf("Slice1")->createEntity(Dir::typeName, "foreign");
  EXPECT_EQ(journal(), "helper.sliceDetected Slice1\n3 config genTime 1001 status genTime 0\n");
}

TEST_F(SliceSmChipSetTest, AnAnnouncedGenerationPassesByTheGate) {
  insertSlice("Slice1", {"Chip1", "Chip2"});
  sliceAgentReports("Slice1");
  chipAgentReports("Chip1");
  traces("3");
  journal();
  hwGenTimeIs("Slice1", 6);
  EXPECT_EQ(journal(), lines(R"(
    3 Create chipSm for Chip1
    3 Starting chip agent Chip1
    3 config genTime 0 status genTime 0
    3 Create chipSm for Chip2
    3 Starting chip agent Chip2
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 6
    3 Cannot find chip Chip1 in systemStatus
    3 Cannot find chip Chip2 in systemStatus
    3 config genTime 1001 status genTime 0
  )"));
  EXPECT_FALSE(chipSm("Chip2")->status());
}

TEST_F(SliceSmChipSetTest, AChipMadeWithoutStatusNeverRuns) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  hwGenTimeIs("Slice1", 6);
  chipAgentReports("Chip1");
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
}

TEST_F(SliceSmChipSetTest, AChipThatIsNotConfiguredAnyMoreIsDeletedAndTheOthersKept) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  auto const kept = chipSm("Chip1");
  hwConfig("Slice1")->chipConfigDel("Chip2");
  chipConfig("Chip1")->deviceIdIs(DeviceId(40));
  traces("3");
  journal();
  observeWrites();
  sliceSm("Slice1")->handleHwConfigInitialized();
  EXPECT_EQ(journal(), lines(R"(
    3 Delete chipSm for Chip2
    helper.chipRemoved 2
    -intfToChipPort[Et2/1]
    -intfToChipPort[Et2/2]
    sliceToChipMap[Slice1]=1
    -chipInfo[2]
    config/Slice1/Chip2.enabled=false
    config/Slice1/Chip2.genTime=1005
    config/Slice1/Chip2.syncGenTime=1006
    3 Stopping chip agent Chip2
    -chipLauncher/Chip2
    config/Slice1/Chip1.deviceId=1
    helper.sliceDetected Slice1
    3 config genTime 1001 status genTime 1001
    3 Chip is initialized Chip1 genTime 1001
    helper.chipAlreadyAdded 1 Chip1 Slice1 1001 Et1/1 Et1/2
  )"));
  EXPECT_EQ(chipSm("Chip1"), kept);
}

TEST_F(SliceSmChipSetTest, ADeletedStatusClosesTheGateAndDeletesNothing) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  journal();
  chipAgentLeaves("Chip2");
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 2u);
}

TEST_F(SliceSmChipSetTest, AReplacedStatusDoesNotRebuildTheChip) {
  bringUp("Slice1", {"Chip1"});
  auto const chip = chipSm("Chip1");
  auto const status = chip->status();
  chipAgentReports("Chip1");
  EXPECT_EQ(chipSm("Chip1"), chip);
  EXPECT_EQ(chip->status(), status);
}

TEST_F(SliceSmChipSetTest, AReplacedHardwareConfigurationOfAChipDoesNotRebuildIt) {
  bringUp("Slice1", {"Chip1"});
  auto const chip = chipSm("Chip1");
  auto const old = chip->hwConfig();
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip1", 9));
  sliceSm("Slice1")->handleHwConfigInitialized();
  EXPECT_EQ(chipSm("Chip1"), chip);
  EXPECT_EQ(chip->hwConfig(), old);
  EXPECT_EQ(chipConfig("Chip1")->deviceId(), DeviceId(9));
}

TEST_F(SliceSmChipSetTest, ADeviceIdOutOfRangeStopsThePassThere) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  hwConfig("Slice1")->chipConfigDel("Chip2");
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip3", 65));
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip4"));
  configOf("Slice1")->createEntity(ChipConfig::typeName, "Chip3");
  configOf("Slice1")->createEntity(ChipConfig::typeName, "Chip4");
  journal();
  EXPECT_THROW(sliceSm("Slice1")->handleHwConfigInitialized(), Vunda::RangeException);
  EXPECT_EQ(journal().find("sliceDetected"), std::string::npos);
  EXPECT_NE(state().find("sliceSm/Slice1/Chip1\n"), std::string::npos);
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 1u);
  hwConfig("Slice1")->chipConfigDel("Chip3");
}

TEST_F(SliceSmChipSetTest, ADeviceIdIsCheckedBeforeTheChipsConfigurationIsNeeded) {
  bringUp("Slice1", {"Chip1"});
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip3", 65));
  EXPECT_THROW(sliceSm("Slice1")->handleHwConfigInitialized(), Vunda::RangeException);
  hwConfig("Slice1")->chipConfigDel("Chip3");
}

TEST_F(SliceSmChipSetTest, DeviceId64IsAcceptedAndPublishedUnderIt) {
  auto const slice = makeSlice("Slice1", {"Chip1"});
  slice->chipConfigIs(makeChip("Chip1", 64));
  device.hwConfigDir->entityIs(slice);
  sliceAgentReports("Slice1");
  chipAgentReports("Chip1");
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(64))),
            "Chip1@Slice1 genTime=1001 Et1/1 Et1/2");
}

TEST_F(SliceSmChipSetTest, TwoChipsOfOneIdTakeEachOthersEntry) {
  auto const slice = makeSlice("Slice1", {"Chip1", "Chip2"});
  slice->chipConfigIs(makeChip("Chip2", 1));
  device.hwConfigDir->entityIs(slice);
  sliceAgentReports("Slice1");
  for (char const* chip : {"Chip1", "Chip2"}) chipAgentReports(chip);
  reportStatus("Chip1", atConfigGeneration);
  journal();
  reportStatus("Chip2", atConfigGeneration);
  EXPECT_EQ(journal(), lines(R"(
    3 config genTime 1003 status genTime 1003
    3 Chip is initialized Chip2 genTime 1003
    helper.chipRemoved 1
    helper.chipAdded 1 Chip2 Slice1 1003 Et2/1 Et2/2
  )"));
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 1u);
}

TEST_F(SliceSmChipSetTest, ChipSmIsReturnsTheMachineBuiltOnTheSameArguments) {
  bringUp("Slice1", {"Chip1"});
  auto const c = chipSm("Chip1");
  EXPECT_EQ(sliceSm("Slice1")->chipSmIs("Chip1", "Slice1", c->hwConfig(), c->config(), c->status(),
                                        c->systemStatus()),
            c);
}

TEST_F(SliceSmChipSetTest, ChipSmIsRefusesEachOtherArgumentAndNamesTheFirst) {
  bringUp("Slice1", {"Chip1"});
  auto const c = chipSm("Chip1");
  auto const refused = [&](char const* slice, Ptr<ChipHwConfig const> const& hwConfig,
                           Ptr<ChipConfig> const& config, Ptr<ChipStatus const> const& status,
                           Ptr<SystemStatus> const& system) {
    try {
      sliceSm("Slice1")->chipSmIs("Chip1", slice, hwConfig, config, status, system);
    } catch (MutatorReinstantiatingException const& refusal) {
      std::string const text = refusal.what();
      return text.substr(0, text.find(": existing"));
    }
    return std::string("not refused");
  };
  std::string const re = "Oru::Central::CentralSliceSm: re-instantiated with another chipSm.";
  EXPECT_EQ(refused("S", nullptr, nullptr, nullptr, nullptr), re + "sliceName");
  EXPECT_EQ(refused("Slice1", nullptr, nullptr, nullptr, nullptr), re + "hwConfig");
  EXPECT_EQ(refused("Slice1", c->hwConfig(), nullptr, nullptr, nullptr), re + "config");
  EXPECT_EQ(refused("Slice1", c->hwConfig(), c->config(), nullptr, nullptr), re + "status");
  EXPECT_EQ(refused("Slice1", c->hwConfig(), c->config(), c->status(), nullptr),
            re + "systemStatus");
  EXPECT_EQ(chipSm("Chip1"), c);
}

TEST_F(SliceSmChipSetTest, ChipSmDelReturnsTheRemovedMachineOrNull) {
  bringUp("Slice1", {"Chip1"});
  auto chip = chipSm("Chip1");
  EXPECT_EQ(sliceSm("Slice1")->chipSmDel("Chip1"), chip);
  EXPECT_FALSE(sliceSm("Slice1")->chipSmDel("Chip1"));
  EXPECT_FALSE(sliceSm("Slice1")->chipSmDel("never"));
}

TEST_F(SliceSmChipSetTest, ChipSmDelAllStopsEveryChip) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  sliceSm("Slice1")->chipSmDelAll();
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 0u);
  EXPECT_EQ(device.chipLauncher->entityPtrCount(), 0u);
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
}

TEST_F(SliceSmChipSetTest, AChipAddedToALiveSliceAndAnnouncedIsMade) {
  bringUp("Slice1", {"Chip1"});
  makeSlice("Slice1", {"Chip2"});
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip2"));
  announceSlice("Slice1");
  EXPECT_FALSE(chipSm("Chip2"));
  chipAgentReports("Chip2");
  EXPECT_TRUE(chipSm("Chip2"));
}

TEST_F(SliceSmChipSetTest, AnnouncingTheSliceFromWithinAChipsStartMakesOneMachine) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  observeWrites();
  journal_.hookIs([&](std::string const& line) {
    if (line == "+chipLauncher/Chip1") sliceSm("Slice1")->handleHwConfigInitialized();
  });
  journal();
  chipAgentReports("Chip1");
  EXPECT_NE(journal().find("3 Skip creating chipSm for Chip1 because it is being created\n"),
            std::string::npos);
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 1u);
  EXPECT_EQ(subscribers(*chipStatus("Chip1")), 1u);
}

TEST_F(SliceSmChipSetTest, ANewBoardDuringAChipsStartResetsThatChipToo) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  observeWrites();
  journal_.hookIs([&](std::string const& line) {
    if (line == "+chipLauncher/Chip1") hwGenTimeIs("Slice1", 6);
  });
  chipAgentReports("Chip1");
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration(6));
  EXPECT_TRUE(chipConfig("Chip1")->enabled());
  EXPECT_GT(chipConfig("Chip1")->genTime(), Duration(6));
}

TEST_F(SliceSmChipSetTest, AnAnnouncementOfTheSameBoardDuringAChipsStartDoesNotResetIt) {
  bringUpAgents("Slice1", {"Chip1"});
  makeSlice("Slice1", {"Chip2"});
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip2"));
  announceSlice("Slice1");
  observeWrites();
  journal_.hookIs([&](std::string const& line) {
    if (line == "+chipLauncher/Chip2") sliceSm("Slice1")->handleHwConfigInitialized();
  });
  chipAgentReports("Chip2");
  ASSERT_TRUE(chipSm("Chip2"));
  EXPECT_EQ(chipConfig("Chip2")->genTime(), Duration());
}

TEST_F(SliceSmChipSetTest, AChipDroppedDuringItsOwnStartIsDeletedAfterIt) {
  insertSlice("Slice1", {"Chip1", "Chip2"});
  sliceAgentReports("Slice1");
  chipAgentReports("Chip2");
  observeWrites();
  journal_.hookIs([&](std::string const& line) {
    if (line != "+chipLauncher/Chip1") return;
    hwConfig("Slice1")->chipConfigDel("Chip1");
    hwGenTimeIs("Slice1", 6);
  });
  chipAgentReports("Chip1");
  EXPECT_FALSE(chipSm("Chip1"));
  EXPECT_TRUE(chipSm("Chip2"));
  EXPECT_FALSE(device.chipLauncher->entityPtrHas("Chip1"));
}

using SliceSmChipSetDeathTest = SliceSmChipSetTest;

TEST_F(SliceSmChipSetDeathTest, AConfiguredChipNeedsItsConfiguration) {
  insertSlice("Slice1", {"Chip1"});
  configOf("Slice1")->deleteEntity("Chip1");
  sliceAgentReports("Slice1");
  EXPECT_DEATH(chipAgentReports("Chip1"), "Assertion `chipConfig' failed");
}

TEST_F(SliceSmChipSetDeathTest, AConfigurationOfAnotherTypeIsNone) {
  insertSlice("Slice1", {"Chip1"});
  configOf("Slice1")->entityIs(Vunda::makeNode<Dir>("Chip1"));
  sliceAgentReports("Slice1");
  EXPECT_DEATH(chipAgentReports("Chip1"), "Assertion `chipConfig' failed");
}

TEST_F(SliceSmChipSetDeathTest, AHelperThatMakesNoChipConfigurationsEndsTheProcessHere) {
  helper->noChipConfigs();
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  EXPECT_DEATH(chipAgentReports("Chip1"), "Assertion `chipConfig' failed");
}

}  // namespace
