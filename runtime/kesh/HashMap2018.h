#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "runtime/kesh/HashHelper.h"
#include "runtime/kesh/HashMap2018Generic.h"
#include "runtime/vunda/Assert.h"

namespace Kesh {

// Keyed collection: the typed face of HashMap2018Generic, which states the promises (order of
// insertion, iterators that survive everything). `Tag` only tells instantiations apart. `Key` has
// == and hash() (small numbers are their own hash); `Key` and `Value` move without throwing. A copy
// holds the members in the same order. Whatever removes a value (its removal, an overwriting, the
// end of the collection) detaches it first and releases it then: what the release sets off may look
// at the collection, and does not find it any more.
template <class Tag, class Key, class Value>
class HashMap2018 {
  static_assert(std::is_nothrow_move_constructible_v<Key> &&
                std::is_nothrow_move_constructible_v<Value>);

 public:
  class Member {
   public:
    Key const& key() const noexcept { return key_; }
    Value const& value() const noexcept { return value_; }

   private:
    friend class HashMap2018;
    Member() = delete;

    std::uint32_t tag_;
    Key key_;
    Value value_;
  };

  // Stands on one member after the other: `for (auto it = map.iterator(); it; ++it)`.
  class Iterator {
   public:
    explicit Iterator(HashMap2018 const& map) noexcept : core_(operations, map.core_) {}

    Iterator(Iterator const&) = default;
    ~Iterator() {
      if (HashMap2018Generic* const map = core_.leave()) dropStale(*map);
    }

    explicit operator bool() const noexcept { return !core_.atEnd(); }
    Iterator& operator++() noexcept {
      core_.advance(operations);
      return *this;
    }
    // The key, readable even after the member was removed.
    Key const& key() const noexcept {
      return static_cast<Member*>(core_.currNodeMaybeStale())->key_;
    }
    // The member; null when it was removed since the iterator reached it.
    Member const* currNodeNonStale() const noexcept {
      return static_cast<Member const*>(core_.currNodeNonStale());
    }
    // A copy of the value; a default value when the member was removed since.
    Value value() const {
      Member const* const member = currNodeNonStale();
      return member ? member->value_ : Value();
    }

   private:
    friend class HashMap2018;

    HashMap2018Generic::Iterator core_;
  };

  HashMap2018() noexcept : core_(operations) {}
  HashMap2018(HashMap2018 const&) = default;
  HashMap2018(HashMap2018&&) noexcept = default;
  ~HashMap2018() {
    if (!operations.trivial) memberDelAll();
  }
  HashMap2018& operator=(HashMap2018 other) noexcept {
    core_.swap(other.core_);
    return *this;
  }

  std::uint32_t size() const noexcept { return core_.size(); }
  bool empty() const noexcept { return core_.size() == 0; }
  Iterator iterator() const noexcept { return Iterator(*this); }

  bool has(Key const& key) const noexcept { return lookup(key) != nullptr; }
  // The value in place, or null; good until the next insertion or removal.
  Value const* lookup(Key const& key) const noexcept {
    auto const wanted = HashHelper::lookupKey(key);
    auto* const member =
        static_cast<Member*>(core_.lookupNodeG(operations, &wanted.key, wanted.hash));
    return member ? &member->value_ : nullptr;
  }
  // A copy of the value; a default value when the key is absent.
  Value value(Key const& key) const {
    Value const* const found = lookup(key);
    return found ? *found : Value();
  }

