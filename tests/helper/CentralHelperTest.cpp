#include "helper/CentralHelper.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "tests/support/VirtualSlot.h"

namespace {

using Oru::Central::ChipCollection;
using Oru::Central::ChipInfo;
using Oru::Central::DeviceId;
using Oru::Central::featureCollectionFactory;
using OruHelper::CentralHelper;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

// Sets the switch, to any text, or clears it; puts back what was there.
class NoopAgent {
 public:
  explicit NoopAgent(char const* value) {
    if (char const* const before = std::getenv(name)) before_ = before;
    set(value);
  }
  NoopAgent(NoopAgent const&) = delete;
  NoopAgent& operator=(NoopAgent const&) = delete;
  ~NoopAgent() { set(before_ ? before_->c_str() : nullptr); }

 private:
  static constexpr char const* name = "ORU_NOOP_AGENT";

  static void set(char const* value) {
    ASSERT_EQ(value ? setenv(name, value, 1) : unsetenv(name), 0);
  }

  std::optional<std::string> before_;
};

// What standard error holds when a helper's missing operation ends the process.
char const* const report =
    "^unimplemented\n"
    "[^\n]*OruBaseHelper\\.cpp:[0-9]+: "
    "void Oru::OruBaseHelper::oruAssert\\(const String&\\) const: Assertion `[^\n]*' failed\\.\n$";

class CentralHelperDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  NoopAgent const noopAgent_{nullptr};
  Ptr<CentralHelper> const helper_ = makeNode<CentralHelper>("helper");
};

TEST_F(CentralHelperDeathTest, CreateChipConfigAborts) {
  auto const dir = makeNode<Kesh::Dir>("Slice1");
  EXPECT_EXIT(helper_->createChipConfig("Chip1", dir), testing::KilledBySignal(SIGABRT), report);
}

TEST_F(CentralHelperDeathTest, FeatureCollectionAborts) {
  auto const features = featureCollectionFactory();
  EXPECT_EXIT(helper_->featureCollection(features), testing::KilledBySignal(SIGABRT), report);
}

TEST_F(CentralHelperDeathTest, OruAssertWritesTheMessageAndAborts) {
  EXPECT_EXIT(helper_->oruAssert("the platform has no fans"), testing::KilledBySignal(SIGABRT),
              "^the platform has no fans\n[^\n]*Assertion");
}

TEST(CentralHelper, DoesNothingAsANoopAgent) {
  auto const helper = makeNode<CentralHelper>("helper");
  auto const dir = makeNode<Kesh::Dir>("Slice1");
  auto const features = featureCollectionFactory();
  for (char const* value : {"1", "0", ""}) {
    NoopAgent const noopAgent(value);
    EXPECT_EQ(helper->createChipConfig("Chip1", dir), nullptr);
    EXPECT_EQ(dir->entityPtrCount(), 0U);
    helper->featureCollection(features);
    EXPECT_TRUE(features->feature().empty());
    EXPECT_EQ(features->useCount(), 1U);
  }
}

TEST(CentralHelper, OtherOperationsDoNothingByDefault) {
  NoopAgent const noopAgent(nullptr);
  auto const helper = makeNode<CentralHelper>("helper");
  ChipInfo const info(DeviceId(3), "Chip1");
  helper->initialize();
  helper->syncStateOnInit(ChipCollection());
  helper->sliceDetected("Slice1");
  helper->chipAdded(info);
  helper->chipAlreadyAdded(info);
  helper->chipRemoved(DeviceId(3));
  helper->featureAgentResetRequested(Duration(5));
  EXPECT_EQ(helper->useCount(), 1U);
  EXPECT_EQ(info, ChipInfo(DeviceId(3), "Chip1"));
}

TEST(CentralHelper, IsAnEntityWithTheNameThatItWasGiven) {
  auto const helper = makeNode<CentralHelper>("helper");
  Ptr<Kesh::Entity> const entity = helper;
  EXPECT_EQ(entity->name(), String("helper"));
  EXPECT_EQ(std::string(entity->typeData()->name), "OruHelper::CentralHelper");
  EXPECT_NE(Vunda::ptrCast<Oru::OruBaseHelper>(entity), nullptr);
}

TEST(CentralHelper, HasNoDataOfItsOwn) {
  EXPECT_EQ(sizeof(CentralHelper), sizeof(Kesh::Entity));
  EXPECT_EQ(sizeof(Oru::OruBaseHelper), sizeof(Kesh::Entity));
}

TEST(CentralHelper, ADerivedHelperNeedsToOverrideNoMoreThanItWants) {
  struct Platform : CentralHelper {
    using CentralHelper::CentralHelper;
    void sliceDetected(String const& sliceName) override { slice = sliceName; }
    String slice;
  };
  auto const platform = makeNode<Platform>("platform");
  Ptr<CentralHelper> const helper = platform;
  helper->sliceDetected("Slice1");
  helper->initialize();
  EXPECT_EQ(platform->slice, String("Slice1"));
}

#if defined(__x86_64__)
// Platforms are built apart from the library: the place of each operation in the virtual table is
// part of the interface.
TEST(CentralHelper, OperationsStandInTheirSlots) {
  using OruTest::slotOf;
  EXPECT_EQ(slotOf(&CentralHelper::lastUserGone), 2U);
  EXPECT_EQ(slotOf(&CentralHelper::publisher), 3U);
  EXPECT_EQ(slotOf(&CentralHelper::typeData), 4U);
  EXPECT_EQ(slotOf(&CentralHelper::handleParent), 5U);
  EXPECT_EQ(slotOf(&CentralHelper::initialize), 6U);
  EXPECT_EQ(slotOf(&CentralHelper::syncStateOnInit), 7U);
  EXPECT_EQ(slotOf(&CentralHelper::sliceDetected), 8U);
  EXPECT_EQ(slotOf(&CentralHelper::chipAdded), 9U);
  EXPECT_EQ(slotOf(&CentralHelper::chipAlreadyAdded), 10U);
  EXPECT_EQ(slotOf(&CentralHelper::chipRemoved), 11U);
  EXPECT_EQ(slotOf(&CentralHelper::featureAgentResetRequested), 12U);
  EXPECT_EQ(slotOf(&CentralHelper::featureCollection), 13U);
  EXPECT_EQ(slotOf(&CentralHelper::createChipConfig), 14U);
}
#endif

}  // namespace
