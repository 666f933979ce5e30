#include "runtime/vunda/Publisher.h"

#include <algorithm>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Subscriber.h"

namespace Vunda {

Publisher::~Publisher() {
  ORU_ASSERT(subscriberCount() == 0);
  if (capacity_ != inlineCapacity) delete[] heap_;
}

void Publisher::subscriberAdd(Subscriber* subscriber) {
  if (size_ == capacity_) grow();
  slots()[size_++] = subscriber;
}

void Publisher::subscriberRemove(Subscriber* subscriber) noexcept {
  Subscriber** const all = slots();
  for (std::uint32_t i = size_; i-- > 0;) {
    if (all[i] != subscriber) continue;
    if (delivering_ != 0) {
      all[i] = nullptr;
      ++holes_;
    } else {
      std::copy(all + i + 1, all + size_, all + i);
      --size_;
    }
    return;
  }
}

void Publisher::deliver(FieldId field, void const* key, void const* value) {
  if (owner_->useCount() == 0) return callEach(field, key, value);
  Ptr<Node const> const keepAlive(owner_);
  callEach(field, key, value);
}

void Publisher::callEach(FieldId field, void const* key, void const* value) {
  ++delivering_;
  std::uint32_t const standing = size_;
  for (std::uint32_t i = 0; i < standing; ++i) {
    // Read anew each time: a callback may have moved the slots or emptied this one.
    if (Subscriber* const subscriber = slots()[i]) subscriber->notify(this, field, key, value);
  }
  if (--delivering_ == 0 && holes_ != 0) closeHoles();
}

void Publisher::closeHoles() noexcept {
  Subscriber** const all = slots();
  size_ = static_cast<std::uint32_t>(std::remove(all, all + size_, nullptr) - all);
  holes_ = 0;
}

void Publisher::grow() {
  Subscriber** const bigger = new Subscriber*[capacity_ * 2];
  std::copy(slots(), slots() + size_, bigger);
  if (capacity_ != inlineCapacity) delete[] heap_;
  heap_ = bigger;
  capacity_ *= 2;
}

}  // namespace Vunda
