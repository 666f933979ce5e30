#include "runtime/vunda/Publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/CallbackSlot.h"
#include "tests/support/HeapProbe.h"

namespace {

using OruTest::Announcer;
using OruTest::CallbackSlot;
using OruTest::FailingAllocation;
using OruTest::heapAllocations;
using OruTest::heapLive;
using OruTest::Sample;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::FieldId;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::Publisher;

// A node with three subscribers, A, B and C, of which each notes its call and then does what the
// test says.
class PublisherDelivery : public testing::Test {
 protected:
  CallbackSlot::Action noting(char const* name, std::function<void()>& action) {
    return [this, name, &action](auto const&) {
      calls_.emplace_back(name);
      if (action) action();
    };
  }
  std::vector<std::string> announced() {
    calls_.clear();
    node_->announce();
    return calls_;
  }

  std::vector<std::string> calls_;
  Ptr<Announcer> node_ = makeNode<Announcer>();
  std::function<void()> onA_, onB_, onC_, onLate_;
  CallbackSlot a_{*node_, noting("A", onA_)};
  CallbackSlot b_{*node_, noting("B", onB_)};
  CallbackSlot c_{*node_, noting("C", onC_)};
  CallbackSlot late_{noting("late", onLate_)};
};

TEST_F(PublisherDelivery, IsSynchronousAndInSubscriptionOrder) {
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C"));
  a_.leave();
  a_.listenTo(*node_);
  EXPECT_THAT(announced(), ElementsAre("B", "C", "A"));
}

TEST_F(PublisherDelivery, RemovalKeepsTheOrderOfTheOthers) {
  b_.leave();
  EXPECT_THAT(announced(), ElementsAre("A", "C"));
  EXPECT_EQ(node_->publisher()->subscriberCount(), 2U);
}

TEST_F(PublisherDelivery, GoesDepthFirst) {
  onB_ = [this] {
    onB_ = nullptr;
    node_->announce();
    calls_.emplace_back("B ends");
  };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "A", "B", "C", "B ends", "C"));
}

TEST_F(PublisherDelivery, DoesNotCallASubscriberThatWasRemovedDuringIt) {
  onA_ = [this] { b_.leave(); };
  EXPECT_THAT(announced(), ElementsAre("A", "C"));
  EXPECT_EQ(node_->publisher()->subscriberCount(), 2U);
  onA_ = nullptr;
  EXPECT_THAT(announced(), ElementsAre("A", "C"));
}

TEST_F(PublisherDelivery, CallsTheOthersOnceWhenASubscriberRemovesItself) {
  onB_ = [this] { b_.leave(); };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C"));
  EXPECT_THAT(announced(), ElementsAre("A", "C"));
}

TEST_F(PublisherDelivery, CallsTheOthersOnceWhenAnEarlierOneIsRemoved) {
  onB_ = [this] { a_.leave(); };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C"));
  EXPECT_THAT(announced(), ElementsAre("B", "C"));
}

TEST_F(PublisherDelivery, DoesNotCallASubscriberForTheChangeDuringWhichItWasAdded) {
  onA_ = [this] { late_.listenTo(*node_); };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C"));
  onA_ = nullptr;
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C", "late"));
}

TEST_F(PublisherDelivery, CallsASubscriberAddedDuringItForANestedChange) {
  onB_ = [this] {
    onB_ = nullptr;
    late_.listenTo(*node_);
    node_->announce();
  };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "A", "B", "C", "late", "C"));
}

TEST_F(PublisherDelivery, DoesNotCallASubscriberThatLeftAndCameBackDuringIt) {
  onA_ = [this] {
    onA_ = nullptr;
    b_.leave();
    b_.listenTo(*node_);
  };
  EXPECT_THAT(announced(), ElementsAre("A", "C"));
  EXPECT_THAT(announced(), ElementsAre("A", "C", "B"));
}

