// The mount as a whole: what a start reads, what is written and when, requests, features, and the
// files that it owns.

#include <gtest/gtest.h>

#include "mount/Names.h"
#include "mount/NodeWatch.h"
#include "tests/mount/StateMountFixture.h"

namespace {

using namespace Oru::Mount;
using namespace Oru::Central;
using Kesh::Dir;
using OruTest::settle;
using Vunda::Duration;
using Texts = std::vector<std::string>;
class StateMountTest : public StateMountFixture {};

TEST_F(StateMountTest, MakesTheDirectoriesThatAreMissing) {
  start();
  for (auto const& directory : {TreePath{"hw", "config"},
                                {"hw", "status"},
                                {"config"},
                                {"status"},
                                {"system", "chips"},
                                {"system", "slices"},
                                {"system", "interfaces"},
                                {"features"},
                                {"reset", "request"},
                                {"reset", "status"},
                                {"launcher", "slice"},
                                {"launcher", "chip"},
                                {"launcher", "feature"}})
    EXPECT_TRUE(backend.hasDirectory(directory)) << directory.text();
}

TEST_F(StateMountTest, ReadsALeftTreeIntoEntitiesAndWritesNothingBack) {
  backend.othersPut({"hw", "config", "S1"}, oneChip);
  backend.othersPut({"hw", "status", "S1"}, "{\"genTime\":5.0}\n");
  backend.othersPut({"config", "S1", "C1"},
                    "{\"deviceId\":1,\"enabled\":true,\"genTime\":6.5,\"syncGenTime\":6.75}\n");
  backend.othersPut({"status", "S1", "C1"}, R"({"genTime":6.5,"intfToPortId":{"E1":1}})");
  backend.othersPut({"system", "chips", "1"},
                    "{\"deviceId\":1,\"name\":\"C1\",\"slice\":\"S1\",\"genTime\":6.5,"
                    "\"interfaces\":[\"E1\"]}\n");
  backend.othersPut({"system", "slices", "S1"}, "{\"chips\":[1]}\n");
  backend.othersPut({"system", "interfaces", "1"}, "{\"intfToPortId\":{\"E1\":1}}\n");
  backend.othersPut({"reset", "status", "me", "allSlices"},
                    "{\"type\":\"allSlices\",\"cause\":\"\",\"reason\":0,\"genTime\":6.0}\n");
  backend.othersPut({"launcher", "slice", "S1"}, "{}\n");
  backend.othersPut({"launcher", "chip", "C1"}, "{}\n");
  backend.othersPut({"launcher", "feature", "F"}, "{\"restart\":4.0}\n");
  start();
  EXPECT_EQ(Texts{}, problemTexts());

  EXPECT_EQ(Duration(5.0), hwConfig("S1")->genTime());
  EXPECT_EQ("E1", treeName(hwConfig("S1")->chipConfig("C1")->portConfig(1)->intfName()));
  EXPECT_EQ(Duration(5.0),
            Vunda::ptrCast<SliceHwStatus>(mount->hwStatusDir()->entityPtr("S1"))->genTime());
  EXPECT_EQ(Duration(6.5), makeConfig("S1", "C1")->genTime());
  EXPECT_EQ(Duration(6.5), status("S1", "C1")->genTime());
  EXPECT_EQ(Duration(6.5), mount->systemStatus()->chipInfo(DeviceId(1)).genTime());
  EXPECT_TRUE(mount->systemStatus()->sliceToChipMap("S1").has(DeviceId(1)));
  EXPECT_EQ(1u, mount->systemStatus()->intfToChipPort().size());
  EXPECT_EQ(Duration(6.0), mount->resetStatus().lastAnswer(ResetType::allSlices));
  EXPECT_TRUE(mount->sliceLauncherDir()->entityPtrHas("S1"));
  EXPECT_TRUE(mount->chipLauncherDir()->entityPtrHas("C1"));
  EXPECT_EQ(Duration(4.0), mount->featureLauncher().lastRestart());

  for (auto const& write : backend.takeWrites())
    EXPECT_EQ(0u, write.find("make ")) << write << " although it stood there";
}

TEST_F(StateMountTest, RaisesTheClockAboveEveryGenerationRead) {
  backend.othersPut({"config", "S1", "C1"},
                    R"({"deviceId":1,"enabled":true,"genTime":2000.5,"syncGenTime":3000.5})");
  start();
  EXPECT_GT(Kesh::System::currentTime(), Duration(3000.5));
  others({"reset", "request", "me", "allSlices"},
         R"({"type":"allSlices","cause":"","reason":0,"genTime":4000})");
  EXPECT_GT(Kesh::System::currentTime(), Duration(4000.0));
  others({"hw", "config", "S1"}, R"({"genTime":5000,"chips":{}})");
  EXPECT_GT(Kesh::System::currentTime(), Duration(5000.0));
}

TEST_F(StateMountTest, EntitiesReachTheTreeEachFileOncePerTurn) {
  start();
  backend.takeWrites();
  auto const config = makeConfig("S1", "C1");
  config->deviceIdIs(DeviceId(3));
  config->enabledIs(true);
  config->genTimeIs(Duration(101.5));
  config->syncGenTimeIs(Duration(101.75));
  mount->chipLauncherDir()->createEntity(Dir::typeName, "C1");
  settle(loop);
  EXPECT_EQ((Texts{"make config/S1", "put config/S1/C1", "put launcher/chip/C1"}),
            backend.takeWrites());
  EXPECT_EQ("{\"deviceId\":3,\"enabled\":true,\"genTime\":101.5,\"syncGenTime\":101.75}\n",
            text({"config", "S1", "C1"}));
  EXPECT_EQ("{}\n", text({"launcher", "chip", "C1"}));
  mount->chipLauncherDir()->deleteEntity("C1");
  settle(loop);
  EXPECT_EQ("absent", text({"launcher", "chip", "C1"}));
}

TEST_F(StateMountTest, AnswersComeAfterWhatTheyCaused) {
  start();
  backend.takeWrites();
  mount->resetStatusDir()->createEntity(ResetStatusDir::typeName, "me");
  auto const answers = Vunda::ptrCast<ResetStatusDir>(mount->resetStatusDir()->entityPtr("me"));
  answers->resetStatusIs(ResetKey(ResetType::slice, "", "S1"))->genTimeIs(Duration(7.0));
  mount->hwStatusDir()->createEntity(SliceHwStatus::typeName, "S1");
  makeConfig("S1", "C1");
  settle(loop);
  EXPECT_EQ((Texts{"make config/S1", "put config/S1/C1", "put hw/status/S1", "make reset/status/me",
                   "put reset/status/me/slice,S1"}),
            backend.takeWrites());
  EXPECT_EQ("{\"type\":\"slice\",\"slice\":\"S1\",\"cause\":\"\",\"reason\":0,\"genTime\":7.0}\n",
            text({"reset", "status", "me", "slice,S1"}));
  answers->resetStatusDel(ResetKey(ResetType::slice, "", "S1"));
  settle(loop);
  EXPECT_EQ("absent", text({"reset", "status", "me", "slice,S1"}));
}

TEST_F(StateMountTest, AnAnswerIsHeldBackWhileAConfigurationCannotBeWritten) {
  start();
  backend.writesFailAt({"config"});
  makeConfig("S1", "C1");
  mount->resetStatusDir()->createEntity(ResetStatusDir::typeName, "me");
  Vunda::ptrCast<ResetStatusDir>(mount->resetStatusDir()->entityPtr("me"))
      ->resetStatusIs(ResetKey(ResetType::slice, "", "S1"));
  settle(loop);
  EXPECT_EQ("absent", text({"reset", "status", "me", "slice,S1"}));
  EXPECT_EQ((Texts{"cannot write config/S1: Input/output error",
                   "cannot write config/S1/C1.json: Input/output error"}),
            problemTexts());
  backend.writesFailAt({"elsewhere"});
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return queue.empty(); }));
  EXPECT_NE("absent", text({"config", "S1", "C1"}));
  EXPECT_NE("absent", text({"reset", "status", "me", "slice,S1"}));
  EXPECT_EQ(Texts{}, problemTexts());
}

