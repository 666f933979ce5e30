// Surroundings that withdraw, replace or repeat a reset request from within what it sets off.

#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Nested = ResetRequestSm::NestedSm_ResetSm;

class ResetRequestSmReentryTest : public CentralFixture {
 protected:
  ResetRequestSmReentryTest() { start(); }

  static ResetKey key(char const* name) { return ResetKey(ResetType::chip, name, "Slice1"); }
  void requestChip(char const* name, double genTime) {
    request(ResetType::chip, name, "Slice1", genTime);
  }
  Ptr<Nested> nested(char const* name) { return resetSm()->resetSm(key(name)); }
  Ptr<ResetEntry> record(char const* name) { return records()->resetStatus(key(name)); }
};

TEST_F(ResetRequestSmReentryTest, ARequestWithdrawnWhileItsMachineIsMadeLeavesNothing) {
  helper->once("featureAgentResetRequested", [&] { withdraw(ResetType::featureAgents, "", ""); });
  auto const entry = request(ResetType::featureAgents, "", "", 7);
  EXPECT_EQ(state(), "resetStatus/ops\nresetSm/ops\n");
  EXPECT_EQ(subscribers(*entry), 0u);
}

TEST_F(ResetRequestSmReentryTest, ARequestWithdrawnWhileItIsCarriedOutAgainIsNotRecorded) {
  auto const entry = request(ResetType::featureAgents, "", "", 7);
  helper->once("featureAgentResetRequested", [&] { withdraw(ResetType::featureAgents, "", ""); });
  entry->genTimeIs(Duration(8));
  EXPECT_EQ(state(), "resetStatus/ops\nresetSm/ops\n");
  EXPECT_EQ(subscribers(*entry), 0u);
}

TEST_F(ResetRequestSmReentryTest, ARequestWithdrawnWhileItsMachineIsReboundStaysCutOff) {
  auto const held = [&] {
    auto const first = request(ResetType::featureAgents, "", "", 7);
    return resetSm()->resetSm(first->key());
  }();
  helper->once("featureAgentResetRequested", [&] { withdraw(ResetType::featureAgents, "", ""); });
  auto const entry = request(ResetType::featureAgents, "", "", 9);
  EXPECT_TRUE(held->zombieReactors());
  EXPECT_FALSE(held->hasNotificationActive());
  entry->genTimeIs(Duration(10));
  EXPECT_EQ(state(), "resetStatus/ops\nresetSm/ops\n");
}

TEST_F(ResetRequestSmReentryTest, ARequestReplacedWhileItsMachineIsMadeEndsBoundToTheNewOne) {
  helper->once("featureAgentResetRequested", [&] { request(ResetType::featureAgents, "", "", 9); });
  auto const first = request(ResetType::featureAgents, "", "", 7);
  ResetKey const wanted(ResetType::featureAgents, "", "");
  EXPECT_EQ(resetSm()->resetSm(wanted)->resetSm(), requestDir()->resetRequest(wanted).ptr());
  EXPECT_EQ(records()->resetStatus(wanted)->genTime(), Duration(9));
  EXPECT_EQ(subscribers(*first), 0u);
}