TEST_F(PublisherDelivery, SkipsWhatANestedDeliveryRemoved) {
  onA_ = [this] {
    onA_ = [this] { c_.leave(); };
    node_->announce();
    onA_ = nullptr;
  };
  EXPECT_THAT(announced(), ElementsAre("A", "A", "B", "B"));
  EXPECT_THAT(announced(), ElementsAre("A", "B"));
}

TEST_F(PublisherDelivery, GoesOnAfterManyWereAddedDuringIt) {
  std::vector<std::unique_ptr<CallbackSlot>> many;
  onA_ = [&] {
    onA_ = nullptr;
    for (int i = 0; i < 100; ++i) {
      many.push_back(std::make_unique<CallbackSlot>(
          *node_, [this](auto const&) { calls_.emplace_back("m"); }));
    }
  };
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C"));
  EXPECT_EQ(announced().size(), 103U);
}

TEST_F(PublisherDelivery, EndsWhenEverybodyLeft) {
  onA_ = [this] {
    a_.leave();
    b_.leave();
    c_.leave();
  };
  EXPECT_THAT(announced(), ElementsAre("A"));
  EXPECT_EQ(node_->publisher()->subscriberCount(), 0U);
  EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(PublisherDelivery, KeepsCountDuringIt) {
  std::uint32_t whenOneLeft = 0;
  std::uint32_t whenOneCame = 0;
  onA_ = [&] {
    b_.leave();
    whenOneLeft = node_->publisher()->subscriberCount();
    late_.listenTo(*node_);
    whenOneCame = node_->publisher()->subscriberCount();
  };
  announced();
  EXPECT_EQ(whenOneLeft, 2U);
  EXPECT_EQ(whenOneCame, 3U);
}

// The node goes while it publishes; every subscriber leaves it in time.
TEST(Publisher, TheNodeStaysAliveUntilItsDeliveryEnds) {
  bool gone = false;
  bool goneAtSecond = true;
  Ptr<Announcer> last = makeNode<Announcer>(&gone);
  Announcer* const node = last.ptr();
  CallbackSlot first([&](auto const&) {
    last = nullptr;
    first.leave();
  });
  CallbackSlot second([&](auto const&) {
    goneAtSecond = gone;
    second.leave();
  });
  first.listenTo(*node);
  second.listenTo(*node);
  node->announce();
  EXPECT_FALSE(goneAtSecond);
  EXPECT_TRUE(gone);
}

TEST(Publisher, TheNodeStaysAliveUntilItsOutermostDeliveryEnds) {
  bool gone = false;
  bool goneAfterNested = true;
  Ptr<Announcer> last = makeNode<Announcer>(&gone);
  Announcer* const node = last.ptr();
  CallbackSlot slot([&](auto const&) {
    if (!last) return slot.leave();
    last = nullptr;
    node->announce();
    goneAfterNested = gone;
  });
  slot.listenTo(*node);
  node->announce();
  EXPECT_FALSE(goneAfterNested);
  EXPECT_TRUE(gone);
}

TEST(Publisher, ANodeThatPublishesFromItsDestructorIsDestroyedOnce) {
  struct Farewell : Announcer {
    using Announcer::Announcer;
    ~Farewell() override { announce(); }
  };
  int calls = 0;
  std::uint32_t useCount = 99;
  Ptr<Farewell> last = makeNode<Farewell>();
  Farewell* const node = last.ptr();
  CallbackSlot slot([&](auto const&) {
    ++calls;
    useCount = node->useCount();
    slot.leave();
  });
  slot.listenTo(*node);
  last = nullptr;
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(useCount, 0U);
}

TEST(PublisherDeathTest, CannotBeDestroyedWithASubscriber) {
  auto const dieSubscribed = [] {
    Sample const owner;
    CallbackSlot slot([](auto const&) {});
    Publisher publisher(owner);
    publisher.subscriberAdd(&slot);
  };
  EXPECT_DEATH(dieSubscribed(), "Assertion `subscriberCount\\(\\) == 0' failed");
}

TEST(Publisher, IgnoresTheRemovalOfASubscriberThatIsNotRegistered) {
  auto const node = makeNode<Announcer>();
  int calls = 0;
  CallbackSlot const registered(*node, [&](auto const&) { ++calls; });
  CallbackSlot stranger([](auto const&) {});
  node->publisher()->subscriberRemove(&stranger);
  EXPECT_EQ(node->publisher()->subscriberCount(), 1U);
  node->announce();
  EXPECT_EQ(calls, 1);
}

TEST(Publisher, AnAttributeThatDidNotChangeIsNotAnnounced) {
  auto const node = makeNode<Announcer>();
  std::vector<int> values;
  CallbackSlot const slot(*node, [&](auto const& change) {
    EXPECT_EQ(change.field, FieldId(9));
    EXPECT_EQ(change.key, nullptr);
    values.push_back(*static_cast<int const*>(change.value));
  });
  auto const sameParity = [](int a, int b) { return a % 2 == b % 2; };
  EXPECT_FALSE(node->publisher()->publishChangeRecursive(FieldId(9), 1, 3, sameParity));
  EXPECT_THAT(values, IsEmpty());
  EXPECT_TRUE(node->publisher()->publishChangeRecursive(FieldId(9), 1, 4, sameParity));
  EXPECT_THAT(values, ElementsAre(4));
}

TEST(Publisher, TwoSubscribersNeedNoAllocationAndMoreNeedFew) {
  auto const node = makeNode<Announcer>();
  CallbackSlot a([](auto const&) {}), b([](auto const&) {}), c([](auto const&) {}),
      d([](auto const&) {}), e([](auto const&) {});
  auto const before = heapAllocations();
  a.listenTo(*node);
  b.listenTo(*node);
  EXPECT_EQ(heapAllocations(), before);
  c.listenTo(*node);
  EXPECT_EQ(heapAllocations(), before + 1);
  d.listenTo(*node);
  EXPECT_EQ(heapAllocations(), before + 1);
  e.listenTo(*node);
  EXPECT_EQ(heapAllocations(), before + 2);
}

TEST(Publisher, PublishingAllocatesNothing) {
  auto const node = makeNode<Announcer>();
  int calls = 0;
  CallbackSlot const a(*node, [&](auto const&) { ++calls; });
  CallbackSlot const b(*node, [&](auto const&) { ++calls; });
  CallbackSlot c(*node, [&](auto const&) { c.leave(); });
  auto const before = heapAllocations();
  node->announce();
  node->announce();
  EXPECT_EQ(heapAllocations(), before);
  EXPECT_EQ(calls, 4);
}

TEST_F(PublisherDelivery, UsesTheRoomAgainOfThoseThatLeftDuringIt) {
  onA_ = [this] {
    b_.leave();
    b_.listenTo(*node_);
  };
  calls_.reserve(10000);
  auto const before = heapAllocations();
  for (int i = 0; i < 1000; ++i) node_->announce();
  EXPECT_LE(heapAllocations(), before + 1);
}

TEST(Publisher, GivesBackAllRoomThatItGrewTo) {
  auto const live = heapLive();
  {
    auto const node = makeNode<Announcer>();
    std::vector<std::unique_ptr<CallbackSlot>> slots;
    for (int i = 0; i < 20; ++i) {
      slots.push_back(std::make_unique<CallbackSlot>(*node, [](auto const&) {}));
    }
  }
  EXPECT_EQ(heapLive(), live);
}

TEST_F(PublisherDelivery, AFailedAllocationAddsNoSubscriber) {
  CallbackSlot fourth([this](auto const&) { calls_.emplace_back("D"); });
  late_.listenTo(*node_);
  {
    FailingAllocation const failing(0);
    EXPECT_THROW(fourth.listenTo(*node_), std::bad_alloc);
  }
  EXPECT_FALSE(fourth.subscribed());
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C", "late"));
  fourth.listenTo(*node_);
  EXPECT_THAT(announced(), ElementsAre("A", "B", "C", "late", "D"));
}

}  // namespace
