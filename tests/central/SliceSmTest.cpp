#include <limits>

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

class SliceSmTest : public CentralFixture {
 protected:
  SliceSmTest() { start(); }

  // A running slice at the hardware generation 5, with one chip whose agent never reported.
  void liveSlice() {
    bringUpAgents("Slice1", {"Chip1"});
    traces("1,2,3");
    observeWrites();
    journal();
  }
};

TEST_F(SliceSmTest, WatchesItsConfigurationAndItsChipStatuses) {
  bringUp("Slice1", {});
  EXPECT_EQ(subscribers(*hwConfig("Slice1")), 1u);
  EXPECT_EQ(subscribers(*device.statusDir->entityPtr("Slice1")), 1u);
  EXPECT_TRUE(sliceSm("Slice1")->initialized());
  EXPECT_TRUE(sliceSm("Slice1")->hasNotificationActive());
}

TEST_F(SliceSmTest, EachNewSliceAssertsTheFeatureMachineAgain) {
  bringUp("Slice1", {});
  auto const first = root->featureCollSm();
  ASSERT_TRUE(first);
  bringUp("Slice2", {});
  EXPECT_EQ(root->featureCollSm(), first);
  root->featureCollSmDel();
  bringUp("Slice3", {});
  ASSERT_TRUE(root->featureCollSm());
  EXPECT_EQ(root->featureCollSm()->featureColl(), root->featureColl());
  EXPECT_EQ(root->featureCollSm()->featureLauncherConfigDir(), device.featureLauncher);
}

TEST_F(SliceSmTest, TheFeatureMachineStandsBeforeTheChips) {
  helper->featureColl()->featureIs("a", true);
  insertSlice("Slice1", {});
  observeWrites();
  journal();
  sliceAgentReports("Slice1");
  EXPECT_EQ(journal(), lines(R"(
    +featureLauncher/a
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 5
    hwStatus/Slice1.genTime=5
  )"));
}

TEST_F(SliceSmTest, HardwareGenerationZeroDoesNothing) {
  insertSlice("Slice1", {"Chip1"}, 0);
  sliceAgentReports("Slice1");
  journal();
  chipAgentReports("Chip1");
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 0u);
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration());
}

TEST_F(SliceSmTest, ANewBoardResetsItsChipsAndThenTakesTheGenerationOver) {
  liveSlice();
  hwGenTimeIs("Slice1", 6);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleHwConfigInitialized(): Slice1
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 6
    2 void Oru::Central::CentralSliceSm::doReset(bool): Slice1 enabled true
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 enabled true
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.genTime=1003
    config/Slice1/Chip1.syncGenTime=1004
    1 Reset chip Chip1 with genTime 1003
    hwStatus/Slice1.genTime=6
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1003 status genTime 0
  )"));
}

TEST_F(SliceSmTest, AnEqualGenerationResetsNothingButLooksAtEveryChip) {
  liveSlice();
  sliceSm("Slice1")->handleHwConfigInitialized();
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleHwConfigInitialized(): Slice1
    helper.sliceDetected Slice1
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1001 status genTime 0
  )"));
}

TEST_F(SliceSmTest, AnOlderHardwareGenerationResetsNothing) {
  liveSlice();
  hwGenTimeIs("Slice1", 4);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleHwConfigInitialized(): Slice1
    helper.sliceDetected Slice1
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1001 status genTime 0
  )"));
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration(5));
}

TEST_F(SliceSmTest, AGenerationThatIsNoNumberCountsAsSetAndResetsNothing) {
  liveSlice();
  hwGenTimeIs("Slice1", std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleHwConfigInitialized(): Slice1
    helper.sliceDetected Slice1
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1001 status genTime 0
  )"));
}

