// How the root answers its slice directories.

#include "runtime/kesh/MutatorException.h"
#include "runtime/vunda/RangeException.h"
#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

class CentralSmDirTest : public CentralFixture {
 protected:
  CentralSmDirTest() { start(); }
};

TEST_F(CentralSmDirTest, AConfiguredSliceIsPreparedAndItsAgentStarted) {
  observeWrites();
  journal();
  insertSlice("Slice1", {"Chip1", "Chip2"});
  EXPECT_EQ(journal(), lines(R"(
    +config/Slice1
    helper.createChipConfig Chip1 in Slice1
    +config/Slice1/Chip1
    config/Slice1/Chip1.deviceId=1
    helper.createChipConfig Chip2 in Slice1
    +config/Slice1/Chip2
    config/Slice1/Chip2.deviceId=2
    +hwStatus/Slice1
    3 Starting slice agent Slice1
    +sliceLauncher/Slice1
  )"));
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=0
    config/Slice1/Chip1 deviceId=1 disabled genTime=0 syncGenTime=0
    config/Slice1/Chip2 deviceId=2 disabled genTime=0 syncGenTime=0
    sliceLauncher/Slice1
  )"));
}

TEST_F(CentralSmDirTest, TheLauncherEntryIsADirectory) {
  insertSlice("Slice1", {});
  EXPECT_TRUE(Vunda::ptrCast<Dir>(device.sliceLauncher->entityPtr("Slice1")));
}

TEST_F(CentralSmDirTest, AStatusEntryMakesOneSliceMachine) {
  traces("2,3");
  insertSlice("Slice1", {"Chip1"});
  journal();
  sliceAgentReports("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSm::handleStatusDir(const String&): Slice1
    2 creating sliceSm
    2 void Oru::Central::CentralSliceSm::handleInitialized(): Slice1
    2 void Oru::Central::CentralSliceSm::updateChipSms(): Slice1
    2 hwChipConfig count=1
    2 chipStatusExist=false Chip1
  )"));
  EXPECT_EQ(root->sliceSm().size(), 1u);
}

TEST_F(CentralSmDirTest, TheSliceMachineIsBuiltOnTheEntitiesOfItsName) {
  bringUp("Slice1", {"Chip1"});
  auto const slice = sliceSm("Slice1");
  EXPECT_EQ(slice->name(), String("Slice1"));
  EXPECT_EQ(slice->hwConfig(), device.hwConfigDir->entityPtr("Slice1"));
  EXPECT_EQ(slice->hwStatus(), device.hwStatusDir->entityPtr("Slice1"));
  EXPECT_EQ(slice->configDir(), device.configDir->entityPtr("Slice1"));
  EXPECT_EQ(slice->statusDir(), device.statusDir->entityPtr("Slice1"));
  EXPECT_EQ(slice->systemStatus(), device.systemStatus);
  EXPECT_EQ(slice->centralSm(), root.ptr());
}

TEST_F(CentralSmDirTest, AConfigurationThatComesSecondMakesTheSliceMachineToo) {
  sliceAgentReports("Slice1");
  EXPECT_EQ(root->sliceSm().size(), 0u);
  insertSlice("Slice1", {});
  EXPECT_EQ(root->sliceSm().size(), 1u);
}

TEST_F(CentralSmDirTest, ARepeatedAnnouncementKeepsTheSliceMachineAndTracesAgain) {
  bringUp("Slice1", {});
  auto const slice = sliceSm("Slice1");
  traces("2");
  journal();
  announceSlice("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSm::handleHwConfigDir(const String&): Slice1
    2 void Oru::Central::CentralSm::handleStatusDir(const String&): Slice1
    2 creating sliceSm
  )"));
  EXPECT_EQ(sliceSm("Slice1"), slice);
}

TEST_F(CentralSmDirTest, AnExistingHardwareStatusKeepsItsGeneration) {
  insertSlice("Slice1", {});
  hwStatus("Slice1")->genTimeIs(Duration(3));
  announceSlice("Slice1");
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration(3));
}

TEST_F(CentralSmDirTest, AnExistingHardwareStatusOfAnotherTypeIsKept) {
  auto const foreign = Vunda::makeNode<Dir>("Slice1");
  device.hwStatusDir->entityIs(foreign);
  insertSlice("Slice1", {});
  EXPECT_EQ(device.hwStatusDir->entityPtr("Slice1"), foreign);
  insertSlice("Slice2", {});
}

