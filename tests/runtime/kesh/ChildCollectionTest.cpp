#include "runtime/kesh/ChildCollection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "runtime/kesh/Dir.h"
#include "tests/runtime/kesh/SampleMachines.h"

namespace {

using Kesh::Dir;
using OruTest::ItemSm;
using OruTest::RootSm;
using OruTest::Story;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

// A root whose items the test makes.
class ChildCollectionTest : public testing::Test {
 protected:
  ChildCollectionTest() {
    root_->items().childDelAll();
    story_.events.clear();
  }
  ~ChildCollectionTest() override { story_.onEvent = nullptr; }

  RootSm::Items& items() { return root_->items(); }
  void onEvent(std::string const& wanted, std::function<void()> const& action) {
    story_.onEvent = [wanted, action](std::string const& event) {
      if (event == wanted) action();
    };
  }

  Story story_;
  Ptr<Dir> dir_ = makeNode<Dir>("dir");
  Ptr<RootSm> root_ = RootSm::RootSmIs(story_, nullptr, nullptr);
};

TEST_F(ChildCollectionTest, HandsOutItsChildrenByKey) {
  auto const item = root_->itemIs("a", dir_);
  EXPECT_EQ(items().child("a"), item);
  EXPECT_EQ(items().child("b"), nullptr);
  EXPECT_EQ(items().size(), 1U);
  EXPECT_EQ(items().iterator().key(), String("a"));
  EXPECT_EQ(item->useCount(), 2U);
}

TEST_F(ChildCollectionTest, TheSameArgumentsGiveTheExistingChild) {
  auto const item = root_->itemIs("a", dir_);
  story_.events.clear();
  EXPECT_EQ(root_->itemIs("a", dir_), item);
  EXPECT_THAT(story_.events, IsEmpty());
}

TEST_F(ChildCollectionTest, OtherArgumentsRaiseTheReinstantiationExceptionAndChangeNothing) {
  auto const item = root_->itemIs("a", dir_);
  try {
    root_->itemIs("a", makeNode<Dir>("other"));
    FAIL();
  } catch (Kesh::MutatorReinstantiatingException const& raised) {
    EXPECT_THAT(raised.what(),
                testing::MatchesRegex("OruTest::RootSm: re-instantiated with another dir: existing "
                                      "Kesh::Dir \"dir\" at .*, given Kesh::Dir \"other\" at .*"));
  }
  EXPECT_EQ(items().child("a"), item);
}

TEST_F(ChildCollectionTest, ArgumentsAreComparedNodesByIdentityAndTextsByContent) {
  auto const twin = makeNode<Dir>("dir");
  Ptr<Kesh::Entity> const same = dir_;
  EXPECT_NO_THROW(Kesh::sameArgument("T", "a", dir_, same));
  EXPECT_THROW(Kesh::sameArgument("T", "a", dir_, twin), Kesh::MutatorReinstantiatingException);
  EXPECT_NO_THROW(Kesh::sameArgument("T", "a", Ptr<Dir>(), Ptr<Dir>()));
  EXPECT_THROW(Kesh::sameArgument("T", "a", dir_, Ptr<Dir>()),
               Kesh::MutatorReinstantiatingException);
  EXPECT_NO_THROW(Kesh::sameArgument("T", "a", String("x"), String("x")));
  EXPECT_THROW(Kesh::sameArgument("T", "a", String("x"), String("y")),
               Kesh::MutatorReinstantiatingException);
}

TEST_F(ChildCollectionTest, InsertsUnderACopyOfTheKey) {
  {
    String name("temporary name that goes");
    root_->itemIs(name, dir_);
    name = "another";
  }
  EXPECT_TRUE(items().child("temporary name that goes"));
}

TEST_F(ChildCollectionTest, RemovalReturnsTheChild) {
  root_->itemIs("a", dir_);
  {
    auto const removed = items().childDel("a");
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->useCount(), 1U);
    EXPECT_EQ(items().size(), 0U);
  }
  EXPECT_EQ(story_.events.back(), "a destroyed");
  EXPECT_EQ(items().childDel("a"), nullptr);
}

TEST_F(ChildCollectionTest, VisitsEachChildThatIsStillThereWhenItsTurnComes) {
  for (char const* name : {"a", "b", "c"}) root_->itemIs(name, dir_);
  std::vector<std::string> visited;
  items().forEach([&](ItemSm& item) {
    visited.emplace_back(item.name().data());
    if (item.name() == String("a")) {
      items().childDel("a");
      items().childDel("b");
      root_->itemIs("d", dir_);
      EXPECT_EQ(item.useCount(), 1U) << "kept alive for its turn";
    }
  });
  EXPECT_THAT(visited, ElementsAre("a", "c", "d"));
}

TEST_F(ChildCollectionTest, RemovingAllGoesOneByOneAndEachMayLookAtTheRest) {
  for (char const* name : {"a", "b", "c"}) root_->itemIs(name, dir_);
  std::vector<std::uint32_t> sizes;
  story_.onEvent = [&](std::string const&) {
    sizes.push_back(items().size());
    EXPECT_EQ(items().child("a"), nullptr);
  };
  items().childDelAll();
  EXPECT_THAT(sizes, ElementsAre(2U, 1U, 0U));
}

