#include "runtime/kesh/StateMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/runtime/kesh/SampleMachines.h"
#include "tests/support/CallbackSlot.h"
#include "tests/support/HeapProbe.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Kesh::Dir;
using OruTest::CallbackSlot;
using OruTest::ItemSm;
using OruTest::RootSm;
using OruTest::Story;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::makeNode;
using Vunda::Node;
using Vunda::Ptr;
using Vunda::String;

class StateMachineTest : public testing::Test {
 protected:
  Ptr<RootSm> makeRoot() { return RootSm::RootSmIs(story_, first_, second_); }
  std::vector<std::string> eventsOf(std::function<void()> const& action) {
    story_.events.clear();
    action();
    return story_.events;
  }
  static std::uint32_t subscribers(Ptr<Dir> const& dir) {
    return dir->publisher()->subscriberCount();
  }
  static bool isActive(Ptr<ItemSm> const& item) { return item && item->hasNotificationActive(); }
  void expectNothingLeft() {
    EXPECT_EQ(RootSm::typeInfo().liveCount(), 0U);
    EXPECT_EQ(ItemSm::typeInfo().liveCount(), 0U);
    EXPECT_EQ(subscribers(first_), 0U);
    EXPECT_EQ(subscribers(second_), 0U);
    EXPECT_EQ(first_->useCount(), 1U);
    EXPECT_EQ(second_->useCount(), 1U);
  }

  Story story_;
  Ptr<Dir> first_ = makeNode<Dir>("first");
  Ptr<Dir> second_ = makeNode<Dir>("second");
};

// --- creation -----------------------------------------------------------------------------------

TEST_F(StateMachineTest, CreationSubscribesRunsTheInitialHandlerAndSwitchesNotificationsOn) {
  std::vector<bool> subscribedAtStart;
  story_.onEvent = [&](std::string const& event) {
    if (event == "root initial") {
      subscribedAtStart = {subscribers(first_) == 1, subscribers(second_) == 1};
    }
  };
  auto const root = makeRoot();
  EXPECT_THAT(subscribedAtStart, ElementsAre(true, true));
  EXPECT_THAT(story_.events, ElementsAre("root initial", "single initial", "one initial",
                                         "two initial", "root initialized"));
  EXPECT_TRUE(root->hasNotificationActive());
  EXPECT_FALSE(root->zombieReactors());
  EXPECT_TRUE(isActive(root->single()));
  EXPECT_EQ(root->useCount(), 1U);
  EXPECT_EQ(subscribers(first_), 2U);
  EXPECT_EQ(subscribers(second_), 3U);
}

TEST_F(StateMachineTest, AParentIsToldBeforeItsChildren) {
  auto const root = makeRoot();
  EXPECT_THAT(eventsOf([&] { first_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("root first a", "single sees a"));
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "b"); }),
              ElementsAre("root second b", "one sees b", "two sees b"));
}

TEST_F(StateMachineTest, SubscribesInTheOrderOfDeclaration) {
  second_ = first_;
  auto const root = makeRoot();
  EXPECT_THAT(
      eventsOf([&] { first_->createEntity("Kesh::Dir", "a"); }),
      ElementsAre("root first a", "root second a", "single sees a", "one sees a", "two sees a"));
  root->hasNotificationActiveIs(false);
  root->hasNotificationActiveIs(true);
  EXPECT_THAT(
      eventsOf([&] { first_->createEntity("Kesh::Dir", "b"); }),
      ElementsAre("root first b", "root second b", "single sees b", "one sees b", "two sees b"));
}

TEST_F(StateMachineTest, ANullNodeIsNeverSubscribedTo) {
  auto const item = ItemSm::ItemSmIs(nullptr, story_, "item", nullptr);
  EXPECT_FALSE(item->subscribed());
  item->hasNotificationActiveIs(false);
  item->hasNotificationActiveIs(true);
  EXPECT_FALSE(item->subscribed());
  EXPECT_TRUE(item->hasNotificationActive());
}

TEST_F(StateMachineTest, AChangeDuringTheInitialHandlerReachesTheMachine) {
  story_.onEvent = [&](std::string const& event) {
    if (event == "root initial") first_->createEntity("Kesh::Dir", "early");
  };
  auto const root = makeRoot();
  EXPECT_EQ(story_.events[1], "root first early");
}

