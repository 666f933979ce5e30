#include "state/SystemStatus.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/state/Mutators.h"
#include "tests/support/HeapProbe.h"

namespace {

using Lanko::IntfId;
using Oru::Central::ChipCollection;
using Oru::Central::ChipInfo;
using Oru::Central::ChipPort;
using Oru::Central::DeviceId;
using Oru::Central::SystemStatus;
using OruTest::expectMember;
using OruTest::heapAllocations;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::String;

IntfId intfOf(String const& name) {
  IntfId intf;
  intf.handleInitialized(name);
  return intf;
}

ChipInfo infoAt(Duration genTime) {
  ChipInfo info(DeviceId(7), "Chip1");
  info.genTimeIs(genTime);
  return info;
}

ChipCollection chipsOf(std::initializer_list<std::uint16_t> ids) {
  ChipCollection chips;
  for (auto id : ids) chips.chipIs(DeviceId(id), true);
  return chips;
}

TEST(SystemStatus, ChipsAreKeptUnderTheirDeviceIds) {
  auto const status = makeNode<SystemStatus>("system");
  expectMember(
      *status, SystemStatus::chipInfoField, DeviceId(7), ChipInfo(DeviceId(64), ""),
      infoAt(Duration(5)), infoAt(Duration(6)),
      [](SystemStatus const& of, DeviceId id) { return of.chipInfo(id); },
      [](SystemStatus& of, DeviceId, ChipInfo const& info) { of.chipInfoIs(info); },
      [](SystemStatus& of, DeviceId id) { of.chipInfoDel(id); });
}

TEST(SystemStatus, AChipThatIsNotPublishedEqualsTheAbsentValue) {
  auto const status = makeNode<SystemStatus>("system");
  status->chipInfoIs(infoAt(Duration(5)));
  EXPECT_TRUE(status->chipInfo(DeviceId(8)).isEq(ChipInfo(DeviceId(64), "")));
  EXPECT_FALSE(status->chipInfo(DeviceId(7)).isEq(ChipInfo(DeviceId(64), "")));
}

TEST(SystemStatus, TheNullIdIsAKeyLikeAnyOther) {
  auto const status = makeNode<SystemStatus>("system");
  status->chipInfoIs(ChipInfo(DeviceId(64), "Chip1"));
  EXPECT_EQ(status->chipInfo(DeviceId(64)).name(), String("Chip1"));
  EXPECT_EQ(status->chipInfo().size(), 1U);
}

TEST(SystemStatus, InterfacesAreKeptWithTheirChipPorts) {
  auto const status = makeNode<SystemStatus>("system");
  expectMember(
      *status, SystemStatus::intfToChipPortField, intfOf("Ethernet1"), ChipPort(), ChipPort(),
      ChipPort(DeviceId(7), 9),
      [](SystemStatus const& of, IntfId intf) { return of.intfToChipPort(intf); },
      [](SystemStatus& of, IntfId intf, ChipPort port) { of.intfToChipPortIs(intf, port); },
      [](SystemStatus& of, IntfId intf) { of.intfToChipPortDel(intf); });
}

TEST(SystemStatus, SlicesAreKeptWithTheirChips) {
  auto const status = makeNode<SystemStatus>("system");
  expectMember(
      *status, SystemStatus::sliceToChipMapField, String("Slice1"), ChipCollection(),
      ChipCollection(), chipsOf({3, 7}),
      [](SystemStatus const& of, String const& slice) { return of.sliceToChipMap(slice); },
      [](SystemStatus& of, String const& slice, auto const& chips) {
        of.sliceToChipMapIs(slice, chips);
      },
      [](SystemStatus& of, String const& slice) { of.sliceToChipMapDel(slice); });
}

TEST(SystemStatus, ASlicesKeyStaysWhenItsCollectionBecomesEmpty) {
  auto const status = makeNode<SystemStatus>("system");
  status->sliceToChipMapIs("Slice1", chipsOf({3}));
  status->sliceToChipMapIs("Slice1", ChipCollection());
  EXPECT_TRUE(status->sliceToChipMap().has("Slice1"));
  EXPECT_TRUE(status->sliceToChipMap("Slice1").chip().empty());
}

TEST(SystemStatus, ALookedUpChipSurvivesItsRemoval) {
  auto const status = makeNode<SystemStatus>("system");
  status->chipInfoIs(infoAt(Duration(5)));
  ChipInfo const found = status->chipInfo(DeviceId(7));
  status->chipInfoDel(found.deviceId());
  EXPECT_EQ(found, infoAt(Duration(5)));
}

TEST(SystemStatus, ARemovedChipsIdIsReadableFromWithinTheAnnouncement) {
  auto const status = makeNode<SystemStatus>("system");
  status->sliceToChipMapIs("Slice1", ChipCollection());
  std::vector<String> removed;
  OruTest::CallbackSlot const slot(*status, [&](auto const& change) {
    removed.push_back(*static_cast<String const*>(change.key));
  });
  // The key given is the very one that stands in the collection.
  status->sliceToChipMapDel(status->sliceToChipMap().iterator().key());
  EXPECT_EQ(removed, std::vector<String>{"Slice1"});
}

TEST(SystemStatus, PublishingAPortAllocatesNothingOfItsOwn) {
  constexpr unsigned ports = 4096;
  std::vector<IntfId> intfs;
  for (unsigned port = 0; port < ports; ++port) {
    intfs.push_back(intfOf(String("Ethernet" + std::to_string(port))));
  }
  auto const status = makeNode<SystemStatus>("system");
  ChipInfo info(DeviceId(7), "Chip1");
  auto before = heapAllocations();
  for (unsigned port = 0; port < ports; ++port) {
    info.intfIdIs(intfs[port], true);
    status->intfToChipPortIs(intfs[port], ChipPort(DeviceId(7), static_cast<std::uint16_t>(port)));
  }
  // Both collections double their storage as they grow, from 4 to 4096.
  EXPECT_LE(heapAllocations() - before, 2U * 11U);

  before = heapAllocations();
  status->chipInfoIs(info);
  EXPECT_LE(heapAllocations() - before, 3U)
      << "copying a chip costs one allocation, not one a port";

  before = heapAllocations();
  for (IntfId intf : intfs) status->intfToChipPortIs(intf, ChipPort(DeviceId(8), 1));
  EXPECT_EQ(heapAllocations(), before);
}

}  // namespace