TEST_F(ResetRequestSmReentryTest, ANewTimeDuringTheFirstCarryingOutIsCarriedOutToo) {
  auto const entry = makeRequest(ResetKey(ResetType::featureAgents, "", ""), 7);
  helper->once("featureAgentResetRequested", [&] { entry->genTimeIs(Duration(8)); });
  requestDirAppears();
  journal();
  requestDir()->resetRequestIs(entry);
  EXPECT_EQ(journal(), lines(R"(
    helper.featureAgentResetRequested 7
    helper.featureAgentResetRequested 8
  )"));
  EXPECT_EQ(records()->resetStatus(entry->key())->genTime(), Duration(8));
}

TEST_F(ResetRequestSmReentryTest, ARequestAskedForAgainWhileItsMachineIsMadeIsSkipped) {
  helper->once("featureAgentResetRequested", [&] {
    resetSm()->resetSmIs(requestDir()->resetRequest(ResetKey(ResetType::featureAgents, "", "")));
  });
  requestDirAppears();
  journal();
  request(ResetType::featureAgents, "", "", 7);
  EXPECT_EQ(journal(), lines(R"(
    helper.featureAgentResetRequested 7
    3 Skip creating resetSm for featureAgents,, because it is being created
  )"));
  EXPECT_EQ(resetSm()->resetSm().size(), 1u);
}

TEST_F(ResetRequestSmReentryTest, ARequestGivenTwiceToAMachineWithoutDirectoryGetsOneMachine) {
  auto const status = Vunda::makeNode<ResetStatusDir>("ops");
  auto const machine = ResetRequestSm::ResetRequestSmIs("ops", nullptr, status, root.ptr());
  auto const entry = makeRequest(ResetKey(ResetType::featureAgents, "", ""), 7);
  helper->once("featureAgentResetRequested", [&] { machine->resetSmIs(entry); });
  machine->resetSmIs(entry);
  EXPECT_EQ(machine->resetSm(entry->key())->resetSm(), entry.ptr());
  EXPECT_EQ(status->resetStatus().size(), 1u);
}

TEST_F(ResetRequestSmReentryTest, TheDirectoryReleasedWhileARequestIsCarriedOutEndsAfterThat) {
  auto const entry = request(ResetType::featureAgents, "", "", 7);
  std::size_t alive = 0;
  helper->once("featureAgentResetRequested", [&] {
    device.resetRequestDir->deleteEntity("ops");
    alive = ResetRequestSm::typeInfo().liveCount();
  });
  entry->genTimeIs(Duration(8));
  EXPECT_EQ(alive, 1u);
  EXPECT_FALSE(resetSm());
  EXPECT_EQ(subscribers(*entry), 0u);
}

TEST_F(ResetRequestSmReentryTest, ARootReleasedWhileARequestIsCarriedOutEndsAfterThat) {
  for (char const* slice : {"Slice1", "Slice2"}) bringUp(slice, {});
  auto const entry = request(ResetType::featureAgents, "", "", 7);
  std::size_t alive = 0;
  helper->once("featureAgentResetRequested", [&] {
    stop();
    alive = CentralSm::typeInfo().liveCount();
  });
  entry->genTimeIs(Duration(8));
  EXPECT_EQ(alive, 1u);
  EXPECT_EQ(CentralSm::typeInfo().liveCount(), 0u);
  EXPECT_EQ(records()->resetStatus(entry->key())->genTime(), Duration(8));
}

TEST_F(ResetRequestSmReentryTest, AMachineReleasedWhileItRemovesARequestLivesUntilThatIsDone) {
  requestChip("Chip1", 7);
  observeWrites();
  std::size_t alive = 0;
  journal_.hookIs([&](std::string const& line) {
    if (line != "-resetStatus/ops/chip,Chip1,Slice1") return;
    device.resetRequestDir->deleteEntity("ops");
    alive = ResetRequestSm::typeInfo().liveCount();
  });
  ResetRequestSm* const machine = resetSm().ptr();
  EXPECT_TRUE(machine->resetSmDel(key("Chip1")));
  EXPECT_EQ(alive, 1u);
  EXPECT_EQ(ResetRequestSm::typeInfo().liveCount(), 0u);
}

TEST_F(ResetRequestSmReentryTest, NotificationsAreOffBeforeTheRecordOfAZombieGoes) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  observeWrites();
  journal_.hookIs([&](std::string const& line) {
    if (line == "-resetStatus/ops/chip,Chip1,Slice1") entry->genTimeIs(Duration(9));
  });
  nested("Chip1")->keshDoZombieReactors(true);
  EXPECT_FALSE(record("Chip1"));
}

TEST_F(ResetRequestSmReentryTest, RequestsBecomeZombiesBeforeTheMachineThatOwnsThem) {
  requestChip("Chip1", 7);
  observeWrites();
  bool flag = true;
  journal_.hookIs([&](std::string const&) { flag = resetSm()->zombieReactors(); });
  resetSm()->keshDoZombieReactors(true);
  EXPECT_FALSE(flag);
  EXPECT_TRUE(resetSm()->zombieReactors());
}

TEST_F(ResetRequestSmReentryTest, ResetSmDelAllIteratesOnce) {
  for (char const* name : {"Chip1", "Chip2"}) requestChip(name, 7);
  observeWrites();
  int returned = 0;
  journal_.hookIs([&](std::string const& line) {
    if (line != "-resetStatus/ops/chip,Chip1,Slice1" || returned++ > 0) return;
    resetSm()->resetSmIs(requestDir()->resetRequest(key("Chip1")));
  });
  resetSm()->resetSmDelAll();
  EXPECT_EQ(returned, 2);
  EXPECT_FALSE(nested("Chip2"));
}

}  // namespace
