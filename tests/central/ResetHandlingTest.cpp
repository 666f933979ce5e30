// What a reset request does.

#include <limits>

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;

constexpr ResetType unlisted = static_cast<ResetType>(77);
constexpr double late = 5000;

class ResetHandlingTest : public CentralFixture {
 protected:
  ResetHandlingTest() { start(); }

  double genTime(char const* chip) const { return chipConfig(chip)->genTime().seconds(); }
};

TEST_F(ResetHandlingTest, AChipResetRestartsTheChipAndIsRecorded) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  requestDirAppears();
  traces("1,2,3");
  observeWrites();
  journal();
  request(ResetType::chip, "Chip1", "Slice1", late);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized(): {resetType=chip chipName=Chip1 sliceName=Slice1}
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest(): {resetType=chip chipName=Chip1 sliceName=Slice1} genTime 5000
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleChipResetRequest(const String&, const String&, Kesh::Seconds): chipName Chip1 genTime 5000
    1 Reset chip Chip1
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 enabled true
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    helper.chipRemoved 1
    -intfToChipPort[Et1/1]
    -intfToChipPort[Et1/2]
    sliceToChipMap[Slice1]=2
    -chipInfo[1]
    config/Slice1/Chip1.genTime=1005
    config/Slice1/Chip1.syncGenTime=1006
    1 Reset chip Chip1 with genTime 1005
    +resetStatus/ops/chip,Chip1,Slice1
    resetStatus/ops/chip,Chip1,Slice1.resetCause=test
    resetStatus/ops/chip,Chip1,Slice1.resetReason=userRequest
    resetStatus/ops/chip,Chip1,Slice1.genTime=5000
  )"));
}

TEST_F(ResetHandlingTest, AChipResetReachesThatChipOnly) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  bringUp("Slice2", {"Chip3"});
  request(ResetType::chip, "Chip2", "Slice1", late);
  EXPECT_EQ(genTime("Chip1"), 1001);
  EXPECT_EQ(genTime("Chip2"), 1007);
  EXPECT_EQ(genTime("Chip3"), 1005);
}

TEST_F(ResetHandlingTest, ARequestAsOldAsTheConfigurationIsOutdatedAndRecorded) {
  bringUp("Slice1", {"Chip1"});
  journal();
  request(ResetType::chip, "Chip1", "Slice1", 1001);
  EXPECT_EQ(journal(), "3 Skip resetting chip Chip1 because the request is outdated\n");
  EXPECT_EQ(genTime("Chip1"), 1001);
  EXPECT_NE(state().find("resetStatus/ops/chip,Chip1,Slice1 cause=\"test\" reason=userRequest "
                         "genTime=1001\n"),
            std::string::npos);
}

TEST_F(ResetHandlingTest, ARequestJustNewerThanTheConfigurationResets) {
  bringUp("Slice1", {"Chip1"});
  request(ResetType::chip, "Chip1", "Slice1", 1001.0000001);
  EXPECT_EQ(genTime("Chip1"), 1003);
}

TEST_F(ResetHandlingTest, AnOlderRequestIsOutdated) {
  bringUp("Slice1", {"Chip1"});
  request(ResetType::chip, "Chip1", "Slice1", 1000);
  EXPECT_EQ(genTime("Chip1"), 1001);
}

TEST_F(ResetHandlingTest, ATimeThatIsNoNumberIsOutdated) {
  bringUp("Slice1", {"Chip1"});
  journal();
  request(ResetType::chip, "Chip1", "Slice1", std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(journal(), "3 Skip resetting chip Chip1 because the request is outdated\n");
  chipConfig("Chip1")->genTimeIs(Duration(std::numeric_limits<double>::quiet_NaN()));
  request(ResetType::slice, "", "Slice1", late);
  EXPECT_EQ(journal(), "3 Skip resetting chip Chip1 because the request is outdated\n");
  chipConfig("Chip1")->genTimeIs(Duration(1001));
}

TEST_F(ResetHandlingTest, AChipOfASliceThatIsNotInsertedIsSkippedAndRecorded) {
  requestDirAppears();
  traces("2,3");
  journal();
  request(ResetType::chip, "Chip1", "Slice9", late);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized(): {resetType=chip chipName=Chip1 sliceName=Slice9}
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest(): {resetType=chip chipName=Chip1 sliceName=Slice9} genTime 5000
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleChipResetRequest(const String&, const String&, Kesh::Seconds): chipName Chip1 genTime 5000
    3 Skip resetting slice Slice9 because the slice is not inserted
  )"));
  EXPECT_EQ(records()->resetStatus().size(), 1u);
}

TEST_F(ResetHandlingTest, AChipThatIsNotThereIsSkippedAndRecorded) {
  bringUp("Slice1", {"Chip1"});
  journal();
  request(ResetType::chip, "Chip9", "Slice1", late);
  EXPECT_EQ(journal(), "3 Skip resetting chip Chip9 because the chip cannot be found\n");
  EXPECT_EQ(records()->resetStatus().size(), 1u);
}

