// How chips get into the system status and out of it.

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;

class SystemStatusPublicationTest : public CentralFixture {
 protected:
  SystemStatusPublicationTest() { start(); }

  // All of the slice's agents at their generation but nothing published.
  void agentsReady(std::string const& slice, Names const& chips) {
    bringUpAgents(slice, chips);
    observeWrites();
    journal();
  }
  std::string systemStatus() const {
    std::string const all = state();
    auto const from = all.find("chipInfo");
    auto const start = from == std::string::npos ? all.find("sliceToChipMap") : from;
    return all.substr(start, all.find("sliceSm/") - start);
  }
};

TEST_F(SystemStatusPublicationTest, TheFirstChipOfASliceMakesItsKey) {
  agentsReady("Slice1", {"Chip1"});
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(systemStatus(), lines(R"(
    chipInfo[1] Chip1@Slice1 genTime=1001 Et1/1 Et1/2
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
  )"));
}

TEST_F(SystemStatusPublicationTest, FurtherChipsJoinTheirSlicesSet) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  bringUp("Slice2", {"Chip3"});
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice1")), "1,2");
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice2")), "3");
}

TEST_F(SystemStatusPublicationTest, TheHelperHearsOfAChipBeforeItsEntryStands) {
  agentsReady("Slice1", {"Chip1"});
  std::string during;
  helper->once("chipAdded", [&] { during = systemStatus(); });
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(during, lines(R"(
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
  )"));
}

TEST_F(SystemStatusPublicationTest, TheHelperHearsOfARemovalWhileAllStillStands) {
  bringUp("Slice1", {"Chip1"});
  auto const before = systemStatus();
  std::string during;
  helper->once("chipRemoved", [&] { during = systemStatus(); });
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(during, before);
}

TEST_F(SystemStatusPublicationTest, AddingTwiceAtOneGenerationOnlyTellsTheHelper) {
  bringUp("Slice1", {"Chip1"});
  traces("2,3");
  observeWrites();
  journal();
  chipSm("Chip1")->addToSystemStatus();
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralChipSm::addToSystemStatus(): Chip1
    helper.chipAlreadyAdded 1 Chip1 Slice1 1001 Et1/1 Et1/2
  )"));
}

TEST_F(SystemStatusPublicationTest, AddingAtANewGenerationRemovesTheOldEntryFirst) {
  bringUp("Slice1", {"Chip1"});
  hwConfig("Slice1")->chipConfig("Chip1")->portConfigDel(1);
  chipConfig("Chip1")->genTimeIs(Duration(2000));
  traces("2,3");
  observeWrites();
  journal();
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 2000 status genTime 2000
    3 Chip is initialized Chip1 genTime 2000
    2 void Oru::Central::CentralChipSm::addToSystemStatus(): Chip1
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    helper.chipRemoved 1
    -intfToChipPort[Et1/1]
    -intfToChipPort[Et1/2]
    sliceToChipMap[Slice1]=
    -chipInfo[1]
    intfToChipPort[Et1/1]=1:1
    intfToChipPort[Et1/2]=1:2
    sliceToChipMap[Slice1]=1
    helper.chipAdded 1 Chip1 Slice1 2000 Et1/2
    chipInfo[1]=Chip1@Slice1 genTime=2000 Et1/2
  )"));
}

