#include "runtime/kesh/MutatorException.h"
#include "tests/central/CentralFixture.h"
#include "tests/support/VirtualSlot.h"

namespace {

using namespace OruTest;
using Kesh::Dir;
using Kesh::MutatorReinstantiatingException;

class CentralSmTest : public CentralFixture {
 protected:
  // The text of the re-instantiation exception that the action raises.
  template <class Action>
  static std::string refusal(Action&& action) {
    try {
      action();
    } catch (MutatorReinstantiatingException const& refused) {
      return refused.what();
    }
    return "not refused";
  }
};

TEST_F(CentralSmTest, OnEmptyDirectoriesItIsInitializedAndHasNoChildren) {
  start();
  EXPECT_TRUE(root->initialized());
  EXPECT_EQ(root->sliceSm().size(), 0u);
  EXPECT_EQ(root->resetSm().size(), 0u);
  EXPECT_FALSE(root->featureCollSm());
  EXPECT_EQ(state(), "");
}

TEST_F(CentralSmTest, WatchesThreeDirectoriesOnceEach) {
  start();
  EXPECT_EQ(subscriptions(), "hwConfig 1\nstatus 1\nresetRequest 1\n");
  EXPECT_TRUE(root->hasNotificationActive());
  EXPECT_FALSE(root->zombieReactors());
}

TEST_F(CentralSmTest, KeepsItsArguments) {
  start();
  EXPECT_EQ(root->hwConfigDir(), device.hwConfigDir);
  EXPECT_EQ(root->hwStatusDir(), device.hwStatusDir);
  EXPECT_EQ(root->configDir(), device.configDir);
  EXPECT_EQ(root->statusDir(), device.statusDir);
  EXPECT_EQ(root->systemStatus(), device.systemStatus);
  EXPECT_EQ(root->resetRequestDir(), device.resetRequestDir);
  EXPECT_EQ(root->resetStatusDir(), device.resetStatusDir);
  EXPECT_EQ(root->sliceLauncherConfigDir(), device.sliceLauncher);
  EXPECT_EQ(root->chipLauncherConfigDir(), device.chipLauncher);
  EXPECT_EQ(root->featureLauncherConfigDir(), device.featureLauncher);
  EXPECT_EQ(root->helper(), helper);
}

TEST_F(CentralSmTest, StartsInThisOrder) {
  insertSlice("Slice1", {"Chip1"});
  request(ResetType::featureAgents, "", "", 7);
  traces("2,3");
  observeWrites();
  start();
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSm::handleInitialized(): 
    helper.initialize
    helper.featureCollection
    2 void Oru::Central::CentralSm::syncStateOnInit(): 
    helper.syncStateOnInit
    2 void Oru::Central::CentralSm::handleHwConfigDir(): 
    2 void Oru::Central::CentralSm::handleHwConfigDir(const String&): Slice1
    +config/Slice1
    helper.createChipConfig Chip1 in Slice1
    +config/Slice1/Chip1
    config/Slice1/Chip1.deviceId=1
    +hwStatus/Slice1
    3 Starting slice agent Slice1
    +sliceLauncher/Slice1
    2 void Oru::Central::CentralSm::handleStatusDir(const String&): Slice1
    2 void Oru::Central::CentralSm::handleResetRequestDir(): 
    2 void Oru::Central::CentralSm::handleResetRequestDir(const String&): ops
    +resetStatus/ops
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized(): {resetType=featureAgents chipName= sliceName=}
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest(): {resetType=featureAgents chipName= sliceName=} genTime 7
    helper.featureAgentResetRequested 7
    +resetStatus/ops/featureAgents,,
    resetStatus/ops/featureAgents,,.resetCause=test
    resetStatus/ops/featureAgents,,.resetReason=userRequest
    resetStatus/ops/featureAgents,,.genTime=7
  )"));
}

TEST_F(CentralSmTest, GivesTheHelperItsFeatureCollection) {
  start();
  ASSERT_TRUE(root->featureColl());
  EXPECT_EQ(helper->featureColl(), root->featureColl());
  EXPECT_TRUE(root->featureColl()->feature().empty());
}

TEST_F(CentralSmTest, FeatureCollIsReturnsTheSameCollectionEachTime) {
  start();
  auto const features = root->featureColl();
  EXPECT_EQ(root->featureCollIs(), features);
  EXPECT_EQ(root->featureCollIs(), features);
  root->featureCollDel();
  EXPECT_FALSE(root->featureColl());
  EXPECT_NE(root->featureCollIs(), features);
}

