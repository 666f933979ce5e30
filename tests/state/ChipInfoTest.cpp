#include "state/ChipInfo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/HeapProbe.h"

namespace {

using Lanko::IntfId;
using Oru::Central::ChipInfo;
using Oru::Central::DeviceId;
using Vunda::Duration;
using Vunda::String;

IntfId intfOf(String const& name) {
  IntfId intf;
  intf.handleInitialized(name);
  return intf;
}

ChipInfo fullInfo() {
  ChipInfo info(DeviceId(7), "Chip1");
  info.sliceNameIs("Slice2");
  info.intfIdIs(intfOf("Ethernet1"), true);
  info.intfIdIs(intfOf("Ethernet2"), true);
  info.genTimeIs(Duration(12.5));
  return info;
}

TEST(ChipInfo, KeepsWhatItWasGiven) {
  ChipInfo const info = fullInfo();
  EXPECT_EQ(info.deviceId(), DeviceId(7));
  EXPECT_EQ(info.name(), String("Chip1"));
  EXPECT_EQ(info.sliceName(), String("Slice2"));
  EXPECT_EQ(info.genTime(), Duration(12.5));
  EXPECT_EQ(info.intfId().size(), 2U);
  EXPECT_TRUE(info.intfId().value(intfOf("Ethernet1")));
  EXPECT_TRUE(info.intfId().value(intfOf("Ethernet2")));
}

TEST(ChipInfo, DefaultIsTheAbsentValue) {
  EXPECT_TRUE(ChipInfo().isEq(ChipInfo(DeviceId(64), "")));
  EXPECT_EQ(ChipInfo(), ChipInfo(DeviceId(64), ""));
}

TEST(ChipInfo, EqualityComparesEveryMember) {
  std::vector<std::function<void(ChipInfo&)>> const changes{
      [](ChipInfo& info) { info.sliceNameIs("Slice3"); },
      [](ChipInfo& info) { info.intfIdIs(intfOf("Ethernet3"), true); },
      [](ChipInfo& info) { info.intfIdIs(intfOf("Ethernet1"), false); },
      [](ChipInfo& info) { info.genTimeIs(Duration(std::nextafter(12.5, 13.0))); },
  };
  EXPECT_TRUE(fullInfo().isEq(fullInfo()));
  for (std::size_t i = 0; i < changes.size(); ++i) {
    ChipInfo changed = fullInfo();
    changes[i](changed);
    EXPECT_FALSE(changed.isEq(fullInfo())) << i;
    EXPECT_NE(changed, fullInfo()) << i;
  }
  EXPECT_FALSE(ChipInfo(DeviceId(1), "A").isEq(ChipInfo(DeviceId(2), "A")));
  EXPECT_FALSE(ChipInfo(DeviceId(1), "A").isEq(ChipInfo(DeviceId(1), "B")));
}

TEST(ChipInfo, AnythingSetMakesItDifferFromTheAbsentValue) {
  ChipInfo nullId(DeviceId(64), "");
  nullId.sliceNameIs("Slice1");
  EXPECT_FALSE(nullId.isEq(ChipInfo()));
}

TEST(ChipInfo, InterfacesCompareAsASet) {
  ChipInfo one(DeviceId(1), "A"), other(DeviceId(1), "A");
  one.intfIdIs(intfOf("Ethernet1"), true);
  one.intfIdIs(intfOf("Ethernet2"), true);
  other.intfIdIs(intfOf("Ethernet2"), true);
  other.intfIdIs(intfOf("Ethernet1"), true);
  EXPECT_TRUE(one.isEq(other));
}

TEST(ChipInfo, AGenerationThatIsNotANumberEqualsNothing) {
  ChipInfo info = fullInfo();
  info.genTimeIs(Duration(std::numeric_limits<double>::quiet_NaN()));
  ChipInfo const copy = info;
  EXPECT_FALSE(info.isEq(copy));
}

TEST(ChipInfo, TakesInterfacesWithoutAllocationOnceThereIsRoom) {
  std::vector<IntfId> intfs;
  for (int i = 0; i < 64; ++i) intfs.push_back(intfOf(String("Room" + std::to_string(i))));
  ChipInfo info = fullInfo();
  info.intfIdReserve(2 + 64);
  EXPECT_EQ(info, fullInfo());
  auto const before = OruTest::heapAllocations();
  for (IntfId intf : intfs) info.intfIdIs(intf, true);
  EXPECT_EQ(OruTest::heapAllocations(), before);
  EXPECT_EQ(info.intfId().size(), 2U + 64U);
}

TEST(ChipInfo, CopiesAreIndependent) {
  ChipInfo const original = fullInfo();
  ChipInfo copy = original;
  copy.intfIdIs(intfOf("Ethernet9"), true);
  EXPECT_EQ(original.intfId().size(), 2U);
  copy = original;
  EXPECT_EQ(copy, original);
}

}  // namespace