TEST_F(ResetHandlingTest, ASliceResetJudgesEachOfItsChips) {
  bringUp("Slice1", {"Chip1", "Chip2", "Chip3"});
  bringUp("Slice2", {"Chip4"});
  chipConfig("Chip2")->genTimeIs(Duration(late + 1));
  requestDirAppears();
  traces("1,2,3");
  journal();
  request(ResetType::slice, "", "Slice1", late);
  std::string const all = journal();
  EXPECT_NE(all.find("2 void "
                     "Oru::Central::ResetRequestSm::NestedSm_ResetSm::"
                     "handleSliceResetRequest("
                     "const String&, Kesh::Seconds): sliceName Slice1 genTime 5000\n"
                     "2 void "
                     "Oru::Central::ResetRequestSm::NestedSm_ResetSm::"
                     "handleChipResetRequest("
                     "const String&, const String&, Kesh::Seconds): chipName Chip1 "
                     "genTime 5000\n"
                     "1 Reset chip Chip1\n"),
            std::string::npos)
      << all;
  EXPECT_NE(all.find("3 Skip resetting chip Chip2 because the request is outdated\n"),
            std::string::npos);
  EXPECT_EQ(all.find("CentralSliceSm::doReset"), std::string::npos);
  EXPECT_EQ(genTime("Chip1"), 1009);
  EXPECT_EQ(genTime("Chip2"), late + 1);
  EXPECT_EQ(genTime("Chip3"), 1011);
  EXPECT_EQ(genTime("Chip4"), 1007);
}

TEST_F(ResetHandlingTest, ASliceThatIsNotInsertedIsSkippedAndRecorded) {
  journal();
  request(ResetType::slice, "", "Slice9", late);
  EXPECT_EQ(journal(), "3 Skip resetting slice Slice9 because the slice is not inserted\n");
  EXPECT_EQ(records()->resetStatus().size(), 1u);
}

TEST_F(ResetHandlingTest, EveryOtherTypeResetsAllSlicesInOrder) {
  for (ResetType const type : {ResetType::allSlices, static_cast<ResetType>(3), unlisted}) {
    bringUp("Slice1", {"Chip1"});
    bringUp("Slice2", {"Chip2", "Chip3"});
    traces("1");
    journal();
    request(type, "ignored", "ignored", late);
    std::string const all = journal();
    EXPECT_LT(all.find("1 Reset chip Chip1\n"), all.find("1 Reset chip Chip2\n"));
    EXPECT_LT(all.find("1 Reset chip Chip2\n"), all.find("1 Reset chip Chip3\n"));
    EXPECT_NE(all.find("1 Reset chip Chip3\n"), std::string::npos);
    for (char const* slice : {"Slice1", "Slice2"}) sliceAgentLeaves(slice);
    for (char const* slice : {"Slice1", "Slice2"}) removeSlice(slice);
  }
}

TEST_F(ResetHandlingTest, EverySliceOfNoneResetsNothingAndIsRecorded) {
  request(unlisted, "", "", late);
  EXPECT_EQ(state(), lines(R"(
    resetStatus/ops/77,, cause="test" reason=userRequest genTime=5000
    resetSm/ops/77,,
  )"));
}

TEST_F(ResetHandlingTest, ARequestWithdrawnMidwayResetsNoFurtherChip) {
  bringUp("Slice1", {"Chip1", "Chip2"});
  bringUp("Slice2", {"Chip3"});
  for (ResetType const type : {ResetType::slice, ResetType::allSlices}) {
    auto const entry = request(type, "", "Slice1", 1);
    helper->once("chipRemoved", [&] { withdraw(type, "", "Slice1"); });
    double const before = genTime("Chip1");
    entry->genTimeIs(Duration(late));
    EXPECT_GT(genTime("Chip1"), before);
    reportStatus("Chip1", atConfigGeneration);
    EXPECT_TRUE(records()->resetStatus().empty());
  }
  EXPECT_EQ(genTime("Chip2"), 1003);
  EXPECT_EQ(genTime("Chip3"), 1005);
}

TEST_F(ResetHandlingTest, AFeatureAgentResetIsTheHelpersAndResetsNoChip) {
  bringUp("Slice1", {"Chip1"});
  requestDirAppears();
  observeWrites();
  journal();
  request(ResetType::featureAgents, "Chip1", "Slice1", late);
  EXPECT_EQ(journal(), lines(R"(
    helper.featureAgentResetRequested 5000
    +resetStatus/ops/featureAgents,Chip1,Slice1
    resetStatus/ops/featureAgents,Chip1,Slice1.resetCause=test
    resetStatus/ops/featureAgents,Chip1,Slice1.resetReason=userRequest
    resetStatus/ops/featureAgents,Chip1,Slice1.genTime=5000
  )"));
}

TEST_F(ResetHandlingTest, AFeatureAgentResetIsToldAgainAtARestart) {
  request(ResetType::featureAgents, "", "", late);
  stop();
  journal();
  start();
  EXPECT_NE(journal().find("helper.featureAgentResetRequested 5000\n"), std::string::npos);
}

TEST_F(ResetHandlingTest, ATimeOfZeroAsksForNothing) {
  bringUp("Slice1", {"Chip1"});
  requestDirAppears();
  observeWrites();
  traces("1,2,3");
  journal();
  request(ResetType::chip, "Chip1", "Slice1", 0);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized(): {resetType=chip chipName=Chip1 sliceName=Slice1}
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest(): {resetType=chip chipName=Chip1 sliceName=Slice1} genTime 0
  )"));
}

TEST_F(ResetHandlingTest, ATimeSetBackToZeroKeepsTheRecord) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  entry->genTimeIs(Duration());
  EXPECT_EQ(records()->resetStatus(entry->key())->genTime(), Duration(7));
}

