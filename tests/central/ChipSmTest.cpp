#include <cstdio>
#include <functional>
#include <limits>

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

class ChipSmTest : public CentralFixture {
 protected:
  ChipSmTest() { start(); }

  // Configured with generation 1001, its agent has reported nothing.
  void freshChip() { bringUpAgents("Slice1", {"Chip1"}); }
  void publishedChip() {
    bringUp("Slice1", {"Chip1"});
    observeWrites();
    journal();
  }
  bool published() const { return device.systemStatus->chipInfo().size() == 1; }
  void configured(double genTime) { chipConfig("Chip1")->genTimeIs(Duration(genTime)); }
};

TEST_F(ChipSmTest, KeepsItsArguments) {
  freshChip();
  auto const chip = chipSm("Chip1");
  EXPECT_EQ(chip->name(), String("Chip1"));
  EXPECT_EQ(chip->sliceName(), String("Slice1"));
  EXPECT_EQ(chip->hwConfig(), hwConfig("Slice1")->chipConfig("Chip1"));
  EXPECT_EQ(chip->config(), chipConfig("Chip1"));
  EXPECT_EQ(chip->status(), chipStatus("Chip1"));
  EXPECT_EQ(chip->systemStatus(), device.systemStatus);
  EXPECT_EQ(chip->parentSm(), sliceSm("Slice1").ptr());
  EXPECT_TRUE(chip->initialized());
}

TEST_F(ChipSmTest, WatchesItsStatusAndNothingElse) {
  freshChip();
  EXPECT_EQ(subscribers(*chipStatus("Chip1")), 1u);
  EXPECT_EQ(subscribers(*chipConfig("Chip1")), 0u);
  EXPECT_TRUE(chipSm("Chip1")->hasNotificationActive());
}

TEST_F(ChipSmTest, ALauncherEntryLeftFromBeforeIsKept) {
  device.chipLauncher->createEntity(Kesh::Dir::typeName, "Chip1");
  auto const entry = device.chipLauncher->entityPtr("Chip1");
  freshChip();
  EXPECT_EQ(device.chipLauncher->entityPtr("Chip1"), entry);
}

TEST_F(ChipSmTest, BothGenerationsZeroPublishNothing) {
  freshChip();
  configured(0);
  chipSm("Chip1")->handleRunning();
  EXPECT_FALSE(published());
}

TEST_F(ChipSmTest, AnAgentBehindItsConfigurationIsNotPublished) {
  freshChip();
  journal();
  reportStatus("Chip1", 1000.5);
  EXPECT_EQ(journal(), "3 config genTime 1001 status genTime 1000.5\n");
  EXPECT_FALSE(published());
}

TEST_F(ChipSmTest, AChipThatIsNotEnabledIsNotPublished) {
  freshChip();
  chipConfig("Chip1")->enabledIs(false);
  journal();
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(journal(), "3 config genTime 1001 status genTime 1001\n");
  EXPECT_FALSE(published());
}

TEST_F(ChipSmTest, StatusCatchingUpPublishesTheChip) {
  freshChip();
  traces("2,3");
  observeWrites();
  journal();
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralChipSm::handleRunning(): Chip1
    3 config genTime 1001 status genTime 1001
    3 Chip is initialized Chip1 genTime 1001
    2 void Oru::Central::CentralChipSm::addToSystemStatus(): Chip1
    intfToChipPort[Et1/1]=1:1
    intfToChipPort[Et1/2]=1:2
    sliceToChipMap[Slice1]=1
    helper.chipAdded 1 Chip1 Slice1 1001 Et1/1 Et1/2
    chipInfo[1]=Chip1@Slice1 genTime=1001 Et1/1 Et1/2
  )"));
}

TEST_F(ChipSmTest, AFractionOfASecondCounts) {
  freshChip();
  configured(1001.25);
  reportStatus("Chip1", 1001.2499999999999);
  EXPECT_FALSE(published());
  reportStatus("Chip1", 1001.25);
  EXPECT_TRUE(published());
}