TEST_F(StateMountTest, RequestsReachTheirEntriesInPlace) {
  start();
  auto const request = [](char const* genTime) {
    return std::string(
               R"({"type":"chip","slice":"S1","chip":"C1","cause":"why","reason":3,"genTime":)") +
           genTime + "}";
  };
  ResetKey const key(ResetType::chip, "C1", "S1");
  others({"reset", "request", "me", "chip,S1,C1"}, request("7"));
  auto const dir = Vunda::ptrCast<ResetRequestDir>(mount->resetRequestDir()->entityPtr("me"));
  ASSERT_TRUE(dir);
  auto const entry = dir->resetRequest(key);
  ASSERT_TRUE(entry);
  EXPECT_EQ("why", treeName(entry->resetCause()));
  EXPECT_EQ(ResetReason::hardwareFault, entry->resetReason());
  EXPECT_EQ(Duration(7.0), entry->genTime());
  others({"reset", "request", "me", "chip,S1,C1"}, request("8"));
  EXPECT_EQ(entry, dir->resetRequest(key));
  EXPECT_EQ(Duration(8.0), entry->genTime());
  othersRemove({"reset", "request", "me", "chip,S1,C1"});
  EXPECT_FALSE(dir->resetRequest(key));
  backend.othersRemoveDirectory({"reset", "request", "me"});
  settle(loop);
  EXPECT_FALSE(mount->resetRequestDir()->entityPtrHas("me"));
}

