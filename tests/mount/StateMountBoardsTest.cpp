// Boards and what their agents report: hw/config/ and status/ as they become entities.

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
class StateMountBoardsTest : public StateMountFixture {};

TEST_F(StateMountBoardsTest, AHardwareConfigurationIsChangedInPlace) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  auto const config = hwConfig("S1");
  auto const chip = config->chipConfig("C1");
  others(
      {"hw", "config", "S1"},
      R"({"genTime":6,"chips":{"C1":{"deviceId":2,"ports":{}},"C2":{"deviceId":3,"ports":{}}}})");
  EXPECT_EQ(config, hwConfig("S1"));
  EXPECT_EQ(chip, config->chipConfig("C1"));
  EXPECT_EQ(2, chip->deviceId());
  EXPECT_EQ(2u, config->chipConfig().size());
  EXPECT_EQ(Duration(6.0), config->genTime());
}

TEST_F(StateMountBoardsTest, ABoardThatTakesThePlaceOfOneWhoseAgentHasLeftIsAnnounced) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  backend.othersMakeDirectory({"status", "S1"});
  settle(loop);
  backend.othersRemoveDirectory({"status", "S1"});
  settle(loop);
  Texts announced;
  auto const watch = watchNode(*mount->hwConfigDir(), [&](auto, auto) {
    announced.push_back(std::to_string(hwConfig("S1")->genTime().seconds()));
  });
  others({"hw", "config", "S1"}, R"({"genTime":6,"chips":{"C1":{"deviceId":1,"ports":{}}}})");
  EXPECT_EQ(Texts{"6.000000"}, announced);
}

TEST_F(StateMountBoardsTest,
       ABoardThatIsPutBackTogetherWithTheLossOfItsStatusIsAnnouncedAfterThat) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  for (auto const* text : {R"({"genTime":6,"chips":{"C1":{"deviceId":1,"ports":{}}}})", oneChip}) {
    backend.othersMakeDirectory({"status", "S1"});
    settle(loop);
    Texts order;
    auto const left = watchNode(*mount->statusDir(), [&](auto, auto) { order.push_back("left"); });
    auto const announced =
        watchNode(*mount->hwConfigDir(), [&](auto, auto) { order.push_back("announced"); });
    backend.othersPut({"hw", "config", "S1"}, text);
    backend.othersRemoveDirectory({"status", "S1"});
    settle(loop);
    EXPECT_EQ((Texts{"left", "announced"}), order) << text;
    // The very same once more.
    others({"hw", "config", "S1"}, text);
    EXPECT_EQ((Texts{"left", "announced", "announced"}), order) << text;
  }
}

TEST_F(StateMountBoardsTest, ChipsThatComeAndGoAreAnnouncedBeforeTheGeneration) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  backend.othersMakeDirectory({"status", "S1"});
  settle(loop);
  Texts order;
  auto const announced = watchNode(*mount->hwConfigDir(), [&](auto, auto) {
    order.push_back("announced with " + std::to_string(hwConfig("S1")->chipConfig().size()));
  });
  auto const changed = watchNode(*hwConfig("S1"), [&](auto field, auto) {
    if (field == SliceHwConfig::genTimeField) order.push_back("generation");
  });
  others(
      {"hw", "config", "S1"},
      R"({"genTime":6,"chips":{"C1":{"deviceId":1,"ports":{}},"C2":{"deviceId":3,"ports":{}}}})");
  EXPECT_EQ((Texts{"announced with 2", "generation"}), std::exchange(order, {}));
  others({"hw", "config", "S1"}, R"({"genTime":7,"chips":{"C2":{"deviceId":3,"ports":{}}}})");
  EXPECT_EQ((Texts{"announced with 1", "generation"}), std::exchange(order, {}));
  others({"hw", "config", "S1"}, R"({"genTime":8,"chips":{"C2":{"deviceId":3,"ports":{}}}})");
  EXPECT_EQ(Texts{"generation"}, order);
}

TEST_F(StateMountBoardsTest, AConfigurationThatIsTheSameMakesNoStatus) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  backend.othersMakeDirectory({"status", "S1"});
  settle(loop);
  others({"hw", "config", "S1"}, oneChip);
  EXPECT_FALSE(status("S1", "C1"));
}

TEST_F(StateMountBoardsTest, AChipThatComesBackIsTheSameObject) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  auto const chip = hwConfig("S1")->chipConfig("C1");
  others({"hw", "config", "S1"}, R"({"genTime":6,"chips":{}})");
  others({"hw", "config", "S1"}, oneChip);
  EXPECT_EQ(chip, hwConfig("S1")->chipConfig("C1"));
}

TEST_F(StateMountBoardsTest, ARefusedHardwareConfigurationLeavesTheLastOneInForce) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  others({"hw", "config", "S1"}, R"({"genTime":6,"chips":{"C1":{"deviceId":65,"ports":{}}}})");
  EXPECT_EQ(Duration(5.0), hwConfig("S1")->genTime());
  EXPECT_EQ(1, hwConfig("S1")->chipConfig("C1")->deviceId());
  EXPECT_EQ(Texts{"cannot read hw/config/S1.json: chips.C1.deviceId is not a whole number from 0 "
                  "to 64"},
            problemTexts());
  EXPECT_FALSE(mount->hwConfig().allAccepted());
  others({"hw", "config", "S1"}, oneChip);
  EXPECT_EQ(Texts{}, problemTexts());
  EXPECT_TRUE(mount->hwConfig().allAccepted());
}

