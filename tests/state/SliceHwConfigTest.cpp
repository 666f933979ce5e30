#include "state/SliceHwConfig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "runtime/kesh/MutatorException.h"
#include "state/SliceHwStatus.h"
#include "tests/state/Mutators.h"

namespace {

using Oru::Central::ChipHwConfig;
using Oru::Central::DeviceId;
using Oru::Central::PortHwConfig;
using Oru::Central::SliceHwConfig;
using Oru::Central::SliceHwStatus;
using OruTest::CallbackSlot;
using OruTest::expectAttribute;
using OruTest::expectMember;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

TEST(SliceHwConfig, GenTimeIsWrittenAndAnnouncedOnChange) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  expectAttribute(
      *slice, SliceHwConfig::genTimeField, Duration(), Duration(5),
      [](SliceHwConfig const& of) { return of.genTime(); },
      [](SliceHwConfig& of, Duration value) { of.genTimeIs(value); });
}

TEST(SliceHwConfig, AGenerationThatIsNotANumberIsAnnouncedEachTime) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  int announced = 0;
  CallbackSlot const slot(*slice, [&](auto const&) { ++announced; });
  slice->genTimeIs(Duration(std::numeric_limits<double>::quiet_NaN()));
  slice->genTimeIs(Duration(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(announced, 2);
}

TEST(SliceHwConfig, ANegativeZeroGenerationEqualsNone) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  CallbackSlot const slot(*slice, [&](auto const&) { ADD_FAILURE() << "announced"; });
  slice->genTimeIs(Duration(-0.0));
  EXPECT_FALSE(std::signbit(slice->genTime().seconds()));
}

TEST(SliceHwConfig, ChipsAreKeptUnderTheirNames) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  expectMember(
      *slice, SliceHwConfig::chipConfigField, String("Chip1"), Ptr<ChipHwConfig>(),
      makeNode<ChipHwConfig>("Chip1"), makeNode<ChipHwConfig>("Chip1"),
      [](SliceHwConfig const& of, String const& name) { return of.chipConfig(name); },
      [](SliceHwConfig& of, String const&, Ptr<ChipHwConfig> const& chip) {
        of.chipConfigIs(chip);
      },
      [](SliceHwConfig& of, String const& name) { of.chipConfigDel(name); });
}

TEST(SliceHwConfig, ChipsAreIteratedInTheOrderOfTheirInsertion) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  for (char const* name : {"B", "A", "C"}) slice->chipConfigIs(makeNode<ChipHwConfig>(name));
  std::vector<String> names;
  for (auto it = slice->chipConfig().iterator(); it; ++it) names.push_back(it.value()->name());
  EXPECT_EQ(names, (std::vector<String>{"B", "A", "C"}));
}

TEST(SliceHwConfig, RefusesANullChipAndStaysAsItWas) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  CallbackSlot const slot(*slice, [](auto const&) { ADD_FAILURE() << "announced"; });
  EXPECT_THROW(slice->chipConfigIs(nullptr), Kesh::MutatorArgNullPointerException);
  EXPECT_TRUE(slice->chipConfig().empty());
}

TEST(SliceHwConfig, ACallbackMayDropTheInsertedChip) {
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  Ptr<ChipHwConfig> chip = makeNode<ChipHwConfig>("Chip1");
  CallbackSlot const dropper(*slice, [&](auto const& change) {
    if (!change.value) return;
    chip = nullptr;
    slice->chipConfigDel("Chip1");
  });
  std::vector<String> later;
  CallbackSlot const reader(*slice, [&](auto const& change) {
    later.push_back(*static_cast<String const*>(change.key));
  });
  slice->chipConfigIs(chip);
  EXPECT_EQ(later, (std::vector<String>{"Chip1", "Chip1"}));
  EXPECT_TRUE(slice->chipConfig().empty());
}

TEST(ChipHwConfig, DeviceIdIsWrittenAndAnnouncedOnChange) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  expectAttribute(
      *chip, ChipHwConfig::deviceIdField, DeviceId::null, std::uint16_t{7},
      [](ChipHwConfig const& of) { return of.deviceId(); },
      [](ChipHwConfig& of, std::uint16_t value) { of.deviceIdIs(value); });
}

TEST(ChipHwConfig, DeviceIdIsKeptRaw) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  chip->deviceIdIs(65535);
  EXPECT_EQ(chip->deviceId(), 65535);
}

TEST(ChipHwConfig, PortsAreKeptUnderTheirNumbers) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  expectMember(
      *chip, ChipHwConfig::portConfigField, Oru::Central::PortId{65535}, Ptr<PortHwConfig>(),
      makeNode<PortHwConfig>("Ethernet1"), makeNode<PortHwConfig>("Ethernet1"),
      [](ChipHwConfig const& of, auto port) { return of.portConfig(port); },
      [](ChipHwConfig& of, auto port, auto const& config) { of.portConfigIs(port, config); },
      [](ChipHwConfig& of, auto port) { of.portConfigDel(port); });
}

TEST(ChipHwConfig, RefusesANullPortAndStaysAsItWas) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  CallbackSlot const slot(*chip, [](auto const&) { ADD_FAILURE() << "announced"; });
  EXPECT_THROW(chip->portConfigIs(1, nullptr), Kesh::MutatorArgNullPointerException);
  EXPECT_TRUE(chip->portConfig().empty());
}

TEST(ChipHwConfig, ACallbackMayDropTheInsertedPort) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  Ptr<PortHwConfig> port = makeNode<PortHwConfig>("Ethernet1");
  CallbackSlot const dropper(*chip, [&](auto const&) { port = nullptr; });
  std::vector<String> later;
  CallbackSlot const reader(*chip, [&](auto const& change) {
    auto const& announced = *static_cast<Ptr<PortHwConfig> const*>(change.value);
    later.push_back(announced ? announced->intfName() : "dropped");
  });
  chip->portConfigIs(1, port);
  EXPECT_EQ(later, std::vector<String>{"Ethernet1"});
}

TEST(PortHwConfig, HoldsItsInterfaceNameAndAnnouncesNothing) {
  auto const port = makeNode<PortHwConfig>("Ethernet1");
  EXPECT_EQ(port->intfName(), String("Ethernet1"));
  EXPECT_EQ(port->publisher(), nullptr);
}

TEST(PortHwConfig, FindsTheIdOfItsInterface) {
  Lanko::IntfId intf;
  intf.handleInitialized("Ethernet1");
  EXPECT_EQ(makeNode<PortHwConfig>("Ethernet1")->intfId(), intf);
  EXPECT_NE(makeNode<PortHwConfig>("Ethernet2")->intfId(), intf);
  EXPECT_FALSE(makeNode<PortHwConfig>("")->intfId().valid());
}

TEST(SliceHwStatus, GenTimeIsWrittenAndAnnouncedOnChange) {
  auto const status = makeNode<SliceHwStatus>("Slice1");
  expectAttribute(
      *status, SliceHwStatus::genTimeField, Duration(), Duration(5),
      [](SliceHwStatus const& of) { return of.genTime(); },
      [](SliceHwStatus& of, Duration value) { of.genTimeIs(value); });
}

}  // namespace
