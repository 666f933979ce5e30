#include "runtime/vunda/Subscriber.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/CallbackSlot.h"

namespace {

using OruTest::Announcer;
using OruTest::CallbackSlot;
using OruTest::Sample;
using Vunda::makeNode;
using Vunda::Subscriber;
using Vunda::SubscriberScopeGuard;

static_assert(sizeof(Subscriber) == sizeof(void*));

void ignore(Vunda::Publisher*, Subscriber*, Vunda::FieldId, void const*, void const*) noexcept {}

TEST(Subscriber, IsFreeUntilItIsSubscribed) {
  auto const node = makeNode<Announcer>();
  Subscriber slot;
  EXPECT_FALSE(slot.subscribed());
  slot.subscribeTo(node, &ignore);
  EXPECT_TRUE(slot.subscribed());
  EXPECT_EQ(node->publisher()->subscriberCount(), 1U);
  slot.unsubscribeFrom(node);
  EXPECT_FALSE(slot.subscribed());
  EXPECT_EQ(node->publisher()->subscriberCount(), 0U);
}

TEST(Subscriber, CanBeSubscribedAgain) {
  auto const first = makeNode<Announcer>();
  auto const second = makeNode<Announcer>();
  int calls = 0;
  CallbackSlot slot([&](auto const&) { ++calls; });
  slot.listenTo(*first);
  slot.leave();
  slot.listenTo(*second);
  first->announce();
  EXPECT_EQ(calls, 0);
  second->announce();
  EXPECT_EQ(calls, 1);
}

TEST(Subscriber, TheCallbackGetsPublisherSlotFieldKeyAndValue) {
  auto const node = makeNode<Announcer>();
  std::vector<CallbackSlot::Change> changes;
  CallbackSlot const slot(*node, [&](auto const& change) { changes.push_back(change); });
  int const key = 1;
  int const value = 2;
  node->publisher()->publishChange(Vunda::FieldId(266), &key, &value);
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].publisher, node->publisher());
  EXPECT_EQ(changes[0].subscriber, &slot);
  EXPECT_EQ(changes[0].field, Vunda::FieldId(266));
  EXPECT_EQ(changes[0].key, &key);
  EXPECT_EQ(changes[0].value, &value);
}

TEST(Subscriber, SubscribingCountsNoUser) {
  auto const node = makeNode<Announcer>();
  CallbackSlot const slot(*node, [](auto const&) {});
  EXPECT_EQ(node->useCount(), 1U);
}

TEST(SubscriberDeathTest, ANodeWithoutPublisherCannotBeSubscribedTo) {
  Sample const node;
  Subscriber slot;
  EXPECT_DEATH(slot.subscribeTo(node, &ignore), "Assertion `publisher' failed");
}

TEST(SubscriberDeathTest, ASlotInUseCannotBeSubscribed) {
  auto const node = makeNode<Announcer>();
  Subscriber slot;
  slot.subscribeTo(node, &ignore);
  EXPECT_DEATH(slot.subscribeTo(node, &ignore), "Assertion `!subscribed\\(\\)' failed");
  slot.unsubscribeFrom(node);
}

class SubscriberScopeGuardTest : public testing::Test {
 protected:
  ~SubscriberScopeGuardTest() override {
    if (slot_.subscribed()) slot_.unsubscribeFrom(node_);
  }
  // What a constructor does: a guard, a subscription, and then it fails or succeeds.
  void construct(bool fails) {
    SubscriberScopeGuard const guard(slot_, node_.ptr());
    slot_.subscribeTo(node_, &ignore);
    if (fails) throw std::runtime_error("construction");
  }

  Vunda::Ptr<Announcer> const node_ = makeNode<Announcer>();
  Subscriber slot_;
};

TEST_F(SubscriberScopeGuardTest, KeepsTheSubscriptionOfAConstructionThatSucceeds) {
  construct(false);
  EXPECT_TRUE(slot_.subscribed());
}

TEST_F(SubscriberScopeGuardTest, UndoesTheSubscriptionOfAConstructionThatFails) {
  EXPECT_THROW(construct(true), std::runtime_error);
  EXPECT_FALSE(slot_.subscribed());
  EXPECT_EQ(node_->publisher()->subscriberCount(), 0U);
}

TEST_F(SubscriberScopeGuardTest, LeavesAFreeSlotAlone) {
  auto const failing = [this] {
    SubscriberScopeGuard const guard(slot_, nullptr);
    throw std::runtime_error("before it subscribed");
  };
  EXPECT_THROW(failing(), std::runtime_error);
  EXPECT_FALSE(slot_.subscribed());
}

// Runs an action while an exception unwinds the stack.
template <class Action>
void duringUnwinding(Action&& action) {
  struct Unwound {
    Action& action;
    ~Unwound() { action(); }
  };
  try {
    Unwound const unwound{action};
    throw std::runtime_error("unwinds");
  } catch (std::runtime_error const&) {
  }
}

TEST_F(SubscriberScopeGuardTest, KeepsTheSubscriptionOfASuccessDuringUnwinding) {
  duringUnwinding([this] { construct(false); });
  EXPECT_TRUE(slot_.subscribed());
}

TEST_F(SubscriberScopeGuardTest, UndoesTheSubscriptionOfAFailureDuringUnwinding) {
  duringUnwinding([this] { EXPECT_THROW(construct(true), std::runtime_error); });
  EXPECT_FALSE(slot_.subscribed());
}

}  // namespace
