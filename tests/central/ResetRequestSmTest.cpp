#include "runtime/kesh/MutatorException.h"
#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;
using Nested = ResetRequestSm::NestedSm_ResetSm;

class ResetRequestSmTest : public CentralFixture {
 protected:
  ResetRequestSmTest() { start(); }

  static ResetKey key(char const* name) { return ResetKey(ResetType::chip, name, "Slice1"); }
  void requestChip(char const* name, double genTime) {
    request(ResetType::chip, name, "Slice1", genTime);
  }
  Ptr<Nested> nested(char const* name) { return resetSm()->resetSm(key(name)); }
  Ptr<ResetEntry> record(char const* name) { return records()->resetStatus(key(name)); }
};

TEST_F(ResetRequestSmTest, RequestsThatArePresentAreCarriedOutBeforeTheCreatorReturns) {
  auto const dir = Vunda::makeNode<ResetRequestDir>("ops");
  for (char const* name : {"Chip1", "Chip2", "Chip3"})
    dir->resetRequestIs(makeRequest(key(name), 7));
  auto const status = Vunda::makeNode<ResetStatusDir>("ops");
  auto const machine = ResetRequestSm::ResetRequestSmIs("ops", dir, status, root.ptr());
  EXPECT_EQ(machine->resetSm().size(), 3u);
  EXPECT_EQ(status->resetStatus().size(), 3u);
  for (auto it = machine->resetSm().iterator(); it; ++it) {
    EXPECT_TRUE(it.value()->initialized());
    EXPECT_TRUE(it.value()->hasNotificationActive());
    EXPECT_EQ(it.value()->resetSm(), dir->resetRequest(it.key()).ptr());
    EXPECT_EQ(it.value()->resetRequestSm(), machine.ptr());
  }
}

TEST_F(ResetRequestSmTest, ARequestThatAppearsGetsAMachineBoundToIt) {
  requestDirAppears();
  EXPECT_EQ(subscribers(*requestDir()), 1u);
  requestChip("Chip1", 7);
  ASSERT_TRUE(nested("Chip1"));
  EXPECT_EQ(nested("Chip1")->resetSm(), requestDir()->resetRequest(key("Chip1")).ptr());
  EXPECT_EQ(nested("Chip1")->resetKey(), key("Chip1"));
  EXPECT_EQ(subscribers(*requestDir()->resetRequest(key("Chip1"))), 1u);
  EXPECT_EQ(nested("Chip1")->useCount(), 2u);
}

TEST_F(ResetRequestSmTest, AWithdrawnRequestTakesItsRecordAndNoOther) {
  requestChip("Chip1", 7);
  requestChip("Chip2", 8);
  traces("2");
  observeWrites();
  journal();
  withdraw(ResetType::chip, "Chip1", "Slice1");
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleDel(const Oru::Central::ResetKey&): {resetType=chip chipName=Chip1 sliceName=Slice1}
    -resetStatus/ops/chip,Chip1,Slice1
  )"));
  EXPECT_EQ(state(), lines(R"(
    resetStatus/ops/chip,Chip2,Slice1 cause="test" reason=userRequest genTime=8
    resetSm/ops/chip,Chip2,Slice1
  )"));
}

TEST_F(ResetRequestSmTest, ReleasingTheMachineKeepsAllRecords) {
  requestChip("Chip1", 7);
  requestChip("Chip2", 8);
  auto const entry = requestDir()->resetRequest(key("Chip1"));
  traces("2");
  observeWrites();
  journal();
  root->resetSmDel("ops");
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(records()->resetStatus().size(), 2u);
  EXPECT_EQ(subscribers(*entry), 0u);
}

TEST_F(ResetRequestSmTest, AnotherEntryUnderTheSameKeyIsCarriedOut) {
  requestChip("Chip1", 7);
  auto const machine = nested("Chip1");
  auto const old = requestDir()->resetRequest(key("Chip1"));
  requestChip("Chip1", 9);
  EXPECT_EQ(nested("Chip1"), machine);
  EXPECT_EQ(record("Chip1")->genTime(), Duration(9));
  EXPECT_EQ(subscribers(*old), 0u);
  EXPECT_EQ(subscribers(*requestDir()->resetRequest(key("Chip1"))), 1u);
}

TEST_F(ResetRequestSmTest, TheSameEntryAnnouncedAgainDoesNothing) {
  requestChip("Chip1", 7);
  traces("2,3");
  observeWrites();
  journal();
  requestDir()->resetRequestIs(requestDir()->resetRequest(key("Chip1")));
  EXPECT_EQ(journal(), "");
}

TEST_F(ResetRequestSmTest, ANewTimeInTheEntryIsCarriedOutAndOtherAttributesAreNot) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  journal();
  entry->resetCauseIs("other");
  entry->resetReasonIs(ResetReason::hardwareFault);
  EXPECT_EQ(journal(), "");
  entry->genTimeIs(Duration(9));
  EXPECT_EQ(textOf(*record("Chip1")), "cause=\"other\" reason=hardwareFault genTime=9");
}

