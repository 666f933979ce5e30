#include "runtime/vunda/Ptr.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/MovedOut.h"

namespace {

using OruTest::Announcer;
using OruTest::movedOut;
using OruTest::Sample;
using Vunda::makeNode;
using Vunda::Node;
using Vunda::Ptr;
using Vunda::ptrCast;

static_assert(sizeof(Ptr<Node>) == sizeof(void*));
static_assert(std::is_nothrow_move_constructible_v<Ptr<Node>>);
static_assert(!std::is_convertible_v<Node*, Ptr<Node>>);
static_assert(!std::is_convertible_v<Ptr<Node>, Ptr<Sample>>);
static_assert(std::is_convertible_v<Ptr<Sample>, Ptr<Node const>>);

TEST(Ptr, NullIsAValueLikeAnyOther) {
  Ptr<Sample> const null;
  Ptr<Sample> copy = null;
  copy = null;
  copy = nullptr;
  Ptr<Node> const converted = copy;
  EXPECT_FALSE(null);
  EXPECT_EQ(copy.ptr(), nullptr);
  EXPECT_EQ(converted, null);
  EXPECT_EQ(null, nullptr);
  EXPECT_EQ(ptrCast<Announcer>(null), nullptr);
}

TEST(Ptr, MakeNodeAdoptsTheCountTheNodeWasBornWith) {
  auto const node = makeNode<Sample>();
  EXPECT_EQ(node->useCount(), 1U);
}

TEST(Ptr, ACopyIsOneMoreUser) {
  auto const node = makeNode<Sample>();
  {
    Ptr<Sample> const copy = node;
    Ptr<Node> const base = node;
    Ptr<Sample> const fromRaw(node.ptr());
    EXPECT_EQ(node->useCount(), 4U);
    EXPECT_EQ(copy, node);
    EXPECT_EQ(base, node);
    EXPECT_EQ(fromRaw, node);
  }
  EXPECT_EQ(node->useCount(), 1U);
}

TEST(Ptr, AMoveIsNoUserAndLeavesNull) {
  auto node = makeNode<Sample>();
  Ptr<Sample> moved = movedOut(node);
  EXPECT_EQ(node, nullptr);
  Ptr<Node> const converted = movedOut(moved);
  EXPECT_EQ(moved, nullptr);
  EXPECT_EQ(converted->useCount(), 1U);
}

TEST(Ptr, DestructionAndReassignmentRelease) {
  bool firstGone = false;
  bool secondGone = false;
  {
    auto node = makeNode<Sample>(&firstGone);
    node = makeNode<Sample>(&secondGone);
    EXPECT_TRUE(firstGone);
    EXPECT_FALSE(secondGone);
  }
  EXPECT_TRUE(secondGone);
}

TEST(Ptr, AssignmentToItselfChangesNothing) {
  auto node = makeNode<Sample>();
  auto const& same = node;
  node = same;
  EXPECT_EQ(node->useCount(), 1U);
}

TEST(Ptr, AssignmentStoresTheNewPointerBeforeItReleasesTheOldOne) {
  struct Looking : Node {
    explicit Looking(Ptr<Node> const& slot, Node const*& seen) : slot_(slot), seen_(seen) {}
    ~Looking() override { seen_ = slot_.ptr(); }
    Ptr<Node> const& slot_;
    Node const*& seen_;
  };
  Node const* seen = nullptr;
  Ptr<Node> slot;
  slot = makeNode<Looking>(slot, seen);
  auto const next = makeNode<Sample>();
  slot = next;
  EXPECT_EQ(seen, next.ptr());
}

TEST(Ptr, AssignmentSurvivesTheReleaseOfTheOwnerOfTheNewPointer) {
  struct Link : Node {
    Ptr<Link> next;
  };
  auto head = makeNode<Link>();
  head->next = makeNode<Link>();
  Link const* const second = head->next.ptr();
  head = head->next;
  EXPECT_EQ(head.ptr(), second);
  EXPECT_EQ(head->useCount(), 1U);
}

TEST(Ptr, ReleaseGivesTheCountAwayAndAdoptTakesIt) {
  auto node = makeNode<Sample>();
  Sample* const raw = node.release();
  EXPECT_EQ(node, nullptr);
  EXPECT_EQ(raw->useCount(), 1U);
  EXPECT_EQ(Ptr<Sample>::adopt(raw)->useCount(), 1U);
}

TEST(Ptr, PointersToTheSameNodeAreEqual) {
  auto const node = makeNode<Sample>();
  auto const other = makeNode<Sample>();
  EXPECT_TRUE(node == Ptr<Node const>(node));
  EXPECT_FALSE(node == other);
  EXPECT_TRUE(node != nullptr);
}

TEST(Ptr, CastGivesTheNodeAsItsType) {
  Ptr<Node> const node = makeNode<Announcer>();
  Ptr<Announcer> const cast = ptrCast<Announcer>(node);
  EXPECT_EQ(cast, node);
  EXPECT_EQ(node->useCount(), 2U);
}

TEST(Ptr, CastToAnotherTypeIsNullAndHoldsNothing) {
  Ptr<Node> const node = makeNode<Sample>();
  EXPECT_EQ(ptrCast<Announcer>(node), nullptr);
  EXPECT_EQ(node->useCount(), 1U);
}

TEST(Ptr, CastOfATemporaryHandsItsCountOver) {
  Ptr<Node> node = makeNode<Announcer>();
  Ptr<Announcer> const cast = ptrCast<Announcer>(movedOut(node));
  EXPECT_EQ(node, nullptr);
  EXPECT_EQ(cast->useCount(), 1U);
}

TEST(Ptr, FailedCastOfATemporaryReleasesIt) {
  bool gone = false;
  EXPECT_EQ(ptrCast<Announcer>(Ptr<Node>(makeNode<Sample>(&gone))), nullptr);
  EXPECT_TRUE(gone);
}

TEST(Ptr, MakeNodeOfAConstructorThatThrowsLeavesNothing) {
  struct Failing : Sample {
    explicit Failing(bool* gone) : Sample(gone) { throw std::runtime_error("no"); }
  };
  bool gone = false;
  EXPECT_THROW(makeNode<Failing>(&gone), std::runtime_error);
  EXPECT_TRUE(gone);
}

}  // namespace
