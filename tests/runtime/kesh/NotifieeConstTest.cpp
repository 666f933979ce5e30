#include "runtime/kesh/NotifieeConst.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Kesh::NotifieeConst;
using OruTest::Announcer;
using Vunda::FieldId;
using Vunda::makeNode;
using Vunda::Ptr;

struct Reactor : Kesh::Typed<Reactor, NotifieeConst> {
  static constexpr char const* typeName = "OruTest::Reactor";
  void onAttribute(FieldId field, void const* key) override {
    ++calls;
    lastField = field;
    lastKey = key;
    if (action) action();
  }
  int calls = 0;
  FieldId lastField;
  void const* lastKey = nullptr;
  std::function<void()> action;
};

class NotifieeConstTest : public testing::Test {
 protected:
  Ptr<Announcer> node_ = makeNode<Announcer>();
  Ptr<Reactor> reactor_ = makeNode<Reactor>();
};

TEST_F(NotifieeConstTest, WithoutANotifierEverythingIsLegalAndNothingHappens) {
  EXPECT_EQ(reactor_->notifier(), nullptr);
  reactor_->isRegisteredNotifieeIs(true);
  EXPECT_FALSE(reactor_->isRegisteredNotifiee());
  reactor_->hasNotificationActiveIs(true);
  EXPECT_TRUE(reactor_->hasNotificationActive());
  EXPECT_FALSE(reactor_->isRegisteredNotifiee());
  reactor_->hasNotificationActiveIs(false);
  reactor_->notifierIs(nullptr);
}

TEST_F(NotifieeConstTest, KeepsItsNotifierAliveAndLetsItGo) {
  reactor_->notifierIs(node_.ptr());
  EXPECT_EQ(node_->useCount(), 2U);
  EXPECT_EQ(reactor_->notifier(), node_.ptr());
  reactor_->notifierIs(nullptr);
  EXPECT_EQ(node_->useCount(), 1U);
}

TEST_F(NotifieeConstTest, HearsOfChangesWhileItIsRegistered) {
  reactor_->notifierIs(node_.ptr());
  node_->announce();
  EXPECT_EQ(reactor_->calls, 0);
  reactor_->isRegisteredNotifieeIs(true);
  reactor_->isRegisteredNotifieeIs(true);
  int const key = 1;
  node_->publisher()->publishChange(FieldId(261), &key, nullptr);
  EXPECT_EQ(reactor_->calls, 1);
  EXPECT_EQ(reactor_->lastField, FieldId(261));
  EXPECT_EQ(reactor_->lastKey, &key);
  reactor_->isRegisteredNotifieeIs(false);
  reactor_->isRegisteredNotifieeIs(false);
  node_->announce();
  EXPECT_EQ(reactor_->calls, 1);
}

TEST_F(NotifieeConstTest, SwitchingNotificationsSetsTheFlagAndRegisters) {
  reactor_->notifierIs(node_.ptr());
  reactor_->hasNotificationActiveIs(true);
  EXPECT_TRUE(reactor_->hasNotificationActive());
  EXPECT_TRUE(reactor_->isRegisteredNotifiee());
  EXPECT_FALSE(reactor_->zombieReactors());
  reactor_->hasNotificationActiveIs(false);
  EXPECT_FALSE(reactor_->hasNotificationActive());
  EXPECT_FALSE(reactor_->isRegisteredNotifiee());
}

TEST_F(NotifieeConstTest, SwitchingToWhatItIsChangesNothing) {
  reactor_->notifierIs(node_.ptr());
  reactor_->hasNotificationActiveIs(true);
  reactor_->isRegisteredNotifieeIs(false);
  reactor_->hasNotificationActiveIs(true);
  EXPECT_FALSE(reactor_->isRegisteredNotifiee());
}

TEST_F(NotifieeConstTest, SwitchingRestoresTheZombieFlag) {
  reactor_->notifierIs(node_.ptr());
  reactor_->keshDoZombieReactors(true);
  reactor_->hasNotificationActiveIs(true);
  EXPECT_TRUE(reactor_->zombieReactors());
  reactor_->keshDoZombieReactors(false);
  EXPECT_FALSE(reactor_->zombieReactors());
}

TEST_F(NotifieeConstTest, IsAZombieWhileItSwitches) {
  struct Looking : Announcer {
    Vunda::Publisher* publisher() const override {
      seen = reactor->zombieReactors();
      return Announcer::publisher();
    }
    Reactor const* reactor = nullptr;
    mutable bool seen = false;
  };
  auto const looking = makeNode<Looking>();
  looking->reactor = reactor_.ptr();
  reactor_->notifierIs(looking.ptr());
  reactor_->hasNotificationActiveIs(true);
  EXPECT_TRUE(looking->seen);
  looking->seen = false;
  reactor_->hasNotificationActiveIs(false);
  EXPECT_TRUE(looking->seen);
  EXPECT_FALSE(reactor_->zombieReactors());
}