TEST_F(CentralSmTest, FeatureCollSmIsReturnsTheMachineBuiltOnTheSameArguments) {
  start();
  auto const sm = root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  EXPECT_EQ(root->featureCollSm(), sm);
  EXPECT_EQ(root->featureCollSmIs(root->featureColl(), device.featureLauncher), sm);
}

TEST_F(CentralSmTest, FeatureCollSmIsReplacesTheMachineBuiltOnAnotherDirectory) {
  start();
  root->featureColl()->featureIs("a", true);
  auto const old = root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  auto const other = Vunda::makeNode<Dir>("other");
  auto const sm = root->featureCollSmIs(root->featureColl(), other);
  EXPECT_NE(sm, old);
  EXPECT_EQ(root->featureCollSm(), sm);
  EXPECT_TRUE(other->entityPtrHas("a"));
  EXPECT_EQ(state(), "featureLauncher/a\n");
}

TEST_F(CentralSmTest, FeatureCollSmIsReplacesTheMachineBuiltOnAnotherCollection) {
  start();
  root->featureColl()->featureIs("a", true);
  root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  auto const other = Oru::Central::featureCollectionFactory();
  root->featureCollSmIs(other, device.featureLauncher);
  EXPECT_EQ(subscribers(*root->featureColl()), 0u);
  EXPECT_EQ(subscribers(*other), 1u);
  EXPECT_EQ(state(), "featureLauncher/a\n");
}

TEST_F(CentralSmTest, AReplacedFeatureMachineIsReleasedWithItsNotificationsOn) {
  start();
  auto const old = root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  root->featureCollSmIs(Oru::Central::featureCollectionFactory(), device.featureLauncher);
  EXPECT_TRUE(old->hasNotificationActive());
  EXPECT_EQ(old->useCount(), 1u);
}

TEST_F(CentralSmTest, ADeletedFeatureMachineIsSwitchedOffAndReleased) {
  start();
  auto const old = root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  root->featureCollSmDel();
  EXPECT_FALSE(root->featureCollSm());
  EXPECT_FALSE(old->hasNotificationActive());
  EXPECT_EQ(old->useCount(), 1u);
  root->featureCollSmDel();
}

TEST_F(CentralSmTest, SliceSmIsReturnsTheMachineBuiltOnTheSameArguments) {
  start();
  bringUp("Slice1", {"Chip1"});
  auto const slice = sliceSm("Slice1");
  EXPECT_EQ(root->sliceSmIs("Slice1", slice->hwConfig(), slice->hwStatus(), slice->configDir(),
                            slice->statusDir(), slice->systemStatus()),
            slice);
}

TEST_F(CentralSmTest, SliceSmIsRefusesEachOtherArgumentAndNamesIt) {
  start();
  bringUp("Slice1", {"Chip1"});
  auto const s = sliceSm("Slice1");
  auto const refused = [&](auto hwConfig, auto hwStatus, auto config, auto status, auto system) {
    std::string const text =
        refusal([&] { root->sliceSmIs("Slice1", hwConfig, hwStatus, config, status, system); });
    return text.substr(0, text.find(':', text.find(": ") + 1));
  };
  Ptr<SliceHwConfig const> const hw = s->hwConfig();
  Ptr<Dir const> const status = s->statusDir();
  Ptr<SliceHwConfig const> const noHw;
  Ptr<Dir const> const noStatus;
  std::string const re = "Oru::Central::CentralSm: re-instantiated with another sliceSm.";
  EXPECT_EQ(refused(noHw, s->hwStatus(), s->configDir(), status, s->systemStatus()),
            re + "hwConfig");
  EXPECT_EQ(refused(hw, Ptr<SliceHwStatus>(), s->configDir(), status, s->systemStatus()),
            re + "hwStatus");
  EXPECT_EQ(refused(hw, s->hwStatus(), Ptr<Dir>(), status, s->systemStatus()), re + "configDir");
  EXPECT_EQ(refused(hw, s->hwStatus(), s->configDir(), noStatus, s->systemStatus()),
            re + "statusDir");
  EXPECT_EQ(refused(hw, s->hwStatus(), s->configDir(), status, Ptr<SystemStatus>()),
            re + "systemStatus");
  EXPECT_EQ(refused(noHw, Ptr<SliceHwStatus>(), Ptr<Dir>(), noStatus, Ptr<SystemStatus>()),
            re + "hwConfig");
  EXPECT_EQ(refused(hw, Ptr<SliceHwStatus>(), Ptr<Dir>(), noStatus, Ptr<SystemStatus>()),
            re + "hwStatus");
  EXPECT_EQ(refused(hw, s->hwStatus(), Ptr<Dir>(), noStatus, Ptr<SystemStatus>()),
            re + "configDir");
  EXPECT_EQ(refused(hw, s->hwStatus(), s->configDir(), noStatus, Ptr<SystemStatus>()),
            re + "statusDir");
  EXPECT_EQ(sliceSm("Slice1"), s);
}

