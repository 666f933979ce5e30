#pragma once

#include <functional>
#include <utility>

#include "runtime/vunda/Subscriber.h"

namespace OruTest {

// A subscription slot that runs an action on each notification. It does not keep the node alive; it
// unsubscribes when it goes, so the node must live until then, or leave() be called.
class CallbackSlot : public Vunda::Subscriber {
 public:
  struct Change {
    Vunda::Publisher* publisher;
    Vunda::Subscriber* subscriber;
    Vunda::FieldId field;
    void const* key;
    void const* value;
  };
  using Action = std::function<void(Change const&)>;

  explicit CallbackSlot(Action action) : action_(std::move(action)) {}
  CallbackSlot(Vunda::Node const& node, Action action) : action_(std::move(action)) {
    listenTo(node);
  }
  ~CallbackSlot() { leave(); }

  void listenTo(Vunda::Node const& node) {
    subscribeTo(node, &dispatch);
    node_ = &node;
  }
  void leave() noexcept {
    if (node_) unsubscribeFrom(*std::exchange(node_, nullptr));
  }

 private:
  static void dispatch(Vunda::Publisher* publisher, Vunda::Subscriber* slot, Vunda::FieldId field,
                       void const* key, void const* value) noexcept {
    static_cast<CallbackSlot*>(slot)->action_({publisher, slot, field, key, value});
  }

  Action action_;
  Vunda::Node const* node_ = nullptr;
};

}  // namespace OruTest