  // Inserts a key that must be absent.
  void newMember(Key key, Value given) {
    bool const isNew = memberIs(std::move(key), std::move(given));
    ORU_ASSERT(isNew);
  }
  // Inserts or overwrites. False when the key held an equal value already: nothing was written
  // then.
  bool memberIs(Key key, Value given) {
    Member* const standing = insertUnlessThere(key, given);
    if (!standing) return true;
    if (standing->value_ == given) return false;
    std::swap(standing->value_, given);
    return true;
  }
  // Inserts or overwrites, and returns the value that stood there: a default value when none did.
  Value memberExchange(Key key, Value given) {
    Member* const standing = insertUnlessThere(key, given);
    return standing ? std::exchange(standing->value_, std::move(given)) : Value();
  }
  // Removes a member and hands its value to `out`; false when there is none. The collection is
  // whole again before whatever `out` held before is released.
  bool deleteMember(Key const& key, Value& out) noexcept {
    Value removed{};
    auto const wanted = HashHelper::lookupKey(key);
    if (!core_.deleteMemberG(operations, &wanted.key, wanted.hash, &removed)) return false;
    out = std::move(removed);
    return true;
  }
  bool deleteMember(Key const& key) noexcept {
    Value removed{};
    auto const wanted = HashHelper::lookupKey(key);
    return core_.deleteMemberG(operations, &wanted.key, wanted.hash, &removed);
  }
  // Removes the member that an iterator stands on, without looking for its key; false when it was
  // removed already. The iterator is this collection's and not at the end; it may go on.
  bool deleteMember(Iterator const& at) noexcept {
    if (at.currNodeNonStale() == nullptr) return false;
    Value removed{};
    core_.deleteCurrentG(operations, at.core_, &removed);
    return true;
  }
  // Removes one member after the other until none is left. Then returns the storage, unless somebody
  // iterates.
  void memberDelAll() noexcept {
    for (Iterator it = iterator(); it; ++it) deleteMember(it);
    if (core_.iterators_ == 0) core_.emptyAllBuckets();
  }
  void reserve(std::uint32_t members) { core_.reserve(members); }

  // Same keys with equal values, in whatever order.
  bool operator==(HashMap2018 const& other) const {
    if (size() != other.size()) return false;
    for (Iterator it = iterator(); it; ++it) {
      Value const* const theirs = other.lookup(it.key());
      if (!theirs || !(*theirs == it.currNodeNonStale()->value_)) return false;
    }
    return true;
  }

  void verify() const { core_.verify(); }

 private:
  // The member of that key; null when there was none: then key and value were moved into a new one.
  [[gnu::always_inline]] Member* insertUnlessThere(Key& key, Value& given) {
    auto const wanted = HashHelper::lookupKey(key);
    bool isNew = false;
    Member& member = at(core_.newMemberG(operations, &wanted.key, wanted.hash, isNew));
    if (!isNew) return &member;
    new (&member.key_) Key(std::move(key));
    new (&member.value_) Value(std::move(given));
    return nullptr;
  }

  [[gnu::noinline]] static void dropStale(HashMap2018Generic& core) noexcept {
    core.dropStaleG(operations);
  }

  static Member& at(void* entry) noexcept { return *static_cast<Member*>(entry); }
  static Member const& at(void const* entry) noexcept { return *static_cast<Member const*>(entry); }

  static bool compare(void const* keyInEntry, void const* key) noexcept {
    return *static_cast<Key const*>(keyInEntry) == *static_cast<Key const*>(key);
  }
  static void copy(void* to, void const* from) {
    Value copied(at(from).value_);
    new (&at(to).key_) Key(at(from).key_);
    new (&at(to).value_) Value(std::move(copied));
  }
  static void shift(void* to, void* from) noexcept {
    new (&at(to).key_) Key(std::move(at(from).key_));
    at(from).key_.~Key();
    if (!HashMap2018Generic::isLive(from)) return;
    new (&at(to).value_) Value(std::move(at(from).value_));
    at(from).value_.~Value();
  }
  static void releaseKey(void* entry) noexcept { at(entry).key_.~Key(); }
  static void releaseValue(void* entry) noexcept { at(entry).value_.~Value(); }
  static void takeValue(void* entry, void* out) noexcept {
    *static_cast<Value*>(out) = std::move(at(entry).value_);
    at(entry).value_.~Value();
  }

  static constexpr HashMap2018Generic::Operations operations{
      sizeof(Member),
      offsetof(Member, key_),
      std::is_trivially_copyable_v<Key>&& std::is_trivially_copyable_v<Value>,
      &compare,
      &copy,
      &shift,
      &releaseKey,
      &releaseValue,
      &takeValue};

  HashMap2018Generic core_;
};

}  // namespace Kesh
