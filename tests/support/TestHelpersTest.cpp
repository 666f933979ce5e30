#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/FaultInjectingHelper.h"
#include "tests/support/RecordingHelper.h"

namespace {

using Oru::Central::ChipCollection;
using Oru::Central::ChipConfig;
using Oru::Central::ChipInfo;
using Oru::Central::DeviceId;
using OruHelper::CentralHelper;
using OruTest::FaultInjectingHelper;
using OruTest::HelperCall;
using OruTest::InjectedFault;
using OruTest::RecordingHelper;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

ChipInfo publishedChip() {
  ChipInfo info(DeviceId(3), "Chip1");
  info.sliceNameIs("Slice1");
  info.genTimeIs(Duration(0.1));
  for (char const* name : {"Ethernet2", "Ethernet1"}) {
    Lanko::IntfId intf;
    intf.handleInitialized(name);
    info.intfIdIs(intf, true);
  }
  return info;
}

TEST(RecordingHelper, TellsAChipWithAllItsMembers) {
  auto const helper = makeNode<RecordingHelper>();
  helper->chipAdded(publishedChip());
  helper->chipAlreadyAdded(publishedChip());
  EXPECT_THAT(helper->calls(),
              ElementsAre("chipAdded 3 Chip1 Slice1 0.1 Ethernet2 Ethernet1",
                          "chipAlreadyAdded 3 Chip1 Slice1 0.1 Ethernet2 Ethernet1"));
}

TEST(RecordingHelper, TellsRunningChipsInAscendingOrder) {
  auto const helper = makeNode<RecordingHelper>();
  ChipCollection running;
  for (DeviceId id : {DeviceId(9), DeviceId(3), DeviceId(40)}) running.chipIs(id, true);
  running.chipIs(DeviceId(5), false);
  helper->syncStateOnInit(running);
  helper->syncStateOnInit(ChipCollection());
  EXPECT_THAT(helper->calls(), ElementsAre("syncStateOnInit 3 9 40", "syncStateOnInit"));
}

TEST(RecordingHelper, TellsTimesSoThatTheyReadBack) {
  auto const helper = makeNode<RecordingHelper>();
  helper->featureAgentResetRequested(Duration(1700000000.0000002));
  helper->featureAgentResetRequested(Duration(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_THAT(helper->calls(), ElementsAre("featureAgentResetRequested 1700000000.0000002",
                                           "featureAgentResetRequested nan"));
}

TEST(RecordingHelper, HandsItsLinesOutOnce) {
  auto const helper = makeNode<RecordingHelper>();
  helper->initialize();
  EXPECT_THAT(helper->takeCalls(), ElementsAre("initialize"));
  EXPECT_THAT(helper->calls(), IsEmpty());
  helper->sliceDetected("Slice1");
  EXPECT_THAT(helper->takeCalls(), ElementsAre("sliceDetected Slice1"));
}

TEST(RecordingHelper, CreatesEachChipConfigurationOnce) {
  auto const helper = makeNode<RecordingHelper>();
  auto const dir = makeNode<Kesh::Dir>("Slice1");
  auto const config = helper->createChipConfig("Chip1", dir);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(helper->createChipConfig("Chip1", dir), config);
  EXPECT_EQ(dir->entityPtr("Chip1"), config);
  EXPECT_THAT(helper->calls(),
              ElementsAre("createChipConfig Chip1 in Slice1", "createChipConfig Chip1 in Slice1"));
}

TEST(RecordingHelper, ToleratesNulls) {
  auto const helper = makeNode<RecordingHelper>();
  helper->featureCollection(nullptr);
  EXPECT_EQ(helper->createChipConfig("Chip1", nullptr), nullptr);
  EXPECT_THAT(helper->calls(),
              ElementsAre("featureCollection null", "createChipConfig Chip1 in null"));
}

class FaultInjectingHelperTest : public testing::Test {
 protected:
  Ptr<RecordingHelper> const target_ = makeNode<RecordingHelper>();
  Ptr<FaultInjectingHelper> const helper_ = makeNode<FaultInjectingHelper>("faulty", target_);

  // Each operation once, in slot order.
  void callOne(HelperCall call) {
    CentralHelper& helper = *helper_;
    switch (call) {
      case HelperCall::initialize:
        return helper.initialize();
      case HelperCall::syncStateOnInit:
        return helper.syncStateOnInit(ChipCollection());
      case HelperCall::sliceDetected:
        return helper.sliceDetected("Slice1");
      case HelperCall::chipAdded:
        return helper.chipAdded(ChipInfo());
      case HelperCall::chipAlreadyAdded:
        return helper.chipAlreadyAdded(ChipInfo());
      case HelperCall::chipRemoved:
        return helper.chipRemoved(DeviceId(3));
      case HelperCall::featureAgentResetRequested:
        return helper.featureAgentResetRequested(Duration(5));
      case HelperCall::featureCollection:
        return helper.featureCollection(nullptr);
      case HelperCall::createChipConfig:
        static_cast<void>(helper.createChipConfig("Chip1", nullptr));
        return;
    }
  }
};

constexpr std::size_t operations = 9;

TEST_F(FaultInjectingHelperTest, PassesCallsOnWhenNothingIsInjected) {
  for (std::size_t i = 0; i < operations; ++i) callOne(static_cast<HelperCall>(i));
  EXPECT_THAT(
      target_->calls(),
      ElementsAre("initialize", "syncStateOnInit", "sliceDetected Slice1", "chipAdded 64   0",
                  "chipAlreadyAdded 64   0", "chipRemoved 3", "featureAgentResetRequested 5",
                  "featureCollection null", "createChipConfig Chip1 in null"));
  EXPECT_EQ(helper_->callCount(), operations);
}

TEST_F(FaultInjectingHelperTest, ThrowsAtTheCallAskedForOnly) {
  callOne(HelperCall::initialize);
  helper_->throwAtCall(2);
  callOne(HelperCall::initialize);
  EXPECT_THROW(callOne(HelperCall::initialize), InjectedFault);
  callOne(HelperCall::initialize);
  EXPECT_EQ(target_->calls().size(), 3U);
  EXPECT_EQ(helper_->callCount(), 4U);
}

TEST_F(FaultInjectingHelperTest, ThrowsFromEveryOperation) {
  for (std::size_t i = 0; i < operations; ++i) {
    helper_->throwAtCall(1);
    EXPECT_THROW(callOne(static_cast<HelperCall>(i)), InjectedFault) << i;
  }
  EXPECT_THAT(target_->calls(), IsEmpty());
}

TEST_F(FaultInjectingHelperTest, ThrowsNoMoreWhenDisarmed) {
  helper_->throwAtCall(1);
  helper_->throwAtCall(0);
  callOne(HelperCall::initialize);
  EXPECT_EQ(target_->calls().size(), 1U);
}

TEST_F(FaultInjectingHelperTest, RunsTheActionInsideItsOperationOnlyAndBeforeTheTarget) {
  for (std::size_t i = 0; i < operations; ++i) {
    auto const call = static_cast<HelperCall>(i);
    int runs = 0;
    std::size_t targetCalls = 0;
    helper_->insideCallIs(call, [&] {
      ++runs;
      targetCalls = target_->calls().size();
    });
    static_cast<void>(target_->takeCalls());
    for (std::size_t j = 0; j < operations; ++j) callOne(static_cast<HelperCall>(j));
    EXPECT_EQ(runs, 1) << i;
    EXPECT_EQ(targetCalls, i);
    helper_->insideCallIs(call, nullptr);
  }
}

TEST_F(FaultInjectingHelperTest, AnActionMayReplaceItselfAndCallAgain) {
  int runs = 0;
  helper_->insideCallIs(HelperCall::initialize, [&] {
    ++runs;
    helper_->insideCallIs(HelperCall::initialize, nullptr);
    callOne(HelperCall::initialize);
  });
  callOne(HelperCall::initialize);
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(target_->calls().size(), 2U);
}

}  // namespace
