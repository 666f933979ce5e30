// An exception at every point of every creation: each call of the helper, each allocation. Nothing
// is left behind then but what was already written to the directories, and the next attempt
// succeeds.

#include <new>
#include <stdexcept>

#include "tests/central/CentralFixture.h"
#include "tests/central/Invariants.h"
#include "tests/support/HeapProbe.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

struct HelperFault : std::runtime_error {
  HelperFault() : std::runtime_error("the helper failed") {}
};

class ConstructionFailureTest : public CentralFixture {
 protected:
  ConstructionFailureTest() { traces("none"); }

  // A new device as an earlier run left it: two slices, one chip that runs and is published, one
  // that is left over, a reset request of every type.
  void left() {
    stop();
    device = Device::make();
    helper = Vunda::makeNode<DeviceHelper>(journal_);
    helper->on("initialize", [this] { filled = false; });
    helper->on("featureCollection", [this] { helper->featureColl()->featureIs("f", true); });
    requestDirAppears();
    start();
    bringUp("Slice1", {"Chip1", "Chip2"});
    bringUp("Slice2", {"Chip3"});
    request(ResetType::chip, "Chip2", "Slice1", 7);
    request(ResetType::slice, "", "Slice1", 8000);
    request(ResetType::allSlices, "", "", 1);
    request(ResetType::featureAgents, "", "", 1);
    stop();
    for (char const* chip : {"Chip1", "Chip3"}) {
      chipConfig(chip)->enabledIs(true);
      reportStatus(chip, atConfigGeneration);
    }
    journal();
  }

  static std::string liveMachines() {
    std::string text;
    for (auto const* type :
         {&CentralSm::typeInfo(), &CentralSliceSm::typeInfo(), &CentralChipSm::typeInfo(),
          &ResetRequestSm::typeInfo(), &ResetRequestSm::NestedSm_ResetSm::typeInfo(),
          &FeatureCollSm::typeInfo()}) {
      if (type->liveCount() != 0) text.append(type->name).append("\n");
    }
    return text;
  }

  void expectNothingLeft() {
    EXPECT_FALSE(root);
    EXPECT_EQ(subscriptions(), "");
    EXPECT_EQ(liveMachines(), "");
  }
  void expectWhole() {
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    EXPECT_EQ(brokenInvariants(device, *root), "");
  }

  // Makes the nth allocation of the action fail; false when there was none.
  template <class Action>
  bool allocationFails(std::size_t nth, Action&& action) {
    FailingAllocation const failing(nth);
    try {
      action();
      EXPECT_FALSE(failing.happened()) << "a failed allocation was swallowed";
      return false;
    } catch (std::bad_alloc const&) {
      return true;
    }
  }

  bool filled = false;
};

TEST_F(ConstructionFailureTest, TheRootAtEachCallOfTheHelper) {
  int failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    int call = 0;
    journal_.hookIs([&](std::string const&) {
      if (call++ == failures) throw HelperFault();
    });
    try {
      start();
      failed = false;
    } catch (HelperFault const&) {
      expectNothingLeft();
      journal_.hookIs(nullptr);
      start();
    }
    journal_.hookIs(nullptr);
    expectWhole();
  }
  EXPECT_GT(failures, 10);
}

TEST_F(ConstructionFailureTest, TheRootAtEachAllocation) {
  std::size_t failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    failed = allocationFails(failures, [this] { start(); });
    if (failed) {
      expectNothingLeft();
      start();
    }
    expectWhole();
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 60u);
}

TEST_F(ConstructionFailureTest, AFailedStartLeavesNoMemoryBehind) {
  auto const liveAfterFailure = [this](std::size_t nth) {
    left();
    allocationFails(nth, [this] { start(); });
    stop();
    device = Device();
    helper = nullptr;
    journal();
    return heapLive();
  };
  auto const before = liveAfterFailure(0);  // Names that were once used stay.
  for (std::size_t nth = 1; nth < 400; nth += 7) EXPECT_EQ(liveAfterFailure(nth), before) << nth;
  device = Device::make();
  helper = Vunda::makeNode<DeviceHelper>(journal_);
}

