#include "runtime/vunda/Publisher.h"

#include <algorithm>
#include <cstddef>

#include "runtime/vunda/Assert.h"
#include "runtime/vunda/Subscriber.h"

namespace Vunda {

namespace {

void ignore(Publisher*, Subscriber*, FieldId, void const*, void const*) noexcept {}

constinit Subscriber hole(&ignore);

}  // namespace

Publisher::~Publisher() {
  ORU_ASSERT(subscriberCount() == 0);
  if (slots_ != inline_) delete[] slots_;
}

void Publisher::remove(Subscriber* subscriber) noexcept {
  for (std::uint32_t i = size_; i-- > 0;) {
    if (slots_[i] != subscriber) continue;
    if (delivering_ != 0) {
      slots_[i] = &hole;
      ++holes_;
    } else {
      std::copy(slots_ + i + 1, slots_ + size_, slots_ + i);
      --size_;
    }
    return;
  }
}

// Most nodes have one subscriber: its delivery is written out, since what a loop costs beside its
// calls would be most of it. The subscriber comes as an argument, so that those of its callback
// stand where they belong.
void Publisher::deliverToOne(Subscriber* subscriber, FieldId field, void const* key,
                             void const* value) noexcept {
  if (owner_->useCount() == 0) return deliverToAll(field, key, value);
  owner_->incUse();
  ++delivering_;
  subscriber->notify(this, field, key, value);
  --delivering_;
  if (holes_ != 0) closeHolesIfOutermost();
  owner_->decUseImpl();
}

void Publisher::deliverToAll(FieldId field, void const* key, void const* value) noexcept {
  // One that publishes from its destructor is not counted any more.
  if (owner_->useCount() == 0) return notifyAll(field, key, value);
  owner_->incUse();
  notifyAll(field, key, value);
  owner_->decUseImpl();
}

// There is a slot at least.
void Publisher::notifyAll(FieldId field, void const* key, void const* value) noexcept {
  ++delivering_;
  std::size_t const standing = size_;
  std::size_t i = 0;
  do {
    // Read anew each time: a callback may have moved the slots or emptied this one.
    slots_[i]->notify(this, field, key, value);
  } while (++i != standing);
  --delivering_;
  if (holes_ != 0) closeHolesIfOutermost();
}

void Publisher::closeHolesIfOutermost() noexcept {
  if (delivering_ != 0) return;
  Subscriber** const end = std::remove(slots_, slots_ + size_, &hole);
  size_ = static_cast<std::uint32_t>(end - slots_);
  holes_ = 0;
}

void Publisher::grow() {
  Subscriber** const bigger = new Subscriber*[capacity_ * 2];
  std::copy(slots_, slots_ + size_, bigger);
  if (slots_ != inline_) delete[] slots_;
  slots_ = bigger;
  capacity_ *= 2;
}

}  // namespace Vunda