TEST_F(ResetRequestSmTest, OnlyField261OfTheEntryCarriesARequestOut) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  traces("2,3");
  journal();
  for (std::uint16_t const field : {std::uint16_t{258}, std::uint16_t{260}, std::uint16_t{262}}) {
    entry->publisher()->publishChange(Vunda::FieldId{field}, nullptr, nullptr);
  }
  EXPECT_EQ(journal(), "");
  entry->publisher()->publishChange(Vunda::FieldId{261}, nullptr, nullptr);
  EXPECT_NE(journal(), "");
}

TEST_F(ResetRequestSmTest, ANotificationForAKeyThatNeverWasDoesNothing) {
  requestChip("Chip1", 7);
  auto const before = state();
  traces("2,3");
  journal();
  requestDir()->resetRequestDel(key("never"));
  ResetKey const never = key("never");
  requestDir()->publisher()->publishChange(ResetRequestDir::resetRequestField, &never, nullptr);
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(state(), before);
}

TEST_F(ResetRequestSmTest, OtherFieldsOfTheDirectoryAreIgnored) {
  requestChip("Chip1", 7);
  root->resetSm("ops")->resetSmDel(key("Chip1"));
  ResetKey const wanted = key("Chip1");
  requestDir()->publisher()->publishChange(Vunda::FieldId{266}, &wanted, nullptr);
  EXPECT_FALSE(nested("Chip1"));
}

TEST_F(ResetRequestSmTest, ResetSmIsRefusesNull) {
  requestChip("Chip1", 7);
  EXPECT_THROW(resetSm()->resetSmIs(nullptr), Kesh::MutatorArgNullPointerException);
  EXPECT_EQ(resetSm()->resetSm().size(), 1u);
}

TEST_F(ResetRequestSmTest, ResetSmDelReturnsTheBoundEntryOrNull) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  EXPECT_EQ(resetSm()->resetSmDel(key("Chip1")), entry);
  EXPECT_FALSE(record("Chip1"));
  EXPECT_EQ(subscribers(*entry), 0u);
  EXPECT_FALSE(resetSm()->resetSmDel(key("Chip1")));
}

TEST_F(ResetRequestSmTest, ARemovedMachineHeldByOthersIsCutOff) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  auto const held = nested("Chip1");
  resetSm()->resetSmDel(key("Chip1"));
  EXPECT_FALSE(held->resetRequestSm());
  EXPECT_TRUE(held->zombieReactors());
  EXPECT_FALSE(held->hasNotificationActive());
  entry->genTimeIs(Duration(9));
  EXPECT_FALSE(record("Chip1"));
}

TEST_F(ResetRequestSmTest, ARemovedMachineWithoutEntryIsSwitchedOffToo) {
  requestChip("Chip1", 7);
  auto const held = nested("Chip1");
  held->notifierIs(nullptr);
  EXPECT_TRUE(held->hasNotificationActive());
  EXPECT_FALSE(resetSm()->resetSmDel(key("Chip1")));
  EXPECT_FALSE(held->hasNotificationActive());
}

TEST_F(ResetRequestSmTest, MachinesHeldBeyondTheDirectorysMachineAreCutOffAndDeleteNoRecord) {
  requestChip("Chip1", 7);
  auto const held = nested("Chip1");
  traces("2");
  journal();
  root->resetSmDel("ops");
  EXPECT_FALSE(held->resetRequestSm());
  EXPECT_FALSE(held->hasNotificationActive());
  held->keshDoZombieReactors(false);
  EXPECT_EQ(journal(), "");
  EXPECT_TRUE(record("Chip1"));
}

TEST_F(ResetRequestSmTest, ResetSmDelAllDeletesEveryMachineAndRecord) {
  for (char const* name : {"Chip1", "Chip2", "Chip3"}) requestChip(name, 7);
  resetSm()->resetSmDelAll();
  EXPECT_EQ(resetSm()->resetSm().size(), 0u);
  EXPECT_EQ(records()->resetStatus().size(), 0u);
  EXPECT_EQ(requestDir()->resetRequest().size(), 3u);
}

TEST_F(ResetRequestSmTest, ResetSmDelAllTakesEachKeyFromTheBoundEntry) {
  for (char const* name : {"Chip1", "Chip2"}) requestChip(name, 7);
  nested("Chip1")->notifierIs(nullptr);
  resetSm()->resetSmDelAll();
  EXPECT_TRUE(nested("Chip1"));
  EXPECT_FALSE(nested("Chip2"));
}

TEST_F(ResetRequestSmTest, SwitchingNotificationsReachesTheEntries) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  resetSm()->hasNotificationActiveIs(false);
  EXPECT_EQ(subscribers(*entry), 0u);
  EXPECT_EQ(subscribers(*requestDir()), 0u);
  EXPECT_FALSE(resetSm()->zombieReactors());
  EXPECT_TRUE(record("Chip1"));
  resetSm()->hasNotificationActiveIs(true);
  EXPECT_EQ(subscribers(*entry), 1u);
  EXPECT_EQ(subscribers(*requestDir()), 1u);
}