TEST_F(ConstructionFailureTest, ASliceMachineAtEachAllocation) {
  std::size_t failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    start();
    root->sliceSmDel("Slice1");
    root->featureCollSmDel();
    failed = allocationFails(failures, [this] { root->handleStatusDir("Slice1"); });
    if (failed) {
      EXPECT_FALSE(sliceSm("Slice1"));
      EXPECT_EQ(root->sliceSm().size(), 1u);
      EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
      root->handleStatusDir("Slice1");
    }
    EXPECT_EQ(sliceSm("Slice1")->chipSm().size(), 2u);
    expectWhole();
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 8u);
}

TEST_F(ConstructionFailureTest, AChipMachineAtEachAllocation) {
  std::size_t failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    start();
    sliceSm("Slice1")->chipSmDel("Chip1");
    chipConfig("Chip1")->enabledIs(true);
    reportStatus("Chip1", atConfigGeneration);
    failed = allocationFails(failures, [this] { sliceSm("Slice1")->handleHwConfigInitialized(); });
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    if (failed) sliceSm("Slice1")->handleHwConfigInitialized();
    EXPECT_TRUE(chipSm("Chip1"));
    expectWhole();
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 5u);
}

TEST_F(ConstructionFailureTest, ARequestDirectorysMachineAtEachAllocation) {
  std::size_t failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    start();
    root->resetSmDel("ops");
    failed = allocationFails(failures, [this] { root->handleResetRequestDir("ops"); });
    if (failed) {
      EXPECT_FALSE(resetSm());
      EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
      root->handleResetRequestDir("ops");
    }
    EXPECT_EQ(resetSm()->resetSm().size(), 4u);
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 5u);
}

TEST_F(ConstructionFailureTest, ANestedMachineAtEachAllocation) {
  std::size_t failures = 0;
  ResetKey const key(ResetType::slice, "", "Slice1");
  for (bool failed = true; failed; failures += failed) {
    left();
    start();
    auto entry = resetSm()->resetSmDel(key);
    failed = allocationFails(failures, [&] { resetSm()->resetSmIs(entry); });
    entry = nullptr;
    EXPECT_EQ(resetSm()->resetSm(key) == nullptr, failed);
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 1u);
}

TEST_F(ConstructionFailureTest, TheFeatureMachineAtEachAllocation) {
  std::size_t failures = 0;
  for (bool failed = true; failed; failures += failed) {
    left();
    start();
    root->featureCollSmDel();
    device.featureLauncher->deleteEntity("f");
    failed = allocationFails(
        failures, [this] { root->featureCollSmIs(root->featureColl(), device.featureLauncher); });
    EXPECT_EQ(root->featureCollSm() == nullptr, failed);
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
  }
  EXPECT_GT(failures, 1u);
}

TEST_F(ConstructionFailureTest, AReplacementOfTheFeatureMachineThatFailsKeepsTheOldOne) {
  start();
  auto const old = root->featureCollSmIs(root->featureColl(), device.featureLauncher);
  auto const other = Oru::Central::featureCollectionFactory();
  EXPECT_TRUE(allocationFails(0, [&] { root->featureCollSmIs(other, device.featureLauncher); }));
  EXPECT_EQ(root->featureCollSm(), old);
  EXPECT_EQ(subscribers(*root->featureColl()), 1u);
  EXPECT_EQ(subscribers(*other), 0u);
}

TEST_F(ConstructionFailureTest, ADeviceIdOutOfRangeAtTheStartLeavesNothingBehind) {
  auto const slice = makeSlice("Slice1", {});
  slice->chipConfigIs(makeChip("Chip1", 65));
  device.hwConfigDir->entityIs(slice);
  EXPECT_ANY_THROW(start());
  expectNothingLeft();
}

using ConstructionFailureDeathTest = ConstructionFailureTest;

TEST_F(ConstructionFailureDeathTest, AnAllocationThatFailsInsideANotificationEndsTheProcess) {
  start();
  insertSlice("Slice1", {});
  auto const status = Vunda::makeNode<Dir>("Slice1");
  EXPECT_DEATH(
      {
        FailingAllocation const failing(3);
        device.statusDir->entityIs(status);
      },
      "terminate called");
}

TEST_F(ConstructionFailureDeathTest, AHelperThatThrowsInsideANotificationEndsTheProcess) {
  start();
  helper->on("createChipConfig", [] { throw HelperFault(); });
  EXPECT_DEATH(insertSlice("Slice1", {"Chip1"}), "terminate called");
}

}  // namespace
