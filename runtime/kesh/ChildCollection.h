#pragma once

#include "runtime/kesh/HashMap2018.h"
#include "runtime/kesh/MutatorException.h"
#include "runtime/vunda/Assert.h"
#include "runtime/vunda/Ptr.h"

namespace Kesh {

// The child machines that a state machine owns, by key. The parent's instantiating mutator, in four
// steps:
//
//   if (auto existing = chipSm_.child(name)) { sameArgument(...) ...; return existing; }
//   if (chipSm_.underConstruction(name)) { skip: asked for from within its own construction }
//   auto [child, disturbed] = chipSm_.newChild(name, [&] { return CentralChipSmIs(...); });
//   if (disturbed) { reconcile with what is wanted now }
//
// A key is under construction until its child stands in the collection. Whoever asks for it
// meanwhile, to have it or to remove it, gets nothing, and the construction is reported as
// disturbed.
template <class Tag, class Key, class Child>
class ChildCollection {
 public:
  using Map = HashMap2018<Tag, Key, Vunda::Ptr<Child>>;

  struct Created {
    Vunda::Ptr<Child> child;
    bool disturbed;
  };

  ChildCollection() = default;
  ChildCollection(ChildCollection const&) = delete;
  ChildCollection& operator=(ChildCollection const&) = delete;
  // A parent whose constructor threw goes without parentGone(): its children, too, may look at the
  // collection while they go.
  ~ChildCollection() { childDelAll(); }

  Vunda::Ptr<Child> child(Key const& key) const { return children_.value(key); }
  std::uint32_t size() const noexcept { return children_.size(); }
  typename Map::Iterator iterator() const noexcept { return children_.iterator(); }

  // Calls action(child) for each child that is still there when its turn comes, keeping it alive
  // for the call.
  template <class Action>
  void forEach(Action&& action) const {
    for (auto it = children_.iterator(); it; ++it) {
      if (Vunda::Ptr<Child> const child = it.value()) action(*child);
    }
  }

  // Whether a child of that key is being constructed; if so, that construction counts as disturbed
  // from now on.
  bool underConstruction(Key const& key) noexcept {
    for (Construction* at = newest_; at; at = at->outer) {
      if (at->key == key) return at->disturbed = true;
    }
    return false;
  }

  // Constructs a child that is absent and inserts it under a copy of the key. A construction that
  // throws leaves nothing.
  template <class Make>
  Created newChild(Key const& key, Make&& make) {
    Construction construction(*this, key);
    Vunda::Ptr<Child> child = make();
    children_.newMember(construction.key, child);
    return {std::move(child), construction.disturbed};
  }

  // Removes a child and returns it; null when there is none.
  Vunda::Ptr<Child> childDel(Key const& key) noexcept {
    Vunda::Ptr<Child> removed;
    if (!children_.deleteMember(key, removed)) static_cast<void>(underConstruction(key));
    return removed;
  }
  // Removes all, one after the other; whatever is under construction counts as disturbed.
  void childDelAll() noexcept {
    disturbConstructions();
    children_.memberDelAll();
  }
  // For a parent that goes through its children: what is under construction cannot take part yet,
  // and counts as disturbed.
  void disturbConstructions() noexcept {
    for (Construction* at = newest_; at; at = at->outer) at->disturbed = true;
  }

  // The parent is being destroyed: removes all. A child that somebody else still holds would
  // outlive its parent, which the back pointers forbid.
  void parentGone() noexcept {
    for (auto it = children_.iterator(); it; ++it) {
      Vunda::Ptr<Child> child;
      if (!children_.deleteMember(it.key(), child)) continue;
      ORU_ASSERT(child->useCount() == 1);
    }
    childDelAll();
  }

 private:
  struct Construction {
    Construction(ChildCollection& in, Key const& of) : collection(in), outer(in.newest_), key(of) {
      in.newest_ = this;
    }
    Construction(Construction const&) = delete;
    Construction& operator=(Construction const&) = delete;
    ~Construction() { collection.newest_ = outer; }

    ChildCollection& collection;
    Construction* outer;
    Key const key;
    bool disturbed = false;
  };

  Map children_;
  Construction* newest_ = nullptr;
};

// A member exists: the construction argument given now must be the one that it was built with,
// nodes by identity, texts by content. Raises the re-instantiation exception that names type and
// attribute otherwise.
inline void sameArgument(char const* type, char const* attribute, Vunda::Node const* existing,
                         Vunda::Node const* given) {
  if (existing != given) Impl::throwMutatorReinstantiating(type, attribute, existing, given);
}
template <class T, class U>
void sameArgument(char const* type, char const* attribute, Vunda::Ptr<T> const& existing,
                  Vunda::Ptr<U> const& given) {
  sameArgument(type, attribute, static_cast<Vunda::Node const*>(existing.ptr()),
               static_cast<Vunda::Node const*>(given.ptr()));
}
inline void sameArgument(char const* type, char const* attribute, Vunda::String const& existing,
                         Vunda::String const& given) {
  if (existing != given) throwMutatorReinstantiating(type, attribute, existing, given);
}

}  // namespace Kesh