TEST_F(CentralSmDirTest, AnnouncingASliceAgainTakesItsNewChipsUp) {
  insertSlice("Slice1", {"Chip1"});
  hwConfig("Slice1")->chipConfigIs(makeChip("Chip2"));
  announceSlice("Slice1");
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=0
    config/Slice1/Chip1 deviceId=1 disabled genTime=0 syncGenTime=0
    config/Slice1/Chip2 deviceId=2 disabled genTime=0 syncGenTime=0
    sliceLauncher/Slice1
  )"));
}

TEST_F(CentralSmDirTest, AConfigurationRemovedBeforeAnyStatusLeavesTheLauncherEntry) {
  insertSlice("Slice1", {});
  journal();
  removeSlice("Slice1");
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(state(), "config/Slice1\nsliceLauncher/Slice1\n");
}

TEST_F(CentralSmDirTest, AConfigurationRemovedUnderASliceMachineDeletesOnlyTheHardwareStatus) {
  bringUp("Slice1", {"Chip1"});
  observeWrites();
  journal();
  removeSlice("Slice1");
  EXPECT_EQ(journal(), "-hwStatus/Slice1\n");
  EXPECT_EQ(root->sliceSm().size(), 1u);
  ignoreWrites();
}

TEST_F(CentralSmDirTest, AConfigurationRemovedWithStatusButNoSliceMachineStopsTheAgent) {
  bringUp("Slice1", {});
  root->sliceSmDel("Slice1");
  device.sliceLauncher->createEntity(Dir::typeName, "Slice1");
  observeWrites();
  journal();
  removeSlice("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    -hwStatus/Slice1
    3 Stopping slice agent Slice1
    -sliceLauncher/Slice1
  )"));
}

TEST_F(CentralSmDirTest, ADisappearedStatusEntryTakesTheSliceMachineAndItsLauncherEntry) {
  bringUp("Slice1", {"Chip1"});
  sliceAgentLeaves("Slice1");
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=5
    config/Slice1/Chip1 deviceId=1 disabled genTime=1005 syncGenTime=1006
  )"));
}

TEST_F(CentralSmDirTest, TheNextAnnouncementWritesTheLauncherEntryAgain) {
  bringUp("Slice1", {});
  sliceAgentLeaves("Slice1");
  EXPECT_FALSE(device.sliceLauncher->entityPtrHas("Slice1"));
  announceSlice("Slice1");
  EXPECT_TRUE(device.sliceLauncher->entityPtrHas("Slice1"));
}

TEST_F(CentralSmDirTest, StatusEventsOfASliceWithoutConfigurationRemoveItsMachine) {
  bringUp("Slice1", {});
  removeSlice("Slice1");
  device.statusDir->entityIs(Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1")));
  EXPECT_EQ(root->sliceSm().size(), 0u);
}

TEST_F(CentralSmDirTest, AnEntityOfAnotherTypeCountsAsNoConfiguration) {
  insertSlice("Slice1", {});
  device.hwConfigDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  EXPECT_EQ(state(), "config/Slice1\nsliceLauncher/Slice1\n");
}

TEST_F(CentralSmDirTest, AStatusWithAConfigurationOfAnotherTypeMakesAMachineThatDoesNothing) {
  device.hwConfigDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  traces("2");
  sliceAgentReports("Slice1");
  EXPECT_EQ(journal().find("creating sliceSm") != std::string::npos, true);
  auto const slice = sliceSm("Slice1");
  EXPECT_FALSE(slice->hwConfig());
  Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1"))->createEntity(Dir::typeName, "any");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleChipStatus(const String&): Slice1
    2 void Oru::Central::CentralSliceSm::updateChipSms(): Slice1
  )"));
}

TEST_F(CentralSmDirTest, AStatusEntryThatIsNoDirectoryMakesAMachineWithoutStatus) {
  insertSlice("Slice1", {"Chip1"});
  device.statusDir->entityIs(Vunda::makeNode<SliceHwStatus>("Slice1"));
  ASSERT_TRUE(sliceSm("Slice1"));
  EXPECT_FALSE(sliceSm("Slice1")->statusDir());
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 0u);
}

TEST_F(CentralSmDirTest, DeviceId64IsAccepted) {
  auto const slice = makeSlice("Slice1", {});
  slice->chipConfigIs(makeChip("Chip1", 64));
  device.hwConfigDir->entityIs(slice);
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=0
    config/Slice1/Chip1 deviceId=64 disabled genTime=0 syncGenTime=0
    sliceLauncher/Slice1
  )"));
}

