#include "runtime/kesh/KeepAlive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/vunda/Ptr.h"

namespace {

using Kesh::KeepAlive;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::makeNode;
using Vunda::Ptr;

std::vector<std::string> ends;

struct Grandparent : Vunda::Node {
  ~Grandparent() override { ends.emplace_back("grandparent"); }
};
struct Parent : Vunda::Node {
  explicit Parent(Grandparent* of) : above(of) {}
  ~Parent() override { ends.emplace_back("parent"); }
  Grandparent* parentSm() const { return above; }
  Grandparent* above;
};
struct Child : Vunda::Node {
  explicit Child(Parent* of) : above(of) {}
  ~Child() override { ends.emplace_back("child"); }
  Parent* parentSm() const { return above; }
  Parent* above;
};

class KeepAliveTest : public testing::Test {
 protected:
  KeepAliveTest() { ends.clear(); }
};

TEST_F(KeepAliveTest, KeepsAMachineAndItsParentsAndReleasesTheChildFirst) {
  auto grandparent = makeNode<Grandparent>();
  auto parent = makeNode<Parent>(grandparent.ptr());
  auto child = makeNode<Child>(parent.ptr());
  {
    KeepAlive<Child> const keepAlive(*child);
    EXPECT_EQ(child->useCount(), 2U);
    EXPECT_EQ(parent->useCount(), 2U);
    EXPECT_EQ(grandparent->useCount(), 2U);
    grandparent = nullptr;
    parent = nullptr;
    child = nullptr;
    EXPECT_THAT(ends, IsEmpty());
  }
  EXPECT_THAT(ends, ElementsAre("child", "parent", "grandparent"));
}

TEST_F(KeepAliveTest, AMachineMayHaveNoParent) {
  auto const root = makeNode<Grandparent>();
  auto const orphan = makeNode<Child>(nullptr);
  {
    KeepAlive<Grandparent> const keepRoot(*root);
    KeepAlive<Child> const keepOrphan(*orphan);
    EXPECT_EQ(root->useCount(), 2U);
    EXPECT_EQ(orphan->useCount(), 2U);
  }
  EXPECT_EQ(orphan->useCount(), 1U);
}

TEST_F(KeepAliveTest, CountsNothingOnceTheCountIsZeroButKeepsTheParent) {
  struct Ending : Child {
    using Child::Child;
    ~Ending() override {
      KeepAlive<Child> const keepAlive(*this);
      EXPECT_EQ(useCount(), 0U);
      EXPECT_EQ(above->useCount(), 2U);
    }
  };
  auto const parent = makeNode<Parent>(nullptr);
  auto ending = makeNode<Ending>(parent.ptr());
  ending = nullptr;
  EXPECT_THAT(ends, ElementsAre("child"));
  EXPECT_EQ(parent->useCount(), 1U);
}

TEST_F(KeepAliveTest, CountsNothingForARootThatIsBeingDestroyed) {
  struct Ending : Grandparent {
    ~Ending() override {
      KeepAlive<Grandparent> const keepAlive(*this);
      EXPECT_EQ(useCount(), 0U);
    }
  };
  makeNode<Ending>();
  EXPECT_THAT(ends, ElementsAre("grandparent"));
}

TEST_F(KeepAliveTest, LeavesAParentAloneThatIsBeingDestroyed) {
  struct EndingParent : Parent {
    EndingParent() : Parent(nullptr) {}
    ~EndingParent() override { KeepAlive<Child> const keepAlive(*child); }
    Ptr<Child> child = makeNode<Child>(this);
  };
  makeNode<EndingParent>();
  EXPECT_THAT(ends, ElementsAre("child", "parent"));
}

}  // namespace