TEST_F(StateMountTest, FeaturesFillTheCollectionAndFollow) {
  backend.othersPut({"features", "F1"}, R"({"enabled":true})");
  start();
  auto const collection = featureCollectionFactory();
  mount->features().collectionIs(collection);
  EXPECT_TRUE(collection->feature("F1"));
  others({"features", "F2"}, R"({"enabled":false})");
  EXPECT_TRUE(collection->feature().has("F2"));
  EXPECT_FALSE(collection->feature("F2"));
  others({"features", "F1"}, R"({"enabled":"yes"})");
  EXPECT_TRUE(collection->feature("F1"));
  EXPECT_EQ(1u, problems.problems().size());
  othersRemove({"features", "F1"});
  EXPECT_FALSE(collection->feature().has("F1"));
  EXPECT_EQ(Texts{}, problemTexts());
}

TEST_F(StateMountTest, RestartsOfFeatureAgentsAreWrittenIntoTheirEntries) {
  start();
  mount->featureLauncherDir()->createEntity(Dir::typeName, "F1");
  settle(loop);
  EXPECT_EQ("{}\n", text({"launcher", "feature", "F1"}));
  mount->featureLauncher().restartAll(Duration(7.5));
  settle(loop);
  EXPECT_EQ("{\"restart\":7.5}\n", text({"launcher", "feature", "F1"}));
  EXPECT_EQ(Duration(7.5), mount->featureLauncher().lastRestart());
  mount->featureLauncherDir()->deleteEntity("F1");
  mount->featureLauncherDir()->createEntity(Dir::typeName, "F1");
  settle(loop);
  EXPECT_EQ("{}\n", text({"launcher", "feature", "F1"}));
}

TEST_F(StateMountTest, TheSystemStatusIsKeptByChipAndSlice) {
  start();
  auto const& system = *mount->systemStatus();
  ChipInfo info(DeviceId(4), "C1");
  info.sliceNameIs("S1");
  info.genTimeIs(Duration(9.5));
  Lanko::IntfId e1, e2;
  e1.handleInitialized("E1");
  e2.handleInitialized("E2");
  info.intfIdIs(e1, true);
  mount->systemStatus()->chipInfoIs(info);
  mount->systemStatus()->intfToChipPortIs(e2, ChipPort(DeviceId(4), 2));
  mount->systemStatus()->intfToChipPortIs(e1, ChipPort(DeviceId(4), 1));
  ChipCollection chips;
  chips.chipIs(DeviceId(4), true);
  mount->systemStatus()->sliceToChipMapIs("S1", chips);
  settle(loop);
  EXPECT_EQ(
      "{\"deviceId\":4,\"name\":\"C1\",\"slice\":\"S1\",\"genTime\":9.5,\"interfaces\":[\"E1\"]}\n",
      text({"system", "chips", "4"}));
  EXPECT_EQ("{\"intfToPortId\":{\"E1\":1,\"E2\":2}}\n", text({"system", "interfaces", "4"}));
  EXPECT_EQ("{\"chips\":[4]}\n", text({"system", "slices", "S1"}));

  mount->systemStatus()->intfToChipPortIs(e2, ChipPort(DeviceId(5), 7));
  mount->systemStatus()->intfToChipPortDel(e1);
  mount->systemStatus()->chipInfoDel(DeviceId(4));
  mount->systemStatus()->sliceToChipMapDel("S1");
  settle(loop);
  EXPECT_EQ("absent", text({"system", "chips", "4"}));
  EXPECT_EQ("absent", text({"system", "interfaces", "4"}));
  EXPECT_EQ("{\"intfToPortId\":{\"E2\":7}}\n", text({"system", "interfaces", "5"}));
  EXPECT_EQ("absent", text({"system", "slices", "S1"}));
  EXPECT_EQ(1u, system.intfToChipPort().size());
}