TEST_F(ChipSmTest, InterfacesReportedAtTheSameGenerationAreNotPublishedAgain) {
  publishedChip();
  Lanko::IntfId intf;
  intf.handleInitialized("Et1/3");
  chipStatus("Chip1")->intfToPortIdIs(intf, 3);
  EXPECT_EQ(journal(), lines(R"(
    3 config genTime 1001 status genTime 1001
    3 Chip is initialized Chip1 genTime 1001
    helper.chipAlreadyAdded 1 Chip1 Slice1 1001 Et1/1 Et1/2
  )"));
}

TEST_F(ChipSmTest, AnAgentThatLowersItsGenerationIsNotWithdrawn) {
  publishedChip();
  reportStatus("Chip1", 1000.5);
  EXPECT_EQ(journal(), "3 config genTime 1001 status genTime 1000.5\n");
  EXPECT_TRUE(published());
}

TEST_F(ChipSmTest, DoResetWithdrawsThenEnablesThenWritesBothGenerationsThenSaysSo) {
  publishedChip();
  chipSm("Chip1")->doReset(false);
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
  )"));
  chipSm("Chip1")->doReset(true);
  EXPECT_TRUE(chipConfig("Chip1")->enabled());
}

TEST_F(ChipSmTest, AnAgentThatAnswersAResetAtOnceIsPublishedInsideIt) {
  publishedChip();
  journal_.hookIs([&](std::string const& line) {
    if (line == "config/Slice1/Chip1.genTime=1003") reportStatus("Chip1", atConfigGeneration);
  });
  chipSm("Chip1")->doReset(true);
  EXPECT_NE(journal().find("chipInfo[1]=Chip1@Slice1 genTime=1003 Et1/1 Et1/2\n"
                           "config/Slice1/Chip1.syncGenTime=1004\n"
                           "1 Reset chip Chip1 with genTime 1003\n"),
            std::string::npos);
}

TEST_F(ChipSmTest, AResetChipIsPublishedAgainWhenItsAgentCatchesUp) {
  publishedChip();
  chipSm("Chip1")->doReset(true);
  EXPECT_FALSE(published());
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_EQ(textOf(device.systemStatus->chipInfo(DeviceId(1))),
            "Chip1@Slice1 genTime=1003 Et1/1 Et1/2");
}

TEST_F(ChipSmTest, AClockSetBackStillGivesNewerGenerations) {
  publishedChip();
  clock.nowIs(10);
  chipSm("Chip1")->doReset(true);
  EXPECT_GT(chipConfig("Chip1")->genTime(), Duration(1002));
  EXPECT_GT(chipConfig("Chip1")->syncGenTime(), chipConfig("Chip1")->genTime());
}

TEST_F(ChipSmTest, EveryStatusChangeOfFields260And261IsLookedAt) {
  freshChip();
  journal();
  for (std::uint16_t const field : {std::uint16_t{260}, std::uint16_t{261}}) {
    chipStatus("Chip1")->publisher()->publishChange(Vunda::FieldId{field}, nullptr, nullptr);
    EXPECT_EQ(journal(), "3 config genTime 1001 status genTime 0\n");
  }
  for (std::uint16_t const field : {std::uint16_t{259}, std::uint16_t{262}, std::uint16_t{266}}) {
    chipStatus("Chip1")->publisher()->publishChange(Vunda::FieldId{field}, nullptr, nullptr);
    EXPECT_EQ(journal(), "");
  }
}

TEST_F(ChipSmTest, AZombieIgnoresItsStatus) {
  freshChip();
  chipSm("Chip1")->keshDoZombieReactors(true);
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_FALSE(published());
  chipSm("Chip1")->keshDoZombieReactors(false);
  chipSm("Chip1")->handleRunning();
  EXPECT_TRUE(published());
}

