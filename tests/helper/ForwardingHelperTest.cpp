#include "helper/ForwardingHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runtime/kesh/MutatorException.h"
#include "tests/support/RecordingHelper.h"

namespace {

using Oru::Central::ChipCollection;
using Oru::Central::ChipInfo;
using Oru::Central::DeviceId;
using Oru::Central::featureCollectionFactory;
using OruHelper::CentralHelper;
using OruHelper::ForwardingHelper;
using OruTest::RecordingHelper;
using testing::ElementsAre;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

class ForwardingHelperTest : public testing::Test {
 protected:
  Ptr<RecordingHelper> const target_ = makeNode<RecordingHelper>();
  Ptr<CentralHelper> const helper_ = makeNode<ForwardingHelper>("forwarding", target_);
};

TEST_F(ForwardingHelperTest, PassesEveryOperationOnOnce) {
  ChipCollection running;
  running.chipIs(DeviceId(5), true);
  ChipInfo const info(DeviceId(3), "Chip1");
  auto const dir = makeNode<Kesh::Dir>("Slice1");

  helper_->initialize();
  helper_->syncStateOnInit(running);
  helper_->sliceDetected("Slice1");
  helper_->chipAdded(info);
  helper_->chipAlreadyAdded(info);
  helper_->chipRemoved(DeviceId(3));
  helper_->featureAgentResetRequested(Duration(12.5));
  helper_->featureCollection(featureCollectionFactory());
  helper_->createChipConfig("Chip1", dir);

  EXPECT_THAT(
      target_->calls(),
      ElementsAre("initialize", "syncStateOnInit 5", "sliceDetected Slice1", "chipAdded 3 Chip1  0",
                  "chipAlreadyAdded 3 Chip1  0", "chipRemoved 3", "featureAgentResetRequested 12.5",
                  "featureCollection", "createChipConfig Chip1 in Slice1"));
}

TEST_F(ForwardingHelperTest, PassesTheVeryObjectsOnAndBack) {
  auto const features = featureCollectionFactory();
  helper_->featureCollection(features);
  EXPECT_EQ(target_->featureColl(), features);

  auto const dir = makeNode<Kesh::Dir>("Slice1");
  auto const config = helper_->createChipConfig("Chip1", dir);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config, dir->entityPtr("Chip1"));
  EXPECT_EQ(helper_->createChipConfig("Chip1", nullptr), nullptr);
}

TEST_F(ForwardingHelperTest, KeepsItsTargetAlive) {
  EXPECT_EQ(target_->useCount(), 2U);
  EXPECT_EQ(helper_->name(), String("forwarding"));
}

TEST(ForwardingHelper, LetsADecoratorChangeOneOperation) {
  struct Renaming : ForwardingHelper {
    using ForwardingHelper::ForwardingHelper;
    void sliceDetected(String const&) override { ForwardingHelper::sliceDetected("renamed"); }
  };
  auto const target = makeNode<RecordingHelper>();
  Ptr<CentralHelper> const helper = makeNode<Renaming>("renaming", target);
  helper->sliceDetected("Slice1");
  helper->initialize();
  EXPECT_THAT(target->calls(), ElementsAre("sliceDetected renamed", "initialize"));
}

TEST(ForwardingHelper, RefusesANullTarget) {
  EXPECT_THROW(makeNode<ForwardingHelper>("forwarding", nullptr),
               Kesh::MutatorArgNullPointerException);
}

}  // namespace
