#pragma once

#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/FieldId.h"
#include "runtime/vunda/Node.h"

namespace Vunda {

class Subscriber;

// Announces the changes of one node to its subscribers.
//
// Delivery is synchronous, depth first, in subscription order. A mutator finishes its own write
// before it publishes.
//
//   - A subscriber removed during a delivery is not called any more; one added during it is not
//     called for that change.
//   - The publishing node stays alive until its delivery ends, even when a callback drops the last
//     counted pointer to it. (A node that publishes from its destructor is past that: its publisher
//     is kept by the destructor.)
//   - Subscribers keep the node whose publisher they are registered with alive; a publisher is
//     destroyed without any.
//
// How: the subscribers stand in an array, in order. Removal during a delivery leaves a hole (a
// subscriber that ignores what it is told), addition appends; a delivery calls the slots that stood
// when it began; the outermost delivery closes the holes when it ends.
//
//      slots   [ S1 | -- | S3 | S4 ]      size 4, holes 1, delivering 1: S2 was removed, S4 came
//      delivery of three slots:  S1, (hole), S3        afterwards: [ S1 | S3 | S4 ]
//
// Costs: publishing allocates nothing; two subscribers need no allocation, more need one that
// doubles as it grows.
class ORU_EXPORT Publisher {
 public:
  // `owner` is the node whose changes are announced; it outlives the publisher, which is usually
  // its member.
  explicit Publisher(Node const& owner) noexcept : owner_(&owner) {}
  Publisher(Publisher const&) = delete;
  Publisher& operator=(Publisher const&) = delete;
  ~Publisher();

  // Registers a subscriber at the end of the order. It must not be registered here yet.
  void subscriberAdd(Subscriber* subscriber) {
    if (size_ == capacity_) grow();
    slots_[size_++] = subscriber;
  }
  // Unregisters; a subscriber that is not registered here is ignored.
  void subscriberRemove(Subscriber* subscriber) noexcept {
    if (delivering_ == 0 && size_ != 0 && slots_[size_ - 1] == subscriber) {
      --size_;
    } else {
      remove(subscriber);
    }
  }
  std::uint32_t subscriberCount() const noexcept { return size_ - holes_; }

  // Announces a change of `field`: of the member `key` of a collection, or of an attribute when
  // `key` is null. `value` is the new value, null for a removal. They point to what the member or
  // the attribute is declared with (a String, a ResetKey, a counted pointer, ...), and stay valid
  // for the call only.
  void publishChange(FieldId field, void const* key, void const* value) {
    if (size_ == 1) {
      deliverToOne(slots_[0], field, key, value);
    } else if (size_ != 0) {
      deliverToAll(field, key, value);
    }
  }

  // Announces a change of one attribute, unless the old and the new value are equal. Returns
  // whether it was announced.
  template <class T, class Equal>
  bool publishChangeRecursive(FieldId field, T const& oldValue, T const& newValue, Equal&& isEq) {
    if (isEq(oldValue, newValue)) return false;
    publishChange(field, nullptr, &newValue);
    return true;
  }

  // The owner's mutators, in one line each: compare, write, announce. They may be called from
  // within a delivery: the nested change is announced whole, then the outer delivery goes on. What
  // it then still hands out is its own key and value of a member, but the present value of an
  // attribute.
  //
  // An attribute that is given the value it holds (by ==) is neither written nor announced; a NaN
  // therefore always is both.
  template <class T>
  void attributeIs(FieldId field, T& attribute, T const& value) {
    if (attribute == value) return;
    attribute = value;
    publishChange(field, nullptr, &attribute);
  }
  // The first insertion of a key and every removal is announced, whatever the value. The key may
  // live in what the change releases; `value` lives until the call returns.
  template <class Map, class Key, class Value>
  void memberIs(FieldId field, Map& map, Key const& key, Value const& value) {
    Key const kept = key;
    if (map.memberIs(kept, value)) publishChange(field, &kept, &value);
  }
  template <class Map, class Key>
  void memberDel(FieldId field, Map& map, Key const& key) {
    Key const kept = key;
    if (map.deleteMember(kept)) publishChange(field, &kept, nullptr);
  }

 private:
  static constexpr std::uint32_t inlineCapacity = 2;

  void deliverToOne(Subscriber* subscriber, FieldId field, void const* key,
                    void const* value) noexcept;
  void deliverToAll(FieldId field, void const* key, void const* value) noexcept;
  [[gnu::always_inline]] inline void notifyAll(FieldId field, void const* key,
                                               void const* value) noexcept;
  void remove(Subscriber* subscriber) noexcept;
  [[gnu::noinline]] void closeHolesIfOutermost() noexcept;
  void grow();

  Node const* owner_;
  Subscriber** slots_ = inline_;
  std::uint32_t size_ = 0;
  std::uint32_t holes_ = 0;
  std::uint32_t capacity_ = inlineCapacity;
  std::uint32_t delivering_ = 0;
  Subscriber* inline_[inlineCapacity];
};

}  // namespace Vunda