TEST_F(StateMachineTest, AConstructionThatThrowsAtAnyPointLeavesNothing) {
  for (char const* point :
       {"root initial", "single initial", "one initial", "two initial", "root initialized"}) {
    story_ = Story();
    story_.failAt = point;
    EXPECT_THROW(makeRoot(), std::runtime_error) << point;
    expectNothingLeft();
  }
}

TEST_F(StateMachineTest, AConstructionThatRunsOutOfMemoryAtAnyPointLeavesNothing) {
  makeRoot();  // The publishers keep the room that they once needed.
  Ptr<RootSm> root;
  std::size_t nth = 0;
  for (; !root; ++nth) {
    story_ = Story();
    auto const live = OruTest::heapLive();
    try {
      OruTest::FailingAllocation const failing(nth);
      root = makeRoot();
    } catch (std::bad_alloc const&) {
      story_ = Story();
      expectNothingLeft();
      ASSERT_EQ(OruTest::heapLive(), live) << nth;
    }
  }
  EXPECT_GT(nth, 10U);
  root = nullptr;
  expectNothingLeft();
}

TEST_F(StateMachineTest, AConstructionDuringUnwindingKeepsItsSubscriptions) {
  Ptr<ItemSm> item;
  struct Unwound {
    std::function<void()> action;
    ~Unwound() { action(); }
  };
  try {
    Unwound const unwound{[&] { item = ItemSm::ItemSmIs(nullptr, story_, "item", first_); }};
    throw std::runtime_error("unwinds");
  } catch (std::runtime_error const&) {
  }
  EXPECT_TRUE(item->subscribed());
}

// --- notifications
// --------------------------------------------------------------------------------

TEST_F(StateMachineTest, SwitchingNotificationsCascadesToSingleChildrenAndCollections) {
  auto const root = makeRoot();
  root->hasNotificationActiveIs(false);
  EXPECT_FALSE(root->hasNotificationActive());
  EXPECT_FALSE(isActive(root->single()));
  EXPECT_FALSE(isActive(root->items().child("two")));
  EXPECT_EQ(subscribers(first_) + subscribers(second_), 0U);
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "unseen"); }), IsEmpty());

  root->hasNotificationActiveIs(true);
  EXPECT_TRUE(isActive(root->items().child("one")));
  EXPECT_EQ(subscribers(first_), 2U);
  EXPECT_EQ(subscribers(second_), 3U);
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "seen"); }),
              ElementsAre("root second seen", "one sees seen", "two sees seen"))
      << "subscribed in the order of declaration and insertion";
}

TEST_F(StateMachineTest, SwitchingToWhatItIsChangesNothingEvenInTheChildren) {
  auto const root = makeRoot();
  root->single()->hasNotificationActiveIs(false);
  root->hasNotificationActiveIs(true);
  EXPECT_FALSE(isActive(root->single()));
}

TEST_F(StateMachineTest, SwitchingRestoresTheZombieFlagWhicheverItWas) {
  auto const root = makeRoot();
  root->keshDoZombieReactors(true);
  root->hasNotificationActiveIs(false);
  EXPECT_TRUE(root->zombieReactors());
  root->hasNotificationActiveIs(true);
  EXPECT_TRUE(root->zombieReactors());
  root->keshDoZombieReactors(false);
  root->hasNotificationActiveIs(false);
  EXPECT_FALSE(root->zombieReactors());
}

TEST_F(StateMachineTest, SwitchingSetsTheZombieFlagAsARawFlagWhileItLasts) {
  struct Overriding : ItemSm {
    using ItemSm::ItemSm;
    void keshDoZombieReactors(bool zombie) override {
      ++overridden;
      ItemSm::keshDoZombieReactors(zombie);
    }
    int overridden = 0;
  };
  auto const item = makeNode<Overriding>(nullptr, story_, "item", first_);
  item->hasNotificationActiveIs(true);
  item->hasNotificationActiveIs(false);
  EXPECT_EQ(item->overridden, 0);
}

// A machine with a child that looks back when it is switched.
struct Observed : Kesh::StateMachine<Observed> {
  static constexpr char const* typeName = "OruTest::Observed";
  struct Child : Node {
    void hasNotificationActiveIs(bool) {
      parentWasZombie = parent->zombieReactors();
      parentWasActive = parent->hasNotificationActive();
    }
    Observed* parent = nullptr;
    bool parentWasZombie = false, parentWasActive = false;
  };