TEST_F(StateMountBoardsTest, ABoardThatComesBackWaitsForTheOldOnesStatusToGo) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  others({"status", "S1", "C1"}, R"({"genTime":0,"intfToPortId":{}})");
  othersRemove({"hw", "config", "S1"});
  EXPECT_FALSE(hwConfig("S1"));
  others({"hw", "config", "S1"}, R"({"genTime":6,"chips":{}})");
  EXPECT_FALSE(hwConfig("S1"));
  EXPECT_EQ(Texts{"cannot read hw/config/S1.json: waits until status/S1/ of the board that was "
                  "removed has gone"},
            problemTexts());
  backend.othersRemoveDirectory({"status", "S1"});
  settle(loop);
  ASSERT_TRUE(hwConfig("S1"));
  EXPECT_EQ(Duration(6.0), hwConfig("S1")->genTime());
  EXPECT_EQ(Texts{}, problemTexts());
}

TEST_F(StateMountBoardsTest, WhatNoMachineKnewIsToldWhenItGoes) {
  start();
  int told = 0;
  mount->hwConfig().unknownGoneIs([&] { ++told; });
  others({"hw", "config", "S1"}, "bad");
  othersRemove({"hw", "config", "S1"});
  EXPECT_EQ(1, told);
  others({"hw", "config", "S1"}, oneChip);
  othersRemove({"hw", "config", "S1"});
  EXPECT_EQ(1, told);
  backend.othersMakeDirectory({"status", "S2"});
  settle(loop);
  backend.othersRemoveDirectory({"status", "S2"});
  settle(loop);
  EXPECT_EQ(2, told);
}

TEST_F(StateMountBoardsTest, AStatusDirectoryIsAnnouncedWithItsChips) {
  start();
  std::uint32_t chips = 0;
  auto const watch = watchNode(*mount->statusDir(), [&](auto, auto) {
    chips = sliceDir(mount->statusDir(), "S1")->entityPtrCount();
  });
  backend.othersPut({"status", "S1", "C1"}, R"({"genTime":0,"intfToPortId":{}})");
  backend.othersPut({"status", "S1", "C2"}, R"({"genTime":0,"intfToPortId":{}})");
  settle(loop);
  EXPECT_EQ(2u, chips);
}

TEST_F(StateMountBoardsTest, AStatusThatComesBackIsTheSameObject) {
  start();
  others({"status", "S1", "C1"}, R"({"genTime":0,"intfToPortId":{}})");
  auto const before = status("S1", "C1");
  othersRemove({"status", "S1", "C1"});
  EXPECT_FALSE(status("S1", "C1"));
  others({"status", "S1", "C1"}, R"({"genTime":0,"intfToPortId":{"E1":1}})");
  EXPECT_EQ(before, status("S1", "C1"));
  EXPECT_EQ(1u, before->intfToPortId().size());
}

TEST_F(StateMountBoardsTest,
       AStatusNewerThanItsConfigurationIsRefusedUntilTheConfigurationCatchesUp) {
  start();
  auto const config = makeConfig("S1", "C1");
  config->genTimeIs(Duration(50.0));
  others({"status", "S1", "C1"}, R"({"genTime":50,"intfToPortId":{"E1":1}})");
  others({"status", "S1", "C1"}, R"({"genTime":60,"intfToPortId":{}})");
  EXPECT_EQ(Texts{"cannot read status/S1/C1.json: genTime is newer than the generation in "
                  "config/S1/C1.json"},
            problemTexts());
  EXPECT_EQ(Duration(50.0), status("S1", "C1")->genTime());
  EXPECT_EQ(1u, status("S1", "C1")->intfToPortId().size());
  config->genTimeIs(Duration(60.0));
  settle(loop);
  EXPECT_EQ(Texts{}, problemTexts());
  EXPECT_EQ(Duration(60.0), status("S1", "C1")->genTime());
}

TEST_F(StateMountBoardsTest, AStatusThatIsTooNewFromTheStartRunsNothing) {
  start();
  others({"status", "S1", "C1"}, R"({"genTime":60,"intfToPortId":{"E1":1}})");
  ASSERT_TRUE(status("S1", "C1"));
  EXPECT_EQ(Duration(), status("S1", "C1")->genTime());
  EXPECT_EQ(0u, status("S1", "C1")->intfToPortId().size());
  EXPECT_EQ(1u, problems.problems().size());
}

TEST_F(StateMountBoardsTest, AChipThatIsAddedToALiveSliceHasAStatusBeforeTheGenerationIsTold) {
  start();
  others({"hw", "config", "S1"}, oneChip);
  others({"status", "S1", "C1"}, R"({"genTime":0,"intfToPortId":{}})");
  bool hadStatus = false;
  auto const changed = watchNode(*hwConfig("S1"), [&](auto field, auto) {
    if (field == SliceHwConfig::genTimeField) hadStatus = status("S1", "C2") != nullptr;
  });
  others(
      {"hw", "config", "S1"},
      R"({"genTime":6,"chips":{"C1":{"deviceId":1,"ports":{}},"C2":{"deviceId":3,"ports":{}}}})");
  EXPECT_TRUE(hadStatus);
  auto const placeholder = status("S1", "C2");
  others({"status", "S1", "C2"}, R"({"genTime":0,"intfToPortId":{"E2":1}})");
  EXPECT_EQ(placeholder, status("S1", "C2"));
  EXPECT_EQ(1u, placeholder->intfToPortId().size());
}

}  // namespace