TEST_F(StateMountTest, TheInterfacesOfAChipAreWrittenAfterEachTurnThatChangesThem) {
  start();
  auto& system = *mount->systemStatus();
  Lanko::IntfId e1, e2;
  e1.handleInitialized("E1");
  e2.handleInitialized("E2");
  system.intfToChipPortIs(e1, ChipPort(DeviceId(4), 1));
  settle(loop);
  EXPECT_EQ("{\"intfToPortId\":{\"E1\":1}}\n", text({"system", "interfaces", "4"}));
  system.intfToChipPortIs(e2, ChipPort(DeviceId(4), 2));
  settle(loop);
  EXPECT_EQ("{\"intfToPortId\":{\"E1\":1,\"E2\":2}}\n", text({"system", "interfaces", "4"}));
  system.intfToChipPortDel(e1);
  system.intfToChipPortDel(e2);
  system.intfToChipPortIs(e1, ChipPort(DeviceId(4), 3));
  settle(loop);
  EXPECT_EQ("{\"intfToPortId\":{\"E1\":3}}\n", text({"system", "interfaces", "4"}));
}

TEST_F(StateMountTest, WhatOthersDoToItsFilesIsPutRight) {
  start();
  makeConfig("S1", "C1")->genTimeIs(Duration(7.5));
  settle(loop);
  auto const right = text({"config", "S1", "C1"});
  others({"config", "S1", "C1"}, "{}");
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  others({"config", "S1", "C1"}, "{}");
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  othersRemove({"config", "S1", "C1"});
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  backend.othersRemoveDirectory({"config"});
  settle(loop);
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  EXPECT_EQ(Texts{}, problemTexts());
}

// Of its own writing no watch has told.
TEST_F(StateMountTest, WhatItHasWrittenAndNeverReadIsPutBackWhenItGoes) {
  start();
  makeConfig("S1", "C1");
  mount->chipLauncherDir()->createEntity(Dir::typeName, "C1");
  settle(loop);
  auto const right = text({"config", "S1", "C1"});
  othersRemove({"config", "S1", "C1"});
  othersRemove({"launcher", "chip", "C1"});
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  EXPECT_EQ("{}\n", text({"launcher", "chip", "C1"}));
  backend.deafIs(true);
  backend.othersRemove({"launcher", "chip", "C1"});
  backend.othersRemoveDirectory({"config", "S1"});
  backend.deafIs(false);
  backend.tellAll();
  settle(loop);
  EXPECT_EQ(right, text({"config", "S1", "C1"}));
  EXPECT_EQ("{}\n", text({"launcher", "chip", "C1"}));
}

TEST_F(StateMountTest, AnOwnFileThatIsRefusedIsNoProblemOnceItIsRemoved) {
  start();
  auto const launcherDir = mount->chipLauncherDir();
  launcherDir->createEntity(Dir::typeName, "C1");
  settle(loop);
  backend.writesFailWith(EROFS);
  backend.refuse({"launcher", "chip", "C1"}, "is a pipe");
  settle(loop);
  EXPECT_EQ((Texts{"cannot read launcher/chip/C1.json: is a pipe",
                   "cannot write launcher/chip/C1.json: Read-only file system"}),
            problemTexts());
  backend.writesFailWith(0);
  launcherDir->deleteEntity("C1");
  settle(loop);
  EXPECT_EQ(Texts{}, problemTexts());
}

TEST_F(StateMountTest, AFileAmongItsOwnThatIsNobodysIsAProblem) {
  start();
  others({"config", "S1", "C9"}, "{}");
  EXPECT_EQ(Texts{"cannot read config/S1/C9.json: is a file of nothing that there is"},
            problemTexts());
  othersRemove({"config", "S1", "C9"});
  EXPECT_EQ(Texts{}, problemTexts());
}

TEST_F(StateMountTest, ALeftFileOfItsOwnThatIsRefusedIsWrittenOver) {
  backend.othersPut({"config", "S1", "C1"}, "{\"deviceId\":");
  start();
  EXPECT_EQ(1u, problems.problems().size());
  makeConfig("S1", "C1");
  settle(loop);
  EXPECT_EQ(Texts{}, problemTexts());
  EXPECT_EQ("{\"deviceId\":64,\"enabled\":false,\"genTime\":0.0,\"syncGenTime\":0.0}\n",
            text({"config", "S1", "C1"}));
}

TEST_F(StateMountTest, WhenItHasGoneEntitiesAndTreeGoTheirOwnWays) {
  start();
  auto const config = makeConfig("S1", "C1");
  auto const configDir = mount->configDir();
  settle(loop);
  backend.takeWrites();
  mount.reset();
  config->genTimeIs(Duration(9.0));
  configDir->deleteEntity("S1");
  backend.othersPut({"hw", "config", "S1"}, oneChip);
  settle(loop);
  EXPECT_EQ(Texts{}, backend.takeWrites());
}

}  // namespace