TEST_F(CentralSmTest, SliceSmDelReturnsTheRemovedMachineOrNull) {
  start();
  bringUp("Slice1", {});
  auto slice = sliceSm("Slice1");
  EXPECT_EQ(root->sliceSmDel("Slice1"), slice);
  EXPECT_FALSE(root->sliceSmDel("Slice1"));
  EXPECT_FALSE(root->sliceSmDel("never"));
}

TEST_F(CentralSmTest, SliceSmDelAllRemovesEveryMachine) {
  start();
  bringUp("Slice1", {"Chip1"});
  bringUp("Slice2", {"Chip2"});
  root->sliceSmDelAll();
  EXPECT_EQ(root->sliceSm().size(), 0u);
  EXPECT_EQ(device.chipLauncher->entityPtrCount(), 0u);
}

TEST_F(CentralSmTest, SwitchingNotificationsReachesEveryMachine) {
  start();
  bringUp("Slice1", {"Chip1"});
  request(ResetType::chip, "Chip1", "Slice1", 7);
  std::string const on = lines(R"(
    hwConfig 1
    hwConfig/Slice1 1
    status 1
    status/Slice1 1
    status/Slice1/Chip1 1
    resetRequest 1
    resetRequest/ops 1
    resetRequest/ops/chip,Chip1,Slice1 1
    features 1
  )");
  EXPECT_EQ(subscriptions(), on);
  root->hasNotificationActiveIs(false);
  EXPECT_EQ(subscriptions(), "");
  EXPECT_FALSE(root->zombieReactors());
  root->hasNotificationActiveIs(true);
  EXPECT_EQ(subscriptions(), on);
}

TEST_F(CentralSmTest, SwitchedOffItHearsNothing) {
  start();
  root->hasNotificationActiveIs(false);
  bringUpAgents("Slice1", {});
  EXPECT_EQ(state(), "");
}

TEST_F(CentralSmTest, AZombieIgnoresItsThreeDirectories) {
  start();
  root->keshDoZombieReactors(true);
  bringUpAgents("Slice1", {});
  request(ResetType::chip, "Chip1", "Slice1", 7);
  EXPECT_EQ(state(), "");
}

TEST_F(CentralSmTest, DoesNotForwardTheZombieFlag) {
  start();
  bringUp("Slice1", {"Chip1"});
  request(ResetType::chip, "Chip1", "Slice1", 7);
  root->keshDoZombieReactors(true);
  EXPECT_FALSE(sliceSm("Slice1")->zombieReactors());
  EXPECT_FALSE(resetSm()->zombieReactors());
  EXPECT_EQ(records()->resetStatus().size(), 1u);
}

TEST_F(CentralSmTest, OtherFieldsOfItsDirectoriesAreIgnored) {
  start();
  insertSlice("Slice1", {});
  auto const before = state();
  device.statusDir->createEntity(Dir::typeName, "Slice1");
  root->sliceSmDel("Slice1");
  requestDirAppears("Slice1");
  root->resetSmDel("Slice1");
  String const name("Slice1");
  for (auto const& dir : {device.hwConfigDir, device.statusDir, device.resetRequestDir}) {
    dir->publisher()->publishChange(Vunda::FieldId{265}, &name, nullptr);
  }
  EXPECT_EQ(root->sliceSm().size(), 0u);
  EXPECT_EQ(root->resetSm().size(), 0u);
}