TEST_F(ChipSmTest, SwitchingNotificationsUnsubscribesAndSubscribes) {
  freshChip();
  chipSm("Chip1")->hasNotificationActiveIs(false);
  EXPECT_EQ(subscribers(*chipStatus("Chip1")), 0u);
  chipSm("Chip1")->hasNotificationActiveIs(true);
  EXPECT_EQ(subscribers(*chipStatus("Chip1")), 1u);
  EXPECT_FALSE(chipSm("Chip1")->zombieReactors());
}

TEST_F(ChipSmTest, WithoutStatusItOnlyTracesItsEntry) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  hwGenTimeIs("Slice1", 6);
  traces("1,2,3");
  journal();
  chipSm("Chip1")->handleRunning();
  EXPECT_EQ(journal(), "2 void Oru::Central::CentralChipSm::handleRunning(): Chip1\n");
}

TEST_F(ChipSmTest, GoingStopsTheAgentAndDeletesItsEntry) {
  publishedChip();
  traces("2,3");
  sliceSm("Slice1")->chipSmDel("Chip1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralChipSm::handleDestroyed(): Chip1
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 enabled false
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    helper.chipRemoved 1
    -intfToChipPort[Et1/1]
    -intfToChipPort[Et1/2]
    sliceToChipMap[Slice1]=
    -chipInfo[1]
    config/Slice1/Chip1.enabled=false
    config/Slice1/Chip1.genTime=1003
    config/Slice1/Chip1.syncGenTime=1004
    3 Stopping chip agent Chip1
    -chipLauncher/Chip1
  )"));
}

TEST_F(ChipSmTest, AStatusThatComesWhileItGoesIsIgnored) {
  publishedChip();
  auto const status = chipStatus("Chip1");
  journal_.hookIs([&](std::string const& line) {
    if (line == "config/Slice1/Chip1.syncGenTime=1004") reportStatus("Chip1", atConfigGeneration);
  });
  sliceSm("Slice1")->chipSmDel("Chip1");
  EXPECT_FALSE(published());
  EXPECT_EQ(subscribers(*status), 0u);
}

TEST_F(ChipSmTest, AStatusEntryThatBouncesLeavesTheChipsDisabled) {
  publishedChip();
  auto const statusDir = Vunda::ptrCast<Kesh::Dir>(device.statusDir->entityPtr("Slice1"));
  sliceAgentLeaves("Slice1");
  device.statusDir->entityIs(statusDir);
  reportStatus("Chip1", atConfigGeneration);
  ASSERT_TRUE(chipSm("Chip1"));
  EXPECT_FALSE(chipConfig("Chip1")->enabled());
  EXPECT_FALSE(published());
}

class ChipSmWithoutLauncherTest : public ChipSmTest {
 protected:
  ChipSmWithoutLauncherTest() {
    stop();
    device.chipLauncher = nullptr;
    start();
  }
};

TEST_F(ChipSmWithoutLauncherTest, TheAgentIsNotStartedButTheStatusIsFollowed) {
  freshChip();
  EXPECT_EQ(journal().find("Starting chip agent"), std::string::npos);
  reportStatus("Chip1", atConfigGeneration);
  EXPECT_TRUE(published());
}

TEST_F(ChipSmWithoutLauncherTest, ADeletedChipIsNotStoppedAndStaysPublished) {
  publishedChip();
  traces("1,2,3");
  sliceSm("Slice1")->chipSmDel("Chip1");
  EXPECT_EQ(journal(), "2 void Oru::Central::CentralChipSm::handleDestroyed(): Chip1\n");
  EXPECT_TRUE(published());
}

// Writes lines to standard error, where a dying process is read, or lets a test act on them.
struct ErrorSink final : Kesh::TraceSink {
  std::function<void(std::string_view text)> onLine;
  void write(Kesh::TraceLine const& line) noexcept override {
    if (!onLine)
      std::fprintf(stderr, "%u %.*s\n", line.level, static_cast<int>(line.text.size()),
                   line.text.data());
    if (onLine) onLine(line.text);
  }
};