TEST_F(ResetHandlingTest, ARequestCarriedOutIsNotCarriedOutTwice) {
  bringUp("Slice1", {"Chip1"});
  clock.nowIs(late);
  request(ResetType::chip, "Chip1", "Slice1", late);
  EXPECT_EQ(genTime("Chip1"), late + 1);
  request(ResetType::chip, "Chip1", "Slice1", late);
  EXPECT_EQ(genTime("Chip1"), late + 1);
}

TEST_F(ResetHandlingTest, ALaterTimeUnderTheSameKeyResetsAgain) {
  bringUp("Slice1", {"Chip1"});
  clock.nowIs(late);
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", late);
  entry->genTimeIs(Duration(late + 10));
  EXPECT_EQ(genTime("Chip1"), late + 3);
  EXPECT_EQ(records()->resetStatus(entry->key())->genTime(), Duration(late + 10));
}

TEST_F(ResetHandlingTest, AStoppedChipIsEnabledByAReset) {
  bringUp("Slice1", {"Chip1"});
  chipSm("Chip1")->doReset(false);
  request(ResetType::chip, "Chip1", "Slice1", late);
  EXPECT_TRUE(chipConfig("Chip1")->enabled());
}

TEST_F(ResetHandlingTest, AnExistingRecordIsOverwritten) {
  auto const dir = Vunda::makeNode<ResetStatusDir>("ops");
  auto const left = dir->resetStatusIs(ResetKey(ResetType::slice, "", "Slice1"));
  left->resetCauseIs("old");
  device.resetStatusDir->entityIs(dir);
  request(ResetType::slice, "", "Slice1", late);
  EXPECT_EQ(dir->resetStatus(left->key()), left);
  EXPECT_EQ(textOf(*left), "cause=\"test\" reason=userRequest genTime=5000");
}

TEST_F(ResetHandlingTest, TheReasonPassesThroughWhateverItsNumber) {
  auto const entry = makeRequest(ResetKey(ResetType::slice, "", "Slice1"), late);
  entry->resetReasonIs(static_cast<ResetReason>(4711));
  requestDirAppears()->resetRequestIs(entry);
  EXPECT_EQ(textOf(*records()->resetStatus(entry->key())),
            "cause=\"test\" reason=4711 genTime=5000");
}

TEST_F(ResetHandlingTest, RecordsOfEachDirectoryStandInTheirOwn) {
  request(ResetType::slice, "", "Slice1", late, "ops");
  request(ResetType::slice, "", "Slice2", late, "cli");
  EXPECT_EQ(state(), lines(R"(
    resetStatus/ops/slice,,Slice1 cause="test" reason=userRequest genTime=5000
    resetStatus/cli/slice,,Slice2 cause="test" reason=userRequest genTime=5000
    resetSm/ops/slice,,Slice1
    resetSm/cli/slice,,Slice2
  )"));
}

TEST_F(ResetHandlingTest, TheLifeOfAResetRequest) {
  bringUp("Slice1", {"Chip1"});
  clock.nowIs(late);
  auto const entry = request(ResetType::chip, "Chip1", "Slice1",
                             late);  // asked for: withdrawn and recorded
  EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
  EXPECT_EQ(textOf(*records()->resetStatus(entry->key())),
            "cause=\"test\" reason=userRequest genTime=5000");
  reportStatus("Chip1", atConfigGeneration);  // restarted: published again
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=5001 Et1/1 Et1/2");
  stop();  // a restart of the agent carries nothing out twice
  start();
  EXPECT_EQ(records()->resetStatus().size(), 1u);
  entry->genTimeIs(Duration(late + 100));  // asked for again
  EXPECT_EQ(records()->resetStatus(entry->key())->genTime(), Duration(late + 100));
  withdraw(ResetType::chip, "Chip1", "Slice1");  // withdrawn: the record goes
  EXPECT_EQ(records()->resetStatus().size(), 0u);
  EXPECT_EQ(resetSm()->resetSm().size(), 0u);
}

}  // namespace