TEST_F(SliceSmTest, AHardwareStatusThatIsNoNumberIsNotOvertaken) {
  liveSlice();
  hwStatus("Slice1")->genTimeIs(Duration(std::numeric_limits<double>::quiet_NaN()));
  hwGenTimeIs("Slice1", 6);
  EXPECT_EQ(chipConfig("Chip1")->genTime(), Duration(1001));
}

TEST_F(SliceSmTest, TheSameGenerationTwiceResetsOnce) {
  liveSlice();
  hwGenTimeIs("Slice1", 6);
  journal();
  sliceSm("Slice1")->handleHwConfigInitialized();
  EXPECT_EQ(chipConfig("Chip1")->genTime(), Duration(1003));
  EXPECT_EQ(journal().find("Reset chip"), std::string::npos);
}

TEST_F(SliceSmTest, ADisabledChipIsEnabledByANewBoard) {
  liveSlice();
  chipSm("Chip1")->doReset(false);
  EXPECT_FALSE(chipConfig("Chip1")->enabled());
  hwGenTimeIs("Slice1", 6);
  EXPECT_TRUE(chipConfig("Chip1")->enabled());
}

TEST_F(SliceSmTest, AGenerationThatComesDuringSliceDetectedIsTheOneTakenOver) {
  liveSlice();
  traces("3");
  helper->once("sliceDetected", [&] { hwGenTimeIs("Slice1", 7); });
  hwGenTimeIs("Slice1", 6);
  EXPECT_EQ(journal(), lines(R"(
    helper.sliceDetected Slice1
    helper.sliceDetected Slice1
    3 Detected a new slice inserted, hw genTime 7
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.genTime=1003
    config/Slice1/Chip1.syncGenTime=1004
    hwStatus/Slice1.genTime=7
    3 config genTime 1003 status genTime 0
    3 config genTime 1003 status genTime 0
  )"));
}

TEST_F(SliceSmTest, AGenerationThatComesDuringTheResetIsNotOverwrittenByAnOlderOne) {
  liveSlice();
  journal_.hookIs([&](std::string const& line) {
    if (line == "config/Slice1/Chip1.syncGenTime=1004") hwGenTimeIs("Slice1", 7);
  });
  hwGenTimeIs("Slice1", 6);
  EXPECT_EQ(hwStatus("Slice1")->genTime(), Duration(7));
}

TEST_F(SliceSmTest, DoResetReachesEveryChipInOrder) {
  bringUpAgents("Slice1", {"Chip2", "Chip1"});
  traces("1");
  journal();
  sliceSm("Slice1")->doReset(true);
  EXPECT_EQ(journal(), lines(R"(
    1 Reset chip Chip2 with genTime 1005
    1 Reset chip Chip1 with genTime 1007
  )"));
  sliceSm("Slice1")->doReset(false);
  EXPECT_FALSE(chipConfig("Chip1")->enabled());
  EXPECT_FALSE(chipConfig("Chip2")->enabled());
}

TEST_F(SliceSmTest, DoResetWithoutChipsOnlyTraces) {
  bringUp("Slice1", {});
  traces("1,2,3");
  observeWrites();
  journal();
  sliceSm("Slice1")->doReset(true);
  EXPECT_EQ(journal(),
            "2 void Oru::Central::CentralSliceSm::doReset(bool): "
            "Slice1 enabled true\n");
}

TEST_F(SliceSmTest, OnlyTheGenerationOfTheConfigurationIsWatched) {
  liveSlice();
  hwConfig("Slice1")->chipConfigDel("Chip1");
  EXPECT_EQ(journal(), "");
  hwConfig("Slice1")->genTimeIs(Duration(5.5));
  EXPECT_NE(journal().find("3 Delete chipSm for Chip1"), std::string::npos);
}

TEST_F(SliceSmTest, OtherFieldsOfItsDirectoryAreIgnored) {
  liveSlice();
  String const name("Chip1");
  auto const status = device.statusDir->entityPtr("Slice1");
  status->publisher()->publishChange(Vunda::FieldId{259}, &name, nullptr);
  hwConfig("Slice1")->publisher()->publishChange(Vunda::FieldId{266}, &name, nullptr);
  EXPECT_EQ(journal(), "");
}

TEST_F(SliceSmTest, AZombieIgnoresNotifications) {
  liveSlice();
  auto const slice = sliceSm("Slice1");
  slice->keshDoZombieReactors(true);
  hwGenTimeIs("Slice1", 6);
  chipAgentLeaves("Chip1");
  EXPECT_EQ(journal(), "");
  EXPECT_FALSE(chipSm("Chip1")->zombieReactors());
  slice->keshDoZombieReactors(false);
  hwGenTimeIs("Slice1", 7);
  EXPECT_NE(journal(), "");
}

TEST_F(SliceSmTest, SwitchingNotificationsReachesTheChips) {
  liveSlice();
  auto const status = chipStatus("Chip1");
  sliceSm("Slice1")->hasNotificationActiveIs(false);
  EXPECT_EQ(subscribers(*hwConfig("Slice1")), 0u);
  EXPECT_EQ(subscribers(*status), 0u);
  EXPECT_FALSE(sliceSm("Slice1")->zombieReactors());
  sliceSm("Slice1")->hasNotificationActiveIs(true);
  EXPECT_EQ(subscribers(*status), 1u);
}

TEST_F(SliceSmTest, GoingStopsTheChipsThenTheAgentThenDropsTheKeyThenTheChips) {
  bringUp("Slice1", {"Chip1"});
  observeWrites();
  journal();
  root->sliceSmDel("Slice1");
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
}

TEST_F(SliceSmTest, AChipStoppedAfterItsSlicesKeyWasDroppedWritesNoKeyBack) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  root->sliceSmDel("Slice1");
  EXPECT_EQ(device.systemStatus->sliceToChipMap().size(), 0u);
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
}

TEST_F(SliceSmTest, GoingDropsOnlyItsOwnKey) {
  bringUp("Slice1", {"Chip1"});
  bringUp("Slice2", {"Chip2"});
  root->sliceSmDel("Slice1");
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice2")), "2");
  EXPECT_EQ(device.systemStatus->sliceToChipMap().size(), 1u);
}

class SliceSmWithoutLauncherTest : public CentralFixture {};

TEST_F(SliceSmWithoutLauncherTest, GoingStillDropsTheKeyAndSaysNothing) {
  device.sliceLauncher = nullptr;
  start();
  bringUp("Slice1", {"Chip1"});
  journal();
  root->sliceSmDel("Slice1");
  EXPECT_EQ(journal().find("Stopping slice agent"), std::string::npos);
  EXPECT_EQ(device.systemStatus->sliceToChipMap().size(), 0u);
}

using SliceSmDeathTest = SliceSmTest;

TEST_F(SliceSmDeathTest, TheHardwareStatusIsNeededOnceEveryChipHasAStatus) {
  for (char const* levels : {"none", "2"}) {
    traces(levels);
    device.hwStatusDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
    insertSlice("Slice1", {});
    EXPECT_DEATH(sliceAgentReports("Slice1"), "Assertion `hwStatus\\(\\)' failed");
  }
}

TEST_F(SliceSmDeathTest, TheHardwareStatusIsNeededWhenTheGenerationComes) {
  device.hwStatusDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  insertSlice("Slice1", {"Chip1"}, 0);
  sliceAgentReports("Slice1");
  EXPECT_DEATH(hwGenTimeIs("Slice1", 6), "Assertion `hwStatus\\(\\)' failed");
}

TEST_F(SliceSmDeathTest, HandlingTheConfigurationNeedsOne) {
  device.hwConfigDir->entityIs(Vunda::makeNode<Dir>("Slice1"));
  sliceAgentReports("Slice1");
  EXPECT_DEATH(sliceSm("Slice1")->handleHwConfigInitialized(), "Assertion `hwConfig\\(\\)' failed");
}

}  // namespace