TEST_F(CentralSmDirTest, ADeviceIdOutOfRangeStopsTheHandlerThere) {
  for (std::uint16_t const raw : {std::uint16_t{65}, std::uint16_t{256}, std::uint16_t{65535}}) {
    root->hasNotificationActiveIs(false);
    auto const slice = makeSlice("Slice1", {"Chip1"});
    slice->chipConfigIs(makeChip("Chip2", raw));
    slice->chipConfigIs(makeChip("Chip3"));
    device.hwConfigDir->entityIs(slice);
    EXPECT_THROW(root->handleHwConfigDir("Slice1"), Vunda::RangeException);
    EXPECT_EQ(state(), lines(R"(
      config/Slice1/Chip1 deviceId=1 disabled genTime=0 syncGenTime=0
      config/Slice1/Chip2 deviceId=64 disabled genTime=0 syncGenTime=0
    )"));
  }
}

TEST_F(CentralSmDirTest, TheRangeErrorNamesTheBounds) {
  root->hasNotificationActiveIs(false);
  auto const slice = makeSlice("Slice1", {});
  slice->chipConfigIs(makeChip("Chip1", 65));
  device.hwConfigDir->entityIs(slice);
  try {
    root->handleHwConfigDir("Slice1");
    FAIL() << "no range error";
  } catch (Vunda::RangeException const& error) {
    EXPECT_STREQ(error.what(),
                 "Oru::Central::DeviceId::value < Oru::Central::DeviceId::min or > "
                 "Oru::Central::DeviceId::null not allowed");
  }
}

TEST_F(CentralSmDirTest, AHelperThatMakesNoChipConfigurationLeavesNothingToWrite) {
  helper->noChipConfigs();
  insertSlice("Slice1", {"Chip1"});
  EXPECT_EQ(state(), "hwStatus/Slice1 genTime=0\nconfig/Slice1\nsliceLauncher/Slice1\n");
}

TEST_F(CentralSmDirTest, WithoutChipConfigurationTheDeviceIdIsStillChecked) {
  helper->noChipConfigs();
  root->hasNotificationActiveIs(false);
  auto const slice = makeSlice("Slice1", {});
  slice->chipConfigIs(makeChip("Chip1", 65));
  device.hwConfigDir->entityIs(slice);
  EXPECT_THROW(root->handleHwConfigDir("Slice1"), Vunda::RangeException);
}

TEST_F(CentralSmDirTest, AReplacedConfigurationIsTakenUpAndThenRefused) {
  bringUp("Slice1", {"Chip1"});
  auto const slice = sliceSm("Slice1");
  root->hasNotificationActiveIs(false);
  insertSlice("Slice1", {"Chip1", "Chip2"});
  EXPECT_THROW(root->handleHwConfigDir("Slice1"), Kesh::MutatorReinstantiatingException);
  EXPECT_TRUE(chipConfig("Chip2"));
  EXPECT_EQ(sliceSm("Slice1"), slice);
}

TEST_F(CentralSmDirTest, ALauncherThatAnswersAtOnceGetsACompleteSlice) {
  observeWrites();
  journal();
  journal_.hookIs([&](std::string const& line) {
    if (line == "+sliceLauncher/Slice1") sliceAgentReports("Slice1");
  });
  insertSlice("Slice1", {});
  EXPECT_EQ(journal(), lines(R"(
    +config/Slice1
    +hwStatus/Slice1
    3 Starting slice agent Slice1
    +sliceLauncher/Slice1
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 5
    hwStatus/Slice1.genTime=5
  )"));
}

TEST_F(CentralSmDirTest, AStatusThatGoesWhileTheSliceMachineIsMadeLeavesNoMachine) {
  insertSlice("Slice1", {});
  helper->once("sliceDetected", [&] { sliceAgentLeaves("Slice1"); });
  sliceAgentReports("Slice1");
  EXPECT_EQ(state(), "hwStatus/Slice1 genTime=5\nconfig/Slice1\n");
}

TEST_F(CentralSmDirTest, ASliceAnnouncedWhileItsMachineIsMadeGetsOneMachine) {
  insertSlice("Slice1", {});
  journal();
  helper->once("sliceDetected", [&] { announceSlice("Slice1"); });
  sliceAgentReports("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    helper.sliceDetected Slice1
    3 Starting slice agent Slice1
    3 Skip creating sliceSm for Slice1 because it is being created
    3 Detected a new slice inserted, hw genTime 5
  )"));
  EXPECT_EQ(subscribers(*hwConfig("Slice1")), 1u);
}

TEST_F(CentralSmDirTest, ANotificationForANameThatNeverWasChangesNothing) {
  bringUp("Slice1", {"Chip1"});
  auto const before = state();
  String const never("never");
  for (auto const& dir : {device.hwConfigDir, device.statusDir, device.resetRequestDir,
                          Vunda::ptrCast<Dir>(device.statusDir->entityPtr("Slice1"))}) {
    dir->publisher()->publishChange(Dir::entityPtrField, &never, nullptr);
  }
  EXPECT_EQ(state(), before);
}

TEST_F(CentralSmDirTest, AnUnknownNameChangesNothing) {
  device.statusDir->deleteEntity("never");
  root->handleStatusDir("never");
  root->handleHwConfigDir("never");
  EXPECT_EQ(state(), "");
}

using CentralSmDirDeathTest = CentralSmDirTest;

TEST_F(CentralSmDirDeathTest, AReplacedConfigurationUnderALiveSliceEndsTheProcess) {
  bringUp("Slice1", {"Chip1"});
  EXPECT_DEATH(insertSlice("Slice1", {"Chip1"}), "terminate called");
}

TEST_F(CentralSmDirDeathTest, ADeviceIdOutOfRangeInANotificationEndsTheProcess) {
  auto const slice = makeSlice("Slice1", {});
  slice->chipConfigIs(makeChip("Chip1", 65));
  EXPECT_DEATH(device.hwConfigDir->entityIs(slice), "terminate called");
}

class CentralSmNullDirTest : public CentralFixture {};

TEST_F(CentralSmNullDirTest, NullWatchedDirectoriesAreEmpty) {
  device.hwConfigDir = device.statusDir = device.resetRequestDir = nullptr;
  start();
  root->handleHwConfigDir("Slice1");
  root->handleStatusDir("Slice1");
  root->handleResetRequestDir("ops");
  root->handleHwConfigDir();
  root->handleResetRequestDir();
  root->hasNotificationActiveIs(false);
  root->hasNotificationActiveIs(true);
  EXPECT_TRUE(root->initialized());
  EXPECT_EQ(state(), "");
}

TEST_F(CentralSmNullDirTest, WithoutStatusDirectoryASliceIsPreparedAndNoMachineMade) {
  device.statusDir = nullptr;
  start();
  insertSlice("Slice1", {});
  EXPECT_EQ(state(), "hwStatus/Slice1 genTime=0\nconfig/Slice1\nsliceLauncher/Slice1\n");
  removeSlice("Slice1");
  EXPECT_EQ(state(), "config/Slice1\nsliceLauncher/Slice1\n");
}

TEST_F(CentralSmNullDirTest, WithoutSliceLauncherNoAgentIsStartedOrStopped) {
  device.sliceLauncher = nullptr;
  start();
  bringUp("Slice1", {});
  root->sliceSmDel("Slice1");
  removeSlice("Slice1");
  EXPECT_EQ(journal().find("slice agent"), std::string::npos);
}

using CentralSmNullDirDeathTest = CentralSmNullDirTest;

TEST_F(CentralSmNullDirDeathTest, TheConfigDirectoryIsNeededForASlice) {
  device.configDir = nullptr;
  start();
  EXPECT_DEATH(insertSlice("Slice1", {}), "Assertion `configDir\\(\\)' failed");
}

TEST_F(CentralSmNullDirDeathTest, TheHardwareStatusDirectoryIsNeededForASlice) {
  device.hwStatusDir = nullptr;
  start();
  EXPECT_DEATH(insertSlice("Slice1", {}), "Assertion `hwStatusDir\\(\\)' failed");
}

TEST_F(CentralSmNullDirDeathTest, TheHardwareStatusDirectoryIsNeededToTakeASliceOut) {
  device.hwStatusDir = nullptr;
  start();
  EXPECT_DEATH(root->handleHwConfigDir("Slice1"), "Assertion `hwStatusDir\\(\\)' failed");
}

TEST_F(CentralSmNullDirDeathTest, AConfigEntryThatIsNoDirectoryEndsTheProcess) {
  start();
  device.configDir->entityIs(Vunda::makeNode<SliceHwStatus>("Slice1"));
  EXPECT_DEATH(insertSlice("Slice1", {}), "Assertion `sliceConfigDir' failed");
}

}  // namespace
