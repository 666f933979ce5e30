// How the root answers its directory of reset-request directories.

#include "runtime/kesh/MutatorException.h"
#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Kesh::Dir;
using Kesh::MutatorReinstantiatingException;

class CentralSmResetDirTest : public CentralFixture {};

TEST_F(CentralSmResetDirTest, AtTheStartEachRequestDirectoryGetsAMachineAndAStatusDirectory) {
  requestDirAppears("ops");
  requestDirAppears("cli");
  start();
  EXPECT_EQ(state(), lines(R"(
    resetStatus/ops
    resetStatus/cli
    resetSm/ops
    resetSm/cli
  )"));
  EXPECT_EQ(resetSm("ops")->resetRequestDir(), requestDir("ops"));
  EXPECT_EQ(resetSm("ops")->resetStatusDir(), records("ops"));
  EXPECT_EQ(resetSm("ops")->centralSm(), root.ptr());
  EXPECT_EQ(resetSm("ops")->name(), String("ops"));
}

TEST_F(CentralSmResetDirTest, ARequestDirectoryThatAppearsGetsThem) {
  start();
  traces("2,3");
  observeWrites();
  requestDirAppears("ops");
  EXPECT_NE(journal().find("2 void Oru::Central::CentralSm::handleResetRequestDir(const "
                           "String&): ops\n"
                           "+resetStatus/ops\n"),
            std::string::npos);
  EXPECT_EQ(state(), "resetStatus/ops\nresetSm/ops\n");
}

TEST_F(CentralSmResetDirTest, ARequestDirectoryThatGoesLeavesItsRecords) {
  start();
  request(ResetType::featureAgents, "", "", 7);
  device.resetRequestDir->deleteEntity("ops");
  EXPECT_EQ(state(),
            "resetStatus/ops/featureAgents,, cause=\"test\" "
            "reason=userRequest genTime=7\n");
}

TEST_F(CentralSmResetDirTest, ARepeatedAnnouncementChangesNothing) {
  start();
  request(ResetType::featureAgents, "", "", 7);
  auto const machine = resetSm();
  auto const before = state();
  journal();
  device.resetRequestDir->entityIs(requestDir());
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(state(), before);
  EXPECT_EQ(resetSm(), machine);
}

TEST_F(CentralSmResetDirTest, AnEntityOfAnotherTypeCountsAsAbsent) {
  start();
  device.resetRequestDir->createEntity(Dir::typeName, "other");
  EXPECT_EQ(state(), "");
  requestDirAppears("ops");
  device.resetRequestDir->entityIs(Vunda::makeNode<Dir>("ops"));
  EXPECT_EQ(state(), "resetStatus/ops\n");
}

TEST_F(CentralSmResetDirTest, AReplacedRequestDirectoryIsRefusedAndTheMachineStays) {
  start();
  requestDirAppears("ops");
  auto const machine = resetSm();
  root->hasNotificationActiveIs(false);
  requestDirAppears("ops");
  EXPECT_THROW(root->handleResetRequestDir("ops"), MutatorReinstantiatingException);
  EXPECT_EQ(resetSm(), machine);
}

TEST_F(CentralSmResetDirTest, AnExistingStatusDirectoryIsKeptWithItsRecords) {
  auto const kept = Vunda::makeNode<ResetStatusDir>("ops");
  kept->resetStatusIs(ResetKey(ResetType::slice, "", "old"));
  device.resetStatusDir->entityIs(kept);
  start();
  requestDirAppears("ops");
  EXPECT_EQ(resetSm()->resetStatusDir(), kept);
  EXPECT_EQ(kept->resetStatus().size(), 1u);
}

TEST_F(CentralSmResetDirTest, AStatusEntryOfAnotherTypeMakesAMachineWithoutStatusDirectory) {
  device.resetStatusDir->entityIs(Vunda::makeNode<Dir>("ops"));
  start();
  requestDirAppears("ops");
  ASSERT_TRUE(resetSm());
  EXPECT_FALSE(resetSm()->resetStatusDir());
}

TEST_F(CentralSmResetDirTest, ResetSmIsReturnsTheMachineBuiltOnTheSameArguments) {
  start();
  requestDirAppears("ops");
  EXPECT_EQ(root->resetSmIs("ops", requestDir(), records()), resetSm());
}

TEST_F(CentralSmResetDirTest, ResetSmIsRefusesOtherArgumentsAndNamesTheFirst) {
  start();
  requestDirAppears("ops");
  auto const refused = [&](Ptr<ResetRequestDir const> const& requests,
                           Ptr<ResetStatusDir> const& status) {
    try {
      root->resetSmIs("ops", requests, status);
    } catch (MutatorReinstantiatingException const& refusal) {
      std::string const text = refusal.what();
      return text.substr(0, text.find(": existing"));
    }
    return std::string("not refused");
  };
  std::string const re = "Oru::Central::CentralSm: re-instantiated with another resetSm.";
  EXPECT_EQ(refused(nullptr, records()), re + "resetRequestDir");
  EXPECT_EQ(refused(requestDir(), nullptr), re + "resetStatusDir");
  EXPECT_EQ(refused(nullptr, nullptr), re + "resetRequestDir");
  EXPECT_TRUE(resetSm());
}

TEST_F(CentralSmResetDirTest, ResetSmDelReturnsTheRemovedMachineOrNull) {
  start();
  requestDirAppears("ops");
  auto const machine = resetSm();
  EXPECT_EQ(root->resetSmDel("ops"), machine);
  EXPECT_FALSE(root->resetSmDel("ops"));
}

TEST_F(CentralSmResetDirTest, ResetSmDelAllRemovesEveryMachineAndLeavesTheRecords) {
  start();
  request(ResetType::featureAgents, "", "", 7, "ops");
  requestDirAppears("cli");
  root->resetSmDelAll();
  EXPECT_EQ(root->resetSm().size(), 0u);
  EXPECT_EQ(records("ops")->resetStatus().size(), 1u);
}

TEST_F(CentralSmResetDirTest, TheWholePassRemovesNoMachine) {
  start();
  requestDirAppears("ops");
  root->hasNotificationActiveIs(false);
  device.resetRequestDir->deleteEntity("ops");
  root->handleResetRequestDir();
  EXPECT_TRUE(resetSm());
}

TEST_F(CentralSmResetDirTest, ADirectoryThatGoesWhileItsMachineIsMadeLeavesNoMachine) {
  auto const dir = Vunda::makeNode<ResetRequestDir>("ops");
  dir->resetRequestIs(makeRequest(ResetKey(ResetType::featureAgents, "", ""), 7));
  start();
  journal();
  helper->once("featureAgentResetRequested", [&] { device.resetRequestDir->deleteEntity("ops"); });
  device.resetRequestDir->entityIs(dir);
  EXPECT_EQ(root->resetSm().size(), 0u);
  EXPECT_EQ(subscribers(*dir), 0u);
}

TEST_F(CentralSmResetDirTest, ADirectoryAnnouncedWhileItsMachineIsMadeGetsOneMachine) {
  auto const dir = Vunda::makeNode<ResetRequestDir>("ops");
  dir->resetRequestIs(makeRequest(ResetKey(ResetType::featureAgents, "", ""), 7));
  start();
  journal();
  helper->once("featureAgentResetRequested", [&] { device.resetRequestDir->entityIs(dir); });
  device.resetRequestDir->entityIs(dir);
  EXPECT_EQ(journal(), lines(R"(
    helper.featureAgentResetRequested 7
    3 Skip creating resetSm for ops because it is being created
  )"));
  EXPECT_EQ(subscribers(*dir), 1u);
}

using CentralSmResetDirDeathTest = CentralSmResetDirTest;

TEST_F(CentralSmResetDirDeathTest, TheStatusDirectoryIsNeededForARequestDirectory) {
  device.resetStatusDir = nullptr;
  start();
  EXPECT_DEATH(requestDirAppears("ops"), "Assertion `resetStatusDir\\(\\)' failed");
}

TEST_F(CentralSmResetDirDeathTest, AStatusDirectoryOfItsOwnIsNeededToRecordARequest) {
  device.resetStatusDir->entityIs(Vunda::makeNode<Dir>("ops"));
  start();
  EXPECT_DEATH(request(ResetType::featureAgents, "", "", 7), "Assertion `statusDir' failed");
}

}  // namespace
