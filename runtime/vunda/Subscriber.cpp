#include "runtime/vunda/Subscriber.h"

#include "runtime/vunda/Assert.h"

namespace Vunda {

void Subscriber::subscribeTo(Node const& node, Callback callback) {
  ORU_ASSERT(!subscribed());
  Publisher* const publisher = node.publisher();
  ORU_ASSERT(publisher);
  publisher->subscriberAdd(this);
  callback_ = callback;
}

void Subscriber::unsubscribeFrom(Node const& node) noexcept {
  node.publisher()->subscriberRemove(this);
  callback_ = nullptr;
}

}  // namespace Vunda