TEST_F(ResetRequestSmTest, TheZombieFlagReachesEveryRequestAndDeletesItsRecordBothWays) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  traces("2");
  observeWrites();
  journal();
  std::string const del =
      "2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleDel(const "
      "Oru::Central::ResetKey&): {resetType=chip chipName=Chip1 "
      "sliceName=Slice1}\n";
  resetSm()->keshDoZombieReactors(true);
  EXPECT_EQ(journal(), del + "-resetStatus/ops/chip,Chip1,Slice1\n");
  EXPECT_EQ(subscribers(*entry), 0u);
  resetSm()->keshDoZombieReactors(true);
  EXPECT_EQ(journal(), "");
  resetSm()->keshDoZombieReactors(false);
  EXPECT_EQ(journal(), del);
  EXPECT_EQ(subscribers(*entry), 1u);
}

TEST_F(ResetRequestSmTest, HandleDelRunsBeforeTheFlagChanges) {
  requestChip("Chip1", 7);
  observeWrites();
  auto const machine = nested("Chip1");
  bool flag = true;
  journal_.hookIs([&](std::string const&) { flag = machine->zombieReactors(); });
  machine->keshDoZombieReactors(true);
  EXPECT_FALSE(flag);
  EXPECT_TRUE(machine->zombieReactors());
}

TEST_F(ResetRequestSmTest, AnUnchangedZombieFlagReachesNobody) {
  requestChip("Chip1", 7);
  nested("Chip1")->keshDoZombieReactors(true);
  resetSm()->keshDoZombieReactors(false);
  EXPECT_TRUE(nested("Chip1")->zombieReactors());
}

TEST_F(ResetRequestSmTest, TheZombieFlagOfAMachineWithoutEntrySwitchesNoNotifications) {
  requestChip("Chip1", 7);
  nested("Chip1")->notifierIs(nullptr);
  nested("Chip1")->keshDoZombieReactors(true);
  EXPECT_TRUE(nested("Chip1")->hasNotificationActive());
}

TEST_F(ResetRequestSmTest, AZombieDirectoryStillTakesRequestsUpAndTheyBecomeZombies) {
  requestDirAppears();
  resetSm()->keshDoZombieReactors(true);
  requestChip("Chip1", 7);
  ASSERT_TRUE(nested("Chip1"));
  EXPECT_TRUE(nested("Chip1")->zombieReactors());
  EXPECT_FALSE(record("Chip1"));
}

TEST_F(ResetRequestSmTest, AZombieIgnoresChangesAndIsReboundWithoutCarryingOut) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  auto const machine = nested("Chip1");
  machine->keshDoZombieReactors(true);
  entry->genTimeIs(Duration(8));
  EXPECT_FALSE(record("Chip1"));
  auto const other = makeRequest(key("Chip1"), 9);
  machine->notifierIs(other);
  EXPECT_EQ(machine->resetSm(), other.ptr());
  EXPECT_FALSE(record("Chip1"));
}

TEST_F(ResetRequestSmTest, RebindingBringsTheZombieFlagInLine) {
  requestChip("Chip1", 7);
  nested("Chip1")->keshDoZombieReactors(true);
  requestChip("Chip1", 9);
  EXPECT_FALSE(nested("Chip1")->zombieReactors());
  EXPECT_TRUE(nested("Chip1")->hasNotificationActive());
}

TEST_F(ResetRequestSmTest, ANodeThatIsNoEntryUnbinds) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  auto const machine = nested("Chip1");
  machine->notifierIs(Vunda::makeNode<Kesh::Dir>("no entry"));
  EXPECT_EQ(machine->resetSm(), nullptr);
  EXPECT_EQ(machine->resetKey(), ResetKey());
  EXPECT_EQ(subscribers(*entry), 0u);
  machine->notifierIs(entry);
  EXPECT_EQ(subscribers(*entry), 1u);
}

TEST_F(ResetRequestSmTest, BindingToTheBoundEntryAgainDoesNothing) {
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  traces("2");
  journal();
  nested("Chip1")->notifierIs(entry);
  EXPECT_EQ(journal(), "");
}

TEST_F(ResetRequestSmTest, WithoutARequestDirectoryItIsInert) {
  traces("1,2,3");
  journal();
  auto const machine = ResetRequestSm::ResetRequestSmIs("ops", nullptr, nullptr, root.ptr());
  EXPECT_EQ(machine->resetSm().size(), 0u);
  EXPECT_TRUE(machine->hasNotificationActive());
  machine->hasNotificationActiveIs(false);
  machine->keshDoZombieReactors(true);
  machine->resetSmDelAll();
  EXPECT_EQ(journal(), "");
}

using ResetRequestSmDeathTest = ResetRequestSmTest;

TEST_F(ResetRequestSmDeathTest, CarryingOutNeedsABoundEntry) {
  requestChip("Chip1", 7);
  auto const machine = nested("Chip1");
  machine->notifierIs(nullptr);
  EXPECT_DEATH(machine->handleResetRequest(), "Assertion `resetSm\\(\\)' failed");
}

}  // namespace