// --- construction
// ---------------------------------------------------------------------------------

TEST_F(ChildCollectionTest, AChildUnderConstructionIsNotBuiltTwice) {
  Ptr<ItemSm> nested = root_->single();
  onEvent("a initial", [&] { nested = root_->itemIs("a", dir_); });
  auto const item = root_->itemIs("a", dir_);
  EXPECT_EQ(nested, nullptr);
  EXPECT_EQ(items().child("a"), item);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "root disturbed"));
}

TEST_F(ChildCollectionTest, RemovingAChildUnderConstructionDisturbsItsConstruction) {
  onEvent("a initial", [&] { EXPECT_EQ(items().childDel("a"), nullptr); });
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "root disturbed"));
}

TEST_F(ChildCollectionTest, RemovingAnotherChildDisturbsNoConstruction) {
  root_->itemIs("b", dir_);
  story_.events.clear();
  onEvent("a initial", [&] { EXPECT_TRUE(items().childDel("b")); });
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "b destroyed"));
}

TEST_F(ChildCollectionTest, RemovingAllDisturbsEveryConstruction) {
  story_.onEvent = [this](std::string const& event) {
    if (event == "a initial") root_->itemIs("b", dir_);
    if (event == "b initial") items().childDelAll();
  };
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events,
              ElementsAre("a initial", "b initial", "root disturbed", "root disturbed"));
}

TEST_F(ChildCollectionTest, APassOverTheChildrenDisturbsEveryConstruction) {
  onEvent("a initial", [&] { items().disturbConstructions(); });
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "root disturbed"));
}

TEST_F(ChildCollectionTest, OtherKeysMayBeBuiltDuringAConstructionAndDoNotDisturbIt) {
  onEvent("a initial", [&] {
    root_->itemIs("b", dir_);
    EXPECT_FALSE(items().underConstruction("b"));
  });
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "b initial"));
  EXPECT_EQ(items().iterator().key(), String("b")) << "it stood first";
}

TEST_F(ChildCollectionTest, AnOuterConstructionIsDisturbedFromWithinAnInnerOne) {
  story_.onEvent = [this](std::string const& event) {
    if (event == "a initial") root_->itemIs("b", dir_);
    if (event == "b initial") {
      EXPECT_EQ(root_->itemIs("a", dir_), nullptr);
    }
  };
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "b initial", "root disturbed"));
  EXPECT_TRUE(items().child("a"));
  EXPECT_TRUE(items().child("b"));
}

TEST_F(ChildCollectionTest, AnOuterConstructionIsStillKnownAfterAnInnerOneEnded) {
  onEvent("a initial", [&] {
    root_->itemIs("b", dir_);
    EXPECT_EQ(root_->itemIs("a", dir_), nullptr);
  });
  root_->itemIs("a", dir_);
  EXPECT_THAT(story_.events, ElementsAre("a initial", "b initial", "root disturbed"));
}

TEST_F(ChildCollectionTest, AConstructionKeepsItsKeyWhateverBecomesOfTheCallers) {
  String name("a");
  onEvent("a initial", [&] { name = "b"; });
  root_->itemIs(name, dir_);
  EXPECT_TRUE(items().child("a"));
  EXPECT_FALSE(items().child("b"));
}

TEST_F(ChildCollectionTest, AConstructionThatThrowsLeavesNothingAndMayBeTriedAgain) {
  story_.failAt = "a initial";
  EXPECT_THROW(root_->itemIs("a", dir_), std::runtime_error);
  EXPECT_EQ(items().size(), 0U);
  EXPECT_FALSE(items().underConstruction("a"));
  EXPECT_EQ(dir_->publisher()->subscriberCount(), 0U);
  EXPECT_EQ(dir_->useCount(), 1U);
  story_.failAt.clear();
  EXPECT_TRUE(root_->itemIs("a", dir_));
}

// --- the end
// --------------------------------------------------------------------------------------

TEST_F(ChildCollectionTest, ChildrenOfAParentWhoseConstructionFailedMayLookAtTheCollection) {
  root_ = nullptr;
  int looked = 0;
  struct Failing : Vunda::Node {
    struct Child : Vunda::Node {
      explicit Child(std::function<void()> action) : atEnd(std::move(action)) {}
      ~Child() override { atEnd(); }
      std::function<void()> atEnd;
    };
    struct HN_Child;
    explicit Failing(int& looked) {
      for (unsigned key : {1U, 2U}) {
        children.newChild(key, [&, key] {
          return makeNode<Child>([this, key, &looked] {
            ++looked;
            EXPECT_EQ(children.child(key), nullptr);
          });
        });
      }
      throw std::runtime_error("late");
    }
    Kesh::ChildCollection<HN_Child, unsigned, Child> children;
  };
  EXPECT_THROW(makeNode<Failing>(looked), std::runtime_error);
  EXPECT_EQ(looked, 2);
}

using ChildCollectionDeathTest = ChildCollectionTest;

TEST_F(ChildCollectionDeathTest, AChildCannotOutliveItsParent) {
  auto const held = root_->itemIs("a", dir_);
  EXPECT_DEATH(root_ = nullptr, "Assertion `child->useCount\\(\\) == 1' failed");
  items().childDel("a");
}

}  // namespace