  ~Observed() override {
    deactivate([] {});
  }
  auto watched() { return std::tie(); }
  auto children() { return std::tie(child); }

  Ptr<Child> child = makeNode<Child>();
};

TEST_F(StateMachineTest, TheMachineIsSwitchedAndAZombieWhileItsChildrenAreSwitched) {
  auto const machine = makeNode<Observed>();
  machine->child->parent = machine.ptr();
  for (bool const active : {true, false}) {
    machine->hasNotificationActiveIs(active);
    EXPECT_EQ(machine->child->parentWasActive, active);
    EXPECT_TRUE(machine->child->parentWasZombie);
    EXPECT_FALSE(machine->zombieReactors());
  }
}

// --- dispatch
// -------------------------------------------------------------------------------------

TEST_F(StateMachineTest, ADispatchServesItsOwnFieldOnly) {
  auto const item = ItemSm::ItemSmIs(nullptr, story_, "item", first_);
  String const name("a");
  EXPECT_THAT(
      eventsOf([&] { first_->publisher()->publishChange(Vunda::FieldId(265), &name, nullptr); }),
      IsEmpty());
  EXPECT_THAT(
      eventsOf([&] { first_->publisher()->publishChange(Vunda::FieldId(266), &name, nullptr); }),
      ElementsAre("item sees a"));
}

TEST_F(StateMachineTest, AZombieDoesNotReact) {
  auto const item = ItemSm::ItemSmIs(nullptr, story_, "item", first_);
  item->keshDoZombieReactors(true);
  EXPECT_THAT(eventsOf([&] { first_->createEntity("Kesh::Dir", "a"); }), IsEmpty());
  item->keshDoZombieReactors(false);
  EXPECT_THAT(eventsOf([&] { first_->createEntity("Kesh::Dir", "b"); }),
              ElementsAre("item sees b"));
}

TEST_F(StateMachineTest, AnInactiveMachineReactsWhileItIsSubscribed) {
  auto const item = makeNode<ItemSm>(nullptr, story_, "item", first_);
  EXPECT_FALSE(item->hasNotificationActive());
  EXPECT_THAT(eventsOf([&] { first_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("item sees a"));
}

TEST_F(StateMachineTest, ADispatchToZombiesReactsInAZombieToo) {
  auto const root = makeRoot();
  root->keshDoZombieReactors(true);
  EXPECT_THAT(eventsOf([&] { first_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("single sees a"));
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "b"); }),
              ElementsAre("root second b", "one sees b", "two sees b"));
}

TEST_F(StateMachineTest, ADispatchToZombiesServesItsOwnFieldOnlyToo) {
  auto const root = makeRoot();
  String const name("a");
  EXPECT_THAT(
      eventsOf([&] { second_->publisher()->publishChange(Vunda::FieldId(265), &name, nullptr); }),
      IsEmpty());
}

TEST_F(StateMachineTest, LivesUntilItsRunningHandlerReturnsAndItsParentsToo) {
  auto root = makeRoot();
  std::size_t rootsThen = 0, itemsThen = 0;
  story_.onEvent = [&](std::string const& event) {
    if (event != "one sees a") return;
    root = nullptr;
    rootsThen = RootSm::typeInfo().liveCount();
    itemsThen = ItemSm::typeInfo().liveCount();
  };
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("root second a", "one sees a", "root destroyed", "single destroyed",
                          "one destroyed", "two destroyed"));
  EXPECT_EQ(rootsThen, 1U);
  EXPECT_EQ(itemsThen, 3U);
  story_.onEvent = nullptr;
  first_->deleteEntity("a");
  expectNothingLeft();
}

TEST_F(StateMachineTest, AChildThatItsOwnHandlerRemovesIsReleasedWhenTheHandlerReturns) {
  auto const root = makeRoot();
  std::size_t itemsThen = 0;
  story_.onEvent = [&](std::string const& event) {
    if (event != "one sees a") return;
    root->items().childDel("one");
    itemsThen = ItemSm::typeInfo().liveCount();
  };
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("root second a", "one sees a", "one destroyed", "two sees a"));
  EXPECT_EQ(itemsThen, 3U);
  EXPECT_EQ(root->useCount(), 1U);
}

TEST_F(StateMachineTest, AMachineRemovedDuringADeliveryIsNotCalled) {
  auto const root = makeRoot();
  story_.onEvent = [&](std::string const& event) {
    if (event == "one sees a") root->items().childDel("two");
  };
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("root second a", "one sees a", "two destroyed"));
}