TEST_F(NotifieeConstTest, AZombieIsToldToo) {
  reactor_->notifierIs(node_.ptr());
  reactor_->hasNotificationActiveIs(true);
  reactor_->keshDoZombieReactors(true);
  node_->announce();
  EXPECT_EQ(reactor_->calls, 1) << "what a zombie ignores is the derived class's decision";
}

TEST_F(NotifieeConstTest, EveryRegistrationGoesThroughWhatADerivedClassMayOverride) {
  struct Asking : Reactor {
    void isRegisteredNotifieeIs(bool registered) override {
      asked.push_back(registered);
      Reactor::isRegisteredNotifieeIs(registered);
    }
    std::vector<bool> asked;
  };
  auto const asking = makeNode<Asking>();
  asking->notifierIs(node_.ptr());
  asking->hasNotificationActiveIs(true);
  asking->hasNotificationActiveIs(false);
  asking->notifierIs(nullptr);
  EXPECT_EQ(asking->asked, (std::vector<bool>{false, true, false, false}));
}

#if defined(__x86_64__)
TEST_F(NotifieeConstTest, OperationsStandInTheirSlots) {
  using OruTest::slotOf;
  EXPECT_EQ(slotOf(&NotifieeConst::lastUserGone), 2U);
  EXPECT_EQ(slotOf(&NotifieeConst::publisher), 3U);
  EXPECT_EQ(slotOf(&NotifieeConst::typeData), 4U);
  EXPECT_EQ(slotOf(&NotifieeConst::isRegisteredNotifieeIs), 5U);
  EXPECT_EQ(slotOf(&NotifieeConst::onZeroReferences), 6U);
  EXPECT_EQ(slotOf(&NotifieeConst::onAttribute), 7U);
  EXPECT_EQ(slotOf(&NotifieeConst::keshDoZombieReactors), 8U);
}
#endif

TEST_F(NotifieeConstTest, AnotherNotifierEndsTheRegistrationWithTheOldOne) {
  auto const other = makeNode<Announcer>();
  reactor_->notifierIs(node_.ptr());
  reactor_->isRegisteredNotifieeIs(true);
  reactor_->notifierIs(node_.ptr());
  EXPECT_TRUE(reactor_->isRegisteredNotifiee()) << "the same one is no change";
  reactor_->notifierIs(other.ptr());
  EXPECT_FALSE(reactor_->isRegisteredNotifiee());
  EXPECT_EQ(node_->publisher()->subscriberCount(), 0U);
  EXPECT_EQ(node_->useCount(), 1U);
  reactor_->isRegisteredNotifieeIs(true);
  other->announce();
  EXPECT_EQ(reactor_->calls, 1);
}

TEST_F(NotifieeConstTest, UnregistersWhenItGoes) {
  reactor_->notifierIs(node_.ptr());
  reactor_->isRegisteredNotifieeIs(true);
  reactor_ = nullptr;
  EXPECT_EQ(Reactor::typeInfo().liveCount(), 0U);
  EXPECT_EQ(node_->publisher()->subscriberCount(), 0U);
  EXPECT_EQ(node_->useCount(), 1U);
}

TEST_F(NotifieeConstTest, LivesUntilItsReactionEnds) {
  reactor_->notifierIs(node_.ptr());
  reactor_->isRegisteredNotifieeIs(true);
  auto liveAfterRelease = std::size_t{99};
  Announcer* const node = node_.ptr();
  reactor_->action = [&] {
    reactor_ = nullptr;
    node_ = nullptr;
    liveAfterRelease = Reactor::typeInfo().liveCount();
  };
  node->announce();
  EXPECT_EQ(liveAfterRelease, 1U);
  EXPECT_EQ(Reactor::typeInfo().liveCount(), 0U);
  EXPECT_EQ(Announcer::typeInfo().liveCount(), 0U);
}

TEST_F(NotifieeConstTest, DoesNotReactOnceItIsBeingDestroyed) {
  struct Ending : Reactor {
    ~Ending() override { ending(); }
    std::function<void()> ending;
  };
  auto ending = makeNode<Ending>();
  int* const calls = &reactor_->calls;
  ending->action = [calls] { ++*calls; };
  ending->ending = [this] { node_->announce(); };
  ending->notifierIs(node_.ptr());
  ending->isRegisteredNotifieeIs(true);
  node_->announce();
  EXPECT_EQ(*calls, 1);
  ending = nullptr;
  EXPECT_EQ(*calls, 1);
}

TEST_F(NotifieeConstTest, TheLastUserTellsOnZeroReferences) {
  struct Kept : NotifieeConst {
    void onZeroReferences() override { ++timesLeft; }
    int timesLeft = 0;
  } kept;
  kept.decUseImpl();
  EXPECT_EQ(kept.timesLeft, 1);
}

}  // namespace