TEST_F(SystemStatusPublicationTest, TheEntryHasTheHardwaresInterfacesAndTheMapTheAgents) {
  bringUpAgents("Slice1", {"Chip1"});
  Lanko::IntfId extra;
  extra.handleInitialized("Et1/9");
  chipStatus("Chip1")->intfToPortIdIs(extra, 65535);
  hwConfig("Slice1")->chipConfig("Chip1")->portConfigIs(
      7, Vunda::makeNode<PortHwConfig>(String("Et1/7")));
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(systemStatus(), lines(R"(
    chipInfo[1] Chip1@Slice1 genTime=1001 Et1/1 Et1/2 Et1/7
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
    intfToChipPort[Et1/9] 1:65535
  )"));
}

TEST_F(SystemStatusPublicationTest, AnInterfaceThatOnlyTheAgentReportedStaysBehind) {
  bringUpAgents("Slice1", {"Chip1"});
  Lanko::IntfId extra;
  extra.handleInitialized("Et1/9");
  chipStatus("Chip1")->intfToPortIdIs(extra, 9);
  reportStatus("Chip1", atConfigGeneration);
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(systemStatus(), "sliceToChipMap[Slice1] \nintfToChipPort[Et1/9] 1:9\n");
}

TEST_F(SystemStatusPublicationTest, AChipWithoutPortsStillPublishesWhatItsAgentReports) {
  bringUpAgents("Slice1", {"Chip1"});
  auto const chip = hwConfig("Slice1")->chipConfig("Chip1");
  chip->portConfigDel(1);
  chip->portConfigDel(2);
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(systemStatus(), lines(R"(
    chipInfo[1] Chip1@Slice1 genTime=1001
    sliceToChipMap[Slice1] 1
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
  )"));
}

TEST_F(SystemStatusPublicationTest, RemovingTheLastChipKeepsTheSlicesKey) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice1")), "2");
  chipSm("Chip2")->removeFromSystemStatus();
  EXPECT_EQ(systemStatus(), "sliceToChipMap[Slice1] \n");
}

TEST_F(SystemStatusPublicationTest, RemovingAnAbsentChipOnlySaysSo) {
  agentsReady("Slice1", {"Chip1"});
  traces("2,3");
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    3 Cannot find chip Chip1 in systemStatus
  )"));
}

TEST_F(SystemStatusPublicationTest, ARemovalWritesAnEmptyKeyForASliceThatHasNone) {
  bringUp("Slice1", {"Chip1"});
  device.systemStatus->sliceToChipMapDel("Slice1");
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(systemStatus(), "sliceToChipMap[Slice1] \n");
}

TEST_F(SystemStatusPublicationTest, ARemovalTakesTheMachinesSliceNotTheEntrys) {
  bringUp("Slice1", {"Chip1"});
  ChipInfo moved = device.systemStatus->chipInfo(DeviceId(1));
  moved.sliceNameIs("Slice9");
  device.systemStatus->chipInfoIs(moved);
  ChipCollection chips;
  chips.chipIs(DeviceId(1), true);
  device.systemStatus->sliceToChipMapIs("Slice9", chips);
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice1")), "");
  EXPECT_EQ(textOf(device.systemStatus->sliceToChipMap("Slice9")), "1");
}

TEST_F(SystemStatusPublicationTest, ARemovalLooksTheEntryUpAgainAfterTheHelper) {
  bringUp("Slice1", {"Chip1"});
  helper->once("chipRemoved", [&] {
    ChipInfo fewer(DeviceId(1), "Chip1");
    device.systemStatus->chipInfoIs(fewer);
  });
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(systemStatus(), lines(R"(
    sliceToChipMap[Slice1] 
    intfToChipPort[Et1/1] 1:1
    intfToChipPort[Et1/2] 1:2
  )"));
}

TEST_F(SystemStatusPublicationTest, AnEntryThatEqualsTheAbsentOneCountsAsAbsent) {
  agentsReady("Slice1", {"Chip1"});
  device.systemStatus->chipInfoIs(ChipInfo(DeviceId(64), ""));
  chipConfig("Chip1")->deviceIdIs(DeviceId(64));
  journal();
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(journal(), "3 Cannot find chip Chip1 in systemStatus\n");
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(journal().find("chipRemoved"), std::string::npos);
}

TEST_F(SystemStatusPublicationTest, AChangedIdLeavesTheOldEntry) {
  bringUp("Slice1", {"Chip1"});
  chipConfig("Chip1")->deviceIdIs(DeviceId(7));
  journal();
  chipSm("Chip1")->handleRunning();
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 2u);
  chipSm("Chip1")->removeFromSystemStatus();
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=1001 Et1/1 Et1/2");
}

TEST_F(SystemStatusPublicationTest, AnOlderEntryOfAnotherSliceIsReplaced) {
  ChipInfo left(DeviceId(1), "Old");
  left.sliceNameIs("Slice9");
  left.genTimeIs(Duration(3));
  device.systemStatus->chipInfoIs(left);
  bringUp("Slice1", {"Chip1"});
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=1001 Et1/1 Et1/2");
}

}  // namespace