TEST_F(StateMachineTest, AMachineAddedDuringADeliveryIsNotCalledForThatChange) {
  auto const root = makeRoot();
  story_.onEvent = [&](std::string const& event) {
    if (event == "one sees a") root->itemIs("three", second_);
  };
  EXPECT_THAT(eventsOf([&] { second_->createEntity("Kesh::Dir", "a"); }),
              ElementsAre("root second a", "one sees a", "three initial", "two sees a"));
}

using StateMachineDeathTest = StateMachineTest;

TEST_F(StateMachineDeathTest, AnExceptionThatEscapesAHandlerInADispatchEndsTheProcess) {
  auto const item = ItemSm::ItemSmIs(nullptr, story_, "item", first_);
  story_.failAt = "item sees a";
  EXPECT_EXIT(first_->createEntity("Kesh::Dir", "a"), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(StateMachineDeathTest, AnExceptionThatEscapesTheFarewellEndsTheProcess) {
  auto item = ItemSm::ItemSmIs(nullptr, story_, "item", first_);
  EXPECT_EXIT(
      {
        story_.failAt = "item destroyed";
        item = nullptr;
      },
      testing::KilledBySignal(SIGABRT), "");
}

// --- destruction
// ----------------------------------------------------------------------------------

TEST_F(StateMachineTest, DestructionSwitchesOffTellsAndThenIsAZombie) {
  auto root = makeRoot();
  bool active = true, zombie = true;
  RootSm* const raw = root.ptr();
  std::uint32_t count = 99;
  story_.onEvent = [&](std::string const& event) {
    if (event != "root destroyed") return;
    active = raw->hasNotificationActive() || raw->single()->hasNotificationActive();
    zombie = raw->zombieReactors();
    count = raw->useCount();
    first_->createEntity("Kesh::Dir", "during");
  };
  EXPECT_THAT(eventsOf([&] { root = nullptr; }),
              ElementsAre("root destroyed", "single destroyed", "one destroyed", "two destroyed"))
      << "changes made meanwhile reach nobody; children go in their order";
  EXPECT_FALSE(active);
  EXPECT_FALSE(zombie);
  EXPECT_EQ(count, 0U);
  expectNothingLeft();
}

TEST_F(StateMachineTest, AMachineIsAZombieWhileItsChildrenGo) {
  auto root = makeRoot();
  RootSm* const raw = root.ptr();
  std::vector<bool> zombie;
  story_.onEvent = [&](std::string const& event) {
    if (event == "single destroyed" || event == "two destroyed")
      zombie.push_back(raw->zombieReactors());
  };
  root = nullptr;
  EXPECT_THAT(zombie, ElementsAre(true, true));
}

TEST_F(StateMachineTest, ADispatchDoesNothingOnceTheMachineIsBeingDestroyed) {
  // It is still subscribed when its destructor changes what it watches.
  struct Reviving : ItemSm {
    Reviving(Story& story, Ptr<Dir> const& dir)
        : ItemSm(nullptr, story, "reviving", dir), dir_(dir) {}
    ~Reviving() override { dir_->createEntity("Kesh::Dir", "late"); }
    Ptr<Dir> dir_;
  };
  auto machine = makeNode<Reviving>(story_, first_);
  EXPECT_TRUE(machine->subscribed());
  EXPECT_THAT(eventsOf([&] { machine = nullptr; }), ElementsAre("reviving destroyed"));
}

#if defined(__x86_64__)
TEST_F(StateMachineTest, OperationsStandInTheirSlots) {
  using OruTest::slotOf;
  EXPECT_EQ(slotOf(&RootSm::lastUserGone), 2U);
  EXPECT_EQ(slotOf(&RootSm::publisher), 3U);
  EXPECT_EQ(slotOf(&RootSm::typeData), 4U);
  EXPECT_EQ(slotOf(&RootSm::keshDoZombieReactors), 5U);
}
#endif

TEST_F(StateMachineTest, UseCountsAreWhatOwnershipSays) {
  auto const root = makeRoot();
  EXPECT_EQ(root->useCount(), 1U);
  EXPECT_EQ(root->single()->useCount(), 1U);
  EXPECT_EQ(first_->useCount(), 1U + 2U);
  EXPECT_EQ(second_->useCount(), 1U + 3U);
}

}  // namespace
