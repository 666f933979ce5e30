#include "tests/central/CentralFixture.h"

namespace {

using namespace OruTest;

class FeatureCollSmTest : public CentralFixture {
 protected:
  FeatureCollSmTest() {
    traces("5,9");
    observeWrites();
  }

  Ptr<FeatureCollSm> machine() {
    return FeatureCollSm::FeatureCollSmIs(features, device.featureLauncher);
  }

  Ptr<FeatureCollection> features = Oru::Central::featureCollectionFactory();
};

TEST_F(FeatureCollSmTest, ConstructionAddsEveryFeatureWhateverItsFlag) {
  features->featureIs("a", true);
  features->featureIs("b", false);
  auto const sm = machine();
  EXPECT_EQ(journal(), lines(R"(
    9 FeatureCollSm::handleFeatureColl
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Adding: a to featureLauncherConfigDir
    +featureLauncher/a
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Adding: b to featureLauncherConfigDir
    +featureLauncher/b
  )"));
  EXPECT_EQ(state(), "featureLauncher/a\nfeatureLauncher/b\n");
}

TEST_F(FeatureCollSmTest, ConstructionOverAnEmptyCollectionAddsNothing) {
  auto const sm = machine();
  EXPECT_EQ(journal(), "9 FeatureCollSm::handleFeatureColl\n");
  EXPECT_EQ(state(), "");
}

TEST_F(FeatureCollSmTest, ANewFeatureGetsAnEntryEvenWhenItIsOff) {
  auto const sm = machine();
  journal();
  features->featureIs("a", false);
  EXPECT_EQ(journal(), lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Adding: a to featureLauncherConfigDir
    +featureLauncher/a
  )"));
}

TEST_F(FeatureCollSmTest, SwitchingAFeatureOffAddsItsEntryAgainAndDeletesNothing) {
  features->featureIs("b", true);
  auto const sm = machine();
  auto const entry = device.featureLauncher->entityPtr("b");
  journal();
  features->featureIs("b", false);
  EXPECT_EQ(journal(), lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Adding: b to featureLauncherConfigDir
  )"));
  EXPECT_EQ(device.featureLauncher->entityPtr("b"), entry);
}

TEST_F(FeatureCollSmTest, RemovingAFeatureDeletesItsEntryAndNoOther) {
  features->featureIs("a", true);
  features->featureIs("b", true);
  auto const sm = machine();
  journal();
  features->featureDel("a");
  EXPECT_EQ(journal(), lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Removing: a to featureLauncherConfigDir
    -featureLauncher/a
  )"));
  EXPECT_EQ(state(), "featureLauncher/b\n");
}

TEST_F(FeatureCollSmTest, RemovingAllFeaturesDeletesEachEntry) {
  features->featureIs("a", true);
  features->featureIs("b", false);
  auto const sm = machine();
  features->featureDelAll();
  EXPECT_EQ(state(), "");
}

TEST_F(FeatureCollSmTest, RemovingAFeatureWithoutEntryOnlySaysSo) {
  features->featureIs("a", true);
  auto const sm = machine();
  device.featureLauncher->deleteEntity("a");
  journal();
  features->featureDel("a");
  EXPECT_EQ(journal(), lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Removing: a to featureLauncherConfigDir
  )"));
}

TEST_F(FeatureCollSmTest, TheWholePassLeavesEntriesThatAreNoFeatureAlone) {
  device.featureLauncher->createEntity(Kesh::Dir::typeName, "foreign");
  features->featureIs("a", true);
  auto const sm = machine();
  sm->handleFeatureColl();
  EXPECT_EQ(state(), "featureLauncher/foreign\nfeatureLauncher/a\n");
}

TEST_F(FeatureCollSmTest, AnEntryOfAnotherTypeIsKept) {
  device.featureLauncher->entityIs(Vunda::makeNode<SliceHwStatus>("a"));
  features->featureIs("a", true);
  auto const sm = machine();
  EXPECT_EQ(state(), "featureLauncher/a genTime=0\n");
}

TEST_F(FeatureCollSmTest, WithoutALauncherDirectoryEveryHandlerOnlySaysSo) {
  features->featureIs("a", true);
  auto const sm = FeatureCollSm::FeatureCollSmIs(features, nullptr);
  std::string const said = lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Returning due to unitialized member(s)
  )");
  EXPECT_EQ(journal(), said);
  features->featureIs("b", true);
  EXPECT_EQ(journal(), said);
  features->featureDel("a");
  EXPECT_EQ(journal(), said);
  sm->handleFeatureColl();
  EXPECT_EQ(journal(), said);
}

TEST_F(FeatureCollSmTest, WithoutACollectionEveryHandlerOnlySaysSo) {
  auto const sm = FeatureCollSm::FeatureCollSmIs(nullptr, device.featureLauncher);
  std::string const said = lines(R"(
    9 FeatureCollSm::handleFeatureColl
    5 FeatureCollSm::handleFeatureColl Returning due to unitialized member(s)
  )");
  EXPECT_EQ(journal(), said);
  sm->handleFeatureColl("a");
  EXPECT_EQ(journal(), said);
  EXPECT_EQ(state(), "");
}

TEST_F(FeatureCollSmTest, GoingLeavesTheEntriesAndNoSubscription) {
  features->featureIs("a", true);
  auto sm = machine();
  EXPECT_EQ(subscribers(*features), 1u);
  journal();
  sm = nullptr;
  EXPECT_EQ(subscribers(*features), 0u);
  features->featureDel("a");
  EXPECT_EQ(journal(), "");
  EXPECT_EQ(state(), "featureLauncher/a\n");
}

TEST_F(FeatureCollSmTest, KeepsItsCollectionAndDirectoryWhileItLives) {
  auto sm = machine();
  EXPECT_EQ(sm->featureColl(), features);
  EXPECT_EQ(sm->featureLauncherConfigDir(), device.featureLauncher);
  auto const held = features->useCount();
  sm = nullptr;
  EXPECT_EQ(features->useCount(), held - 1);
}

TEST_F(FeatureCollSmTest, AnotherFieldOfTheCollectionIsIgnored) {
  features->featureIs("a", true);
  auto const sm = machine();
  device.featureLauncher->deleteEntity("a");
  journal();
  String const name("a");
  features->publisher()->publishChange(Vunda::FieldId{131}, &name, nullptr);
  EXPECT_EQ(journal(), "");
}

TEST_F(FeatureCollSmTest, AZombieIgnoresNotifications) {
  auto const sm = machine();
  journal();
  sm->keshDoZombieReactors(true);
  features->featureIs("a", true);
  EXPECT_EQ(journal(), "");
  sm->keshDoZombieReactors(false);
  features->featureIs("b", true);
  EXPECT_EQ(state(), "featureLauncher/b\n");
}

TEST_F(FeatureCollSmTest, SwitchedOffItIsNotSubscribedAndSwitchedOnItIsOnce) {
  auto const sm = machine();
  EXPECT_TRUE(sm->hasNotificationActive());
  sm->hasNotificationActiveIs(false);
  EXPECT_EQ(subscribers(*features), 0u);
  EXPECT_FALSE(sm->hasNotificationActive());
  EXPECT_FALSE(sm->zombieReactors());
  sm->hasNotificationActiveIs(true);
  sm->hasNotificationActiveIs(true);
  EXPECT_EQ(subscribers(*features), 1u);
}

TEST_F(FeatureCollSmTest, SwitchingNotificationsKeepsTheZombieFlag) {
  auto const sm = machine();
  sm->keshDoZombieReactors(true);
  sm->hasNotificationActiveIs(false);
  sm->hasNotificationActiveIs(true);
  EXPECT_TRUE(sm->zombieReactors());
}

TEST_F(FeatureCollSmTest, AFeatureRemovedWhileItsEntryAppearsEndsWithoutEntry) {
  auto const sm = machine();
  journal_.hookIs([&](std::string const& line) {
    if (line == "+featureLauncher/a") features->featureDel("a");
  });
  features->featureIs("a", true);
  EXPECT_EQ(state(), "");
}

TEST_F(FeatureCollSmTest, FeaturesRemovedDuringTheWholePassEndWithoutEntries) {
  for (char const* name : {"a", "b", "c"}) features->featureIs(name, true);
  journal_.hookIs([&](std::string const& line) {
    if (line == "+featureLauncher/a") features->featureDelAll();
  });
  auto const sm = machine();
  EXPECT_EQ(state(), "");
}

TEST_F(FeatureCollSmTest, AMachineReleasedDuringItsOwnNotificationLivesUntilThatEnds) {
  auto sm = machine();
  journal_.hookIs([&](std::string const&) { sm = nullptr; });
  features->featureIs("a", true);
  EXPECT_EQ(state(), "featureLauncher/a\n");
  EXPECT_EQ(subscribers(*features), 0u);
}

}  // namespace
