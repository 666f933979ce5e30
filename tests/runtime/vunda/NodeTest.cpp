#include "runtime/vunda/Node.h"

#include <gtest/gtest.h>

#include <functional>

#include "runtime/vunda/Ptr.h"
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/ThreadSafeMode.h"

namespace {

using OruTest::Sample;
using Vunda::Node;
using Vunda::Ptr;

static_assert(sizeof(Node) == 16);
static_assert(Node::notificationActiveFlag == 0x20000000);
static_assert(Node::zombieReactorsFlag == 0x40000000);
static_assert(Node::useCountMask == 0x1fffffff);

// Runs `atEnd` from its destructor.
struct Ending : Node {
  explicit Ending(std::function<void(Ending&)> action) : atEnd(std::move(action)) {}
  ~Ending() override { atEnd(*this); }
  std::function<void(Ending&)> atEnd;
};

// Everything that holds whether use counts are plain or atomic.
class NodeInBothModes : public testing::TestWithParam<bool> {
 private:
  OruTest::ThreadSafeMode const mode_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Node, NodeInBothModes, testing::Bool(),
                         [](auto const& mode) { return mode.param ? "Atomic" : "Plain"; });

TEST_P(NodeInBothModes, IsBornWithOneUserAndNoFlag) {
  Sample const node;
  EXPECT_EQ(node.useCount(), 1U);
  EXPECT_FALSE(node.nodeFlag(Node::notificationActiveFlag));
  EXPECT_FALSE(node.nodeFlag(Node::zombieReactorsFlag));
}

TEST_P(NodeInBothModes, CountsItsUsers) {
  Sample const node;
  node.incUse();
  node.incUse();
  EXPECT_EQ(node.useCount(), 3U);
  node.decUseImpl();
  EXPECT_EQ(node.useCount(), 2U);
}

TEST_P(NodeInBothModes, IsDestroyedWithItsLastUserAndNotBefore) {
  bool gone = false;
  Sample* const node = new Sample(&gone);
  node->incUse();
  node->decUseImpl();
  EXPECT_FALSE(gone);
  node->decUseImpl();
  EXPECT_TRUE(gone);
}

TEST_P(NodeInBothModes, FlagsDisturbNeitherTheCountNorEachOther) {
  Sample node;
  node.incUse();
  node.nodeFlagSet(Node::zombieReactorsFlag, true);
  node.nodeFlagSet(Node::zombieReactorsFlag, true);
  EXPECT_TRUE(node.nodeFlag(Node::zombieReactorsFlag));
  EXPECT_FALSE(node.nodeFlag(Node::notificationActiveFlag));
  EXPECT_EQ(node.useCount(), 2U);

  node.nodeFlagSet(Node::notificationActiveFlag, true);
  node.nodeFlagSet(Node::zombieReactorsFlag, false);
  node.nodeFlagSet(Node::zombieReactorsFlag, false);
  EXPECT_FALSE(node.nodeFlag(Node::zombieReactorsFlag));
  EXPECT_TRUE(node.nodeFlag(Node::notificationActiveFlag));
  EXPECT_EQ(node.useCount(), 2U);
}

TEST_P(NodeInBothModes, FlagsAreNotUsers) {
  bool gone = false;
  Sample* const node = new Sample(&gone);
  node->nodeFlagSet(Node::notificationActiveFlag, true);
  node->nodeFlagSet(Node::zombieReactorsFlag, true);
  node->decUseImpl();
  EXPECT_TRUE(gone);
}

TEST_P(NodeInBothModes, CountIsZeroInTheDestructorWhateverTheFlags) {
  std::uint32_t count = 99;
  bool flag = false;
  auto const node = Vunda::makeNode<Ending>([&](Ending& self) {
    count = self.useCount();
    flag = self.nodeFlag(Node::zombieReactorsFlag);
  });
  node->nodeFlagSet(Node::zombieReactorsFlag, true);
  const_cast<Ptr<Ending>&>(node) = nullptr;
  EXPECT_EQ(count, 0U);
  EXPECT_TRUE(flag);
}

TEST(Node, LastUserGoneMayKeepTheNode) {
  struct Kept : Node {
    void lastUserGone() override { ++timesLeft; }
    int timesLeft = 0;
  } node;
  node.decUseImpl();
  EXPECT_EQ(node.timesLeft, 1);
  EXPECT_EQ(node.useCount(), 0U);
}

TEST(Node, AnnouncesNothingByDefault) {
  struct Plain : Node {
  } const node;
  EXPECT_EQ(node.publisher(), nullptr);
  EXPECT_STREQ(node.typeData()->name, "Vunda::Node");
}

}  // namespace