class ChipSmDeathTest : public ChipSmTest {
 protected:
  void tracesToErrors() { Oru::Central::_defaultTraceHandle().sinkIs(&errors); }
  void TearDown() override {
    Oru::Central::_defaultTraceHandle().sinkIs(&journal_);
    ChipSmTest::TearDown();
  }
  ErrorSink errors;
};

TEST_F(ChipSmDeathTest, AnAgentAheadOfItsConfigurationEndsTheProcessAfterADumpOfBoth) {
  freshChip();
  configured(1.0);
  tracesToErrors();
  EXPECT_DEATH(reportStatus("Chip1", 1.5),
               testing::HasSubstr("3 config genTime 1 status genTime 1.5\n"
                                  "3 config genTime smaller than status genTime\n"
                                  "3 byte 0 config 0 status 0\n"
                                  "3 byte 1 config 0 status 0\n"
                                  "3 byte 2 config 0 status 0\n"
                                  "3 byte 3 config 0 status 0\n"
                                  "3 byte 4 config 0 status 0\n"
                                  "3 byte 5 config 0 status 0\n"
                                  "3 byte 6 config 240 status 248\n"
                                  "3 byte 7 config 63 status 63\n"));
  EXPECT_DEATH(reportStatus("Chip1", 1.5),
               "Assertion `config\\(\\)->genTime\\(\\) >= "
               "status\\(\\)->genTime\\(\\)' failed");
}

TEST_F(ChipSmDeathTest, AGenerationThatIsNoNumberEndsTheProcessWithoutDump) {
  freshChip();
  tracesToErrors();
  auto const noDump = testing::AllOf(
      testing::Not(testing::HasSubstr("byte")),
      testing::HasSubstr("Assertion `config()->genTime() >= status()->genTime()' failed"));
  EXPECT_DEATH(reportStatus("Chip1", notANumber), noDump);
  configured(notANumber);
  EXPECT_DEATH(reportStatus("Chip1", 1.5), noDump);
}

TEST_F(ChipSmDeathTest, AnAgentThatReportsAnythingToAnUnconfiguredChipEndsTheProcess) {
  freshChip();
  configured(0);
  EXPECT_DEATH(reportStatus("Chip1", 1),
               "Assertion `config\\(\\)->genTime\\(\\) >= status\\(\\)->genTime\\(\\)' failed");
}

TEST_F(ChipSmDeathTest, GenerationsThatComeRightDuringTheDumpAreSaidAndSurvive) {
  freshChip();
  configured(1.0);
  tracesToErrors();
  std::string said;
  errors.onLine = [&](std::string_view text) {
    said.append(text).append("\n");
    if (text == "config genTime smaller than status genTime") configured(1.5);
  };
  reportStatus("Chip1", 1.5);
  EXPECT_EQ(said, lines(R"(
    config genTime 1 status genTime 1.5
    config genTime smaller than status genTime
    double config genTime >= double status genTime!!
    byte 0 config 0 status 0
    byte 1 config 0 status 0
    byte 2 config 0 status 0
    byte 3 config 0 status 0
    byte 4 config 0 status 0
    byte 5 config 0 status 0
    byte 6 config 248 status 248
    byte 7 config 63 status 63
  )")) << "the dump is of the values as they are now";
  EXPECT_FALSE(published());
}

TEST_F(ChipSmDeathTest, AddingAChipNeedsEqualGenerationsThatAreSet) {
  freshChip();
  auto const text = testing::HasSubstr(
      "Assertion `config()->genTime() == "
      "status()->genTime() && config()->genTime()' failed");
  EXPECT_DEATH(chipSm("Chip1")->addToSystemStatus(), text);
  configured(0);
  EXPECT_DEATH(chipSm("Chip1")->addToSystemStatus(), text);
}

TEST_F(ChipSmDeathTest, AddingAChipNeedsAStatus) {
  insertSlice("Slice1", {"Chip1"});
  sliceAgentReports("Slice1");
  hwGenTimeIs("Slice1", 6);
  EXPECT_DEATH(chipSm("Chip1")->addToSystemStatus(),
               "Assertion `config\\(\\) && status\\(\\)' failed");
}

}  // namespace
