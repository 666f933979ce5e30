#pragma once

#include <tuple>
#include <type_traits>

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/kesh/ChildCollection.h"
#include "runtime/kesh/KeepAlive.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Subscriber.h"

namespace Kesh {

// One node that a state machine watches: the counted pointer, and directly after it the
// subscription slot. The node may be null, then nothing is ever subscribed. The owner is the
// machine that has this member.
template <class Machine, class T>
class Watched {
 public:
  Watched(Machine& owner, Vunda::Ptr<T> const& node, Vunda::Subscriber::Callback callback)
      : node_(node), slot_(owner), callback_(callback) {}

  Vunda::Ptr<T> const& ptr() const noexcept { return node_; }

  // Each only when it is not so yet, and only when there is a node.
  void subscribe() {
    if (node_ && !slot_.subscribed()) slot_.subscribeTo(node_, callback_);
  }
  void unsubscribe() noexcept {
    if (slot_.subscribed()) slot_.unsubscribeFrom(node_);
  }
  bool subscribed() const noexcept { return slot_.subscribed(); }
  Vunda::SubscriberScopeGuard guard() noexcept { return {slot_, node_.ptr()}; }

 private:
  template <class M>
  friend class StateMachine;

  struct Slot : Vunda::Subscriber {
    explicit Slot(Machine& machine) noexcept : owner(&machine) {}
    Machine* owner;
  };

  Vunda::Ptr<T> node_;
  Slot slot_;
  Vunda::Subscriber::Callback callback_;
};

// The protocol that all state machines share, written once. A machine `class X : public
// Kesh::StateMachine<X>` declares what it watches and what it owns, in order:
//
//   auto watched() { return std::tie(hwConfig_, statusDir_); }     // Watched<X, ...> members
//   auto children() { return std::tie(featureCollSm_, chipSm_); }  // Ptr<Sm>, ChildCollection
//
// Creation: X's constructor stores its attributes and ends with `subscribeAndRun`; X's creator
// calls `created`. Destruction: X's destructor begins with `deactivate`; its members then go in
// reverse order of declaration.
template <class Machine>
class StateMachine : public Typed<Machine, Vunda::Node> {
 public:
  using Vunda::Node::nodeFlag;
  using Vunda::Node::nodeFlagSet;

  bool hasNotificationActive() const noexcept {
    return nodeFlag(Vunda::Node::notificationActiveFlag);
  }
  bool zombieReactors() const noexcept { return nodeFlag(Vunda::Node::zombieReactorsFlag); }

  // Switches notifications of this machine and of every machine that it owns; the subscription
  // callbacks of this machine are off meanwhile. Nothing when the flag has that value already.
  void hasNotificationActiveIs(bool active) {
    if (active == hasNotificationActive()) return;
    nodeFlagSet(Vunda::Node::notificationActiveFlag, active);
    bool const zombie = zombieReactors();
    nodeFlagSet(Vunda::Node::zombieReactorsFlag, true);
    forEach(self().watched(),
            [active](auto& watched) { active ? watched.subscribe() : watched.unsubscribe(); });
    forEach(self().children(), [active](auto& child) { notificationActiveIs(child, active); });
    nodeFlagSet(Vunda::Node::zombieReactorsFlag, zombie);
  }

  // While the zombie flag is set, the subscription callbacks ignore every notification.
  virtual void keshDoZombieReactors(bool zombie) {
    if (zombie != zombieReactors()) nodeFlagSet(Vunda::Node::zombieReactorsFlag, zombie);
  }

 protected:
  // The end of the constructor: subscribes to everything that is watched, in order, then runs the
  // initial handler. If that throws, the subscriptions are removed again, last first.
  template <class Handler>
  void subscribeAndRun(Handler&& handler) {
    std::apply([&handler](auto&... watched) { runGuarded(handler, watched...); }, self().watched());
  }

  // The end of the creator: switches notifications on and hands the machine out.
  static Vunda::Ptr<Machine> created(Vunda::Ptr<Machine> machine) {
    machine->hasNotificationActiveIs(true);
    return machine;
  }

  // The beginning of the destructor. `handleDestroyed` runs with notifications off, before the
  // zombie flag is set.
  template <class Handler>
  void deactivate(Handler&& handleDestroyed) noexcept {
    hasNotificationActiveIs(false);
    handleDestroyed();
    self().Machine::keshDoZombieReactors(true);
    forEach(self().watched(), [](auto& watched) { watched.unsubscribe(); });
  }

  // What a subscription callback does: when the field is the one that it serves, and the machine is
  // neither a zombie nor being destroyed, runs `handler(machine)` with the machine and its parents
  // kept alive. An exception ends the process.
  template <class T, class Handler>
  static void dispatch(Watched<Machine, T> Machine::*, Vunda::Subscriber* slot, bool served,
                       Handler&& handler) noexcept {
    Machine& machine = ownerOf<T>(slot);
    if (served && !machine.zombieReactors()) runKeptAlive(machine, handler);
  }
  // The same for a callback that also serves a zombie.
  template <class T, class Handler>
  static void dispatchToZombies(Watched<Machine, T> Machine::*, Vunda::Subscriber* slot,
                                bool served, Handler&& handler) noexcept {
    if (served) runKeptAlive(ownerOf<T>(slot), handler);
  }

 private:
  Machine& self() noexcept { return static_cast<Machine&>(*this); }

  template <class T>
  static Machine& ownerOf(Vunda::Subscriber* slot) noexcept {
    return *static_cast<typename Watched<Machine, T>::Slot*>(slot)->owner;
  }
  template <class Handler>
  static void runKeptAlive(Machine& machine, Handler& handler) {
    if (machine.useCount() == 0) return;
    KeepAlive<Machine> const keepAlive(machine);
    handler(machine);
  }

  template <class Tuple, class Action>
  static void forEach(Tuple&& members, Action&& action) {
    std::apply([&action](auto&... member) { (action(member), ...); }, members);
  }

  template <class Handler>
  static void runGuarded(Handler& handler) {
    handler();
  }
  template <class Handler, class First, class... Rest>
  static void runGuarded(Handler& handler, First& first, Rest&... rest) {
    auto const guard = first.guard();
    first.subscribe();
    runGuarded(handler, rest...);
  }

  template <class Child>
  static void notificationActiveIs(Vunda::Ptr<Child> const& child, bool active) {
    if (child) child->hasNotificationActiveIs(active);
  }
  template <class Tag, class Key, class Child>
  static void notificationActiveIs(ChildCollection<Tag, Key, Child> const& children, bool active) {
    children.forEach([active](Child& child) { child.hasNotificationActiveIs(active); });
  }
};

}  // namespace Kesh
