#pragma once

#include <optional>

#include "runtime/vunda/Ptr.h"

namespace Kesh {

// Keeps a state machine and its parents alive while one of its handlers runs; the child is released before its parent.
// A machine names its parent by `parentSm()`, a plain pointer that may be null; the root has none. A machine that is
// already being destroyed is left alone: nothing is counted once the count is zero.
template <class Machine>
class KeepAlive {
 public:
  explicit KeepAlive(Machine& machine) : parent_(machine), self_(machine.useCount() ? &machine : nullptr) {}

 private:
  struct NoParent {
    explicit NoParent(Machine&) {}
  };
  template <class M>
  struct Parent {
    explicit Parent(M& machine) {
      if (auto* const parent = machine.parentSm()) alive.emplace(*parent);
    }
    std::optional<KeepAlive<std::remove_pointer_t<decltype(std::declval<M&>().parentSm())>>> alive;
  };
  template <class M>
  static auto parentOf(int) -> decltype(std::declval<M&>().parentSm(), Parent<M>(std::declval<M&>()));
  template <class M>
  static auto parentOf(long) -> NoParent;

  decltype(parentOf<Machine>(0)) parent_;
  Vunda::Ptr<Machine> self_;
};

}  // namespace Kesh
