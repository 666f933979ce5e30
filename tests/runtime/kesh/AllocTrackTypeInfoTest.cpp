#include "runtime/kesh/AllocTrackTypeInfo.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "runtime/vunda/Ptr.h"
#include "tests/support/HeapProbe.h"

namespace {

using Kesh::AllocTrackTypeInfo;
using Vunda::makeNode;
using Vunda::Node;
using Vunda::Ptr;

struct Small : Kesh::Typed<Small, Node> {
  static constexpr char const* typeName = "OruTest::Small";
  explicit Small(bool fails = false) {
    if (fails) throw std::runtime_error("no");
  }
};
struct Derived : Small {
  char more[100] = {};
};
struct NeverUsed : Kesh::Typed<NeverUsed, Node> {
  static constexpr char const* typeName = "OruTest::NeverUsed";
};
struct UsedOnce : Kesh::Typed<UsedOnce, Node> {
  static constexpr char const* typeName = "OruTest::UsedOnce";
};

int timesListed(AllocTrackTypeInfo const& wanted) {
  int times = 0;
  for (auto const* type = AllocTrackTypeInfo::first(); type; type = type->next())
    times += type == &wanted;
  return times;
}

TEST(AllocTrackTypeInfo, CountsTheObjectsAndBytesThatLive) {
  auto const& type = Small::typeInfo();
  auto const total = AllocTrackTypeInfo::totalLiveCount();
  {
    auto const first = makeNode<Small>();
    auto const second = makeNode<Small>();
    EXPECT_EQ(type.liveCount(), 2U);
    EXPECT_EQ(type.liveBytes(), 2 * sizeof(Small));
    EXPECT_EQ(AllocTrackTypeInfo::totalLiveCount(), total + 2);
  }
  EXPECT_EQ(type.liveCount(), 0U);
  EXPECT_EQ(type.liveBytes(), 0U);
  EXPECT_EQ(AllocTrackTypeInfo::totalLiveCount(), total);
}

TEST(AllocTrackTypeInfo, CountsADerivedObjectWithItsWholeSize) {
  Ptr<Node> node = makeNode<Derived>();
  EXPECT_EQ(Small::typeInfo().liveCount(), 1U);
  EXPECT_EQ(Small::typeInfo().liveBytes(), sizeof(Derived));
  node = nullptr;
  EXPECT_EQ(Small::typeInfo().liveBytes(), 0U);
}

TEST(AllocTrackTypeInfo, IsTheTypeDataOfItsNodes) {
  auto const node = makeNode<Small>();
  EXPECT_EQ(node->typeData(), &Small::typeInfo());
  EXPECT_STREQ(node->typeData()->name, "OruTest::Small");
}

TEST(AllocTrackTypeInfo, AConstructorThatThrowsLeavesNothingTracked) {
  auto const live = OruTest::heapLive();
  try {
    makeNode<Small>(true);
    FAIL();
  } catch (std::runtime_error const&) {
    EXPECT_EQ(Small::typeInfo().liveCount(), 0U);
    EXPECT_EQ(Small::typeInfo().liveBytes(), 0U);
  }
  EXPECT_EQ(OruTest::heapLive(), live);
}

TEST(AllocTrackTypeInfo, AnAllocationThatFailsIsNotTracked) {
  OruTest::FailingAllocation const failing(0);
  EXPECT_THROW(makeNode<Small>(), std::bad_alloc);
  EXPECT_EQ(Small::typeInfo().liveCount(), 0U);
}

TEST(AllocTrackTypeInfo, IsListedFromItsFirstAllocationOnAndOnce) {
  EXPECT_EQ(timesListed(NeverUsed::typeInfo()), 0);
  makeNode<UsedOnce>();
  EXPECT_EQ(AllocTrackTypeInfo::first(), &UsedOnce::typeInfo()) << "newest first";
  makeNode<UsedOnce>();
  makeNode<Small>();
  EXPECT_EQ(timesListed(UsedOnce::typeInfo()), 1);
  EXPECT_EQ(timesListed(Small::typeInfo()), 1);
}

TEST(AllocTrackTypeInfo, TracksWhatItIsTold) {
  static AllocTrackTypeInfo type("OruTest::Told");
  AllocTrackTypeInfo::_trackAllocation(type, 96, 3);
  EXPECT_EQ(type.liveCount(), 3U);
  EXPECT_EQ(type.liveBytes(), 96U);
  AllocTrackTypeInfo::trackDeallocation(type, 32, 1);
  EXPECT_EQ(type.liveCount(), 2U);
  EXPECT_EQ(type.liveBytes(), 64U);
  AllocTrackTypeInfo::trackDeallocation(type, 64, 2);
}

}  // namespace