TEST_F(CentralSmTest, GoesInThisOrder) {
  start();
  bringUp("Slice1", {"Chip1"});
  request(ResetType::chip, "Chip1", "Slice1", 7);
  helper->featureColl()->featureIs("a", true);
  traces("2,3");
  observeWrites();
  journal();
  stop();
  EXPECT_EQ(journal(), lines(R"(
    2 void Oru::Central::CentralSliceSm::handleDestroyed(): Slice1
    2 void Oru::Central::CentralSliceSm::doReset(bool): Slice1 enabled false
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
    3 Stopping slice agent Slice1
    -sliceLauncher/Slice1
    -sliceToChipMap[Slice1]
    2 void Oru::Central::CentralChipSm::handleDestroyed(): Chip1
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 enabled false
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    3 Cannot find chip Chip1 in systemStatus
    config/Slice1/Chip1.genTime=1005
    config/Slice1/Chip1.syncGenTime=1006
    3 Stopping chip agent Chip1
    -chipLauncher/Chip1
  )"));
  EXPECT_EQ(state(), lines(R"(
    hwStatus/Slice1 genTime=5
    config/Slice1/Chip1 deviceId=1 disabled genTime=1005 syncGenTime=1006
    featureLauncher/a
    resetStatus/ops/chip,Chip1,Slice1 cause="test" reason=userRequest genTime=7
  )"));
}

TEST_F(CentralSmTest, FeaturesAndResetMachinesGoBeforeTheSlices) {
  start();
  bringUp("Slice1", {"Chip1"});
  auto const entry = request(ResetType::chip, "Chip1", "Slice1", 7);
  std::uint32_t entryUsers = 0, featureUsers = 0;
  helper->once("chipRemoved", [&] {
    entryUsers = entry->useCount();
    featureUsers = helper->featureColl()->useCount();
  });
  stop();
  EXPECT_EQ(entryUsers, 2u);    // the directory and this test
  EXPECT_EQ(featureUsers, 1u);  // the helper
}

TEST_F(CentralSmTest, GoingTakesTheSlicesInOrder) {
  start();
  for (char const* slice : {"Slice1", "Slice2", "Slice3"}) bringUp(slice, {});
  journal();
  stop();
  EXPECT_EQ(journal(), lines(R"(
    3 Stopping slice agent Slice1
    3 Stopping slice agent Slice2
    3 Stopping slice agent Slice3
  )"));
}

TEST_F(CentralSmTest, ACallbackThatReleasesTheRootRunsOnAndThenItGoes) {
  start();
  helper->once("createChipConfig", [&] { stop(); });
  insertSlice("Slice1", {"Chip1", "Chip2"});
  EXPECT_EQ(subscriptions(), "");
  EXPECT_TRUE(device.sliceLauncher->entityPtrHas("Slice1"));
}

#if defined(__x86_64__)
TEST_F(CentralSmTest, NoMachinePutsAnOperationBeforeTheZombieFlags) {
  EXPECT_EQ(slotOf(&CentralSm::keshDoZombieReactors), 5u);
  EXPECT_EQ(slotOf(&CentralSliceSm::keshDoZombieReactors), 5u);
  EXPECT_EQ(slotOf(&CentralChipSm::keshDoZombieReactors), 5u);
  EXPECT_EQ(slotOf(&ResetRequestSm::keshDoZombieReactors), 5u);
  EXPECT_EQ(slotOf(&FeatureCollSm::keshDoZombieReactors), 5u);
  using Nested = ResetRequestSm::NestedSm_ResetSm;
  EXPECT_EQ(slotOf(&Nested::typeData), 4u);
  EXPECT_EQ(slotOf(&Nested::isRegisteredNotifieeIs), 5u);
  EXPECT_EQ(slotOf(&Nested::onZeroReferences), 6u);
  EXPECT_EQ(slotOf(&Nested::onAttribute), 7u);
  EXPECT_EQ(slotOf(&Nested::keshDoZombieReactors), 8u);
}
#endif

using CentralSmDeathTest = CentralSmTest;

TEST_F(CentralSmDeathTest, AChildHeldBeyondTheRootEndsTheProcess) {
  start();
  bringUp("Slice1", {});
  EXPECT_DEATH(
      {
        auto const held = sliceSm("Slice1");
        stop();
      },
      "Assertion `child->useCount\\(\\) == 1' failed");
}

TEST_F(CentralSmDeathTest, TheHelperIsNeededAtTheStart) {
  helper = nullptr;
  EXPECT_DEATH(start(), "Assertion `helper\\(\\)' failed");
  helper = Vunda::makeNode<DeviceHelper>(journal_);
}

TEST_F(CentralSmDeathTest, TheSystemStatusIsNeededAtTheStart) {
  device.systemStatus = nullptr;
  EXPECT_DEATH(start(), "Assertion `systemStatus\\(\\)' failed");
}

}  // namespace
