#pragma once

#include <optional>
#include <type_traits>
#include <utility>

#include "runtime/vunda/Ptr.h"

namespace Kesh {

template <class Machine>
concept HasParent = requires(Machine& machine) {
  machine.parentSm();
};

// Keeps a state machine and its parents alive while one of its handlers runs; the child is released
// before its parent. A machine names its parent by `parentSm()`, a plain pointer that may be null;
// the root has none. A machine that is already being destroyed is left alone: nothing is counted
// once the count is zero.
template <class Machine>
class KeepAlive {
 public:
  explicit KeepAlive(Machine& machine) : self_(machine.useCount() ? &machine : nullptr) {}

 private:
  Vunda::Ptr<Machine> self_;
};

template <HasParent Machine>
class KeepAlive<Machine> {
 public:
  explicit KeepAlive(Machine& machine) : self_(machine.useCount() ? &machine : nullptr) {
    if (auto* const parent = machine.parentSm()) parent_.emplace(*parent);
  }
  KeepAlive(KeepAlive const&) = delete;
  KeepAlive& operator=(KeepAlive const&) = delete;
  ~KeepAlive() { self_ = nullptr; }

 private:
  using Parent = std::remove_pointer_t<decltype(std::declval<Machine&>().parentSm())>;

  Vunda::Ptr<Machine> self_;
  std::optional<KeepAlive<Parent>> parent_;
};

}  // namespace Kesh
