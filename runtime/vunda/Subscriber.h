#pragma once

#include <exception>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/FieldId.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Publisher.h"

namespace Vunda {

// One subscription slot inside a subscribing object: a single callback word; zero means not
// subscribed.
//
// The callback gets the publisher, this slot (from which it recovers its object), the field, a
// pointer to the key of the changed member (null for an attribute) and a pointer to the new value.
// It must not throw. A slot is subscribed to one node at a time, and unsubscribed from that node
// before it goes.
class ORU_EXPORT Subscriber {
 public:
  using Callback = void (*)(Publisher* publisher, Subscriber* subscriber, FieldId field,
                            void const* key, void const* value) noexcept;

  constexpr Subscriber() noexcept = default;
  // One that is never registered, only called.
  constexpr explicit Subscriber(Callback callback) noexcept : callback_(callback) {}
  Subscriber(Subscriber const&) = delete;
  Subscriber& operator=(Subscriber const&) = delete;

  bool subscribed() const noexcept { return callback_ != nullptr; }
  // Stores the callback and registers with the node's publisher. The node must have one, the slot
  // must be free.
  void subscribeTo(Node const& node, Callback callback) {
    ORU_ASSERT(!subscribed());
    Publisher* const publisher = node.publisher();
    ORU_ASSERT(publisher);
    publisher->subscriberAdd(this);
    callback_ = callback;
  }
  // Unregisters and frees the slot.
  void unsubscribeFrom(Node const& node) noexcept {
    node.publisher()->subscriberRemove(this);
    callback_ = nullptr;
  }

  template <class T>
  void subscribeTo(Ptr<T> const& node, Callback callback) {
    subscribeTo(static_cast<Node const&>(*node), callback);
  }
  template <class T>
  void unsubscribeFrom(Ptr<T> const& node) noexcept {
    unsubscribeFrom(static_cast<Node const&>(*node));
  }

  void notify(Publisher* publisher, FieldId field, void const* key, void const* value) noexcept {
    callback_(publisher, this, field, key, value);
  }

 private:
  Callback callback_ = nullptr;
};

static_assert(sizeof(Subscriber) == sizeof(void*));

// Undoes a subscription made in a constructor when that constructor fails: on destruction it
// unsubscribes if more exceptions are in flight than when the guard was made. (So a constructor
// that runs during the unwinding of another exception keeps its subscription when it succeeds.) The
// subscriber and the node outlive the guard.
class ORU_EXPORT SubscriberScopeGuard {
 public:
  SubscriberScopeGuard(Subscriber& subscriber, Node const* node) noexcept
      : subscriber_(subscriber), node_(node), exceptions_(std::uncaught_exceptions()) {}
  SubscriberScopeGuard(SubscriberScopeGuard const&) = delete;
  SubscriberScopeGuard& operator=(SubscriberScopeGuard const&) = delete;
  ~SubscriberScopeGuard() {
    if (std::uncaught_exceptions() > exceptions_ && subscriber_.subscribed()) {
      subscriber_.unsubscribeFrom(*node_);
    }
  }

 private:
  Subscriber& subscriber_;
  Node const* node_;
  int exceptions_;
};

}  // namespace Vunda
