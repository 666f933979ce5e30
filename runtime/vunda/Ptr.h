#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "runtime/vunda/Node.h"

namespace Vunda {

// Counted pointer to a node, one word. It owns: a copy is one more user, destruction and
// reassignment release. Null is a value like any other. Assignment stores the new pointer before it
// releases the old one, so whatever the release sets off sees the new value.
template <class T>
class Ptr {
 public:
  using element_type = T;

  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}
  // One more user of a node that already has one. The node's count must not be zero.
  explicit Ptr(T* node) noexcept : node_(node) { retain(); }
  Ptr(Ptr const& other) noexcept : node_(other.node_) { retain(); }
  Ptr(Ptr&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  template <class U>
  requires(std::convertible_to<U*, T*> && !std::same_as<U, T>) Ptr(Ptr<U> const& other)
  noexcept : node_(other.ptr()) { retain(); }
  template <class U>
  requires(std::convertible_to<U*, T*> && !std::same_as<U, T>) Ptr(Ptr<U>&& other)
  noexcept : node_(other.release()) {}
  ~Ptr() { drop(node_); }

  Ptr& operator=(Ptr other) noexcept {
    T* const old = std::exchange(node_, other.release());
    drop(old);
    return *this;
  }

  // Takes over the count that a node was born with, or that release() gave up.
  static Ptr adopt(T* node) noexcept {
    Ptr result;
    result.node_ = node;
    return result;
  }
  // Gives the node and its count to the caller; the pointer becomes null.
  [[nodiscard]] T* release() noexcept { return std::exchange(node_, nullptr); }

  T* ptr() const noexcept { return node_; }
  T& operator*() const noexcept { return *node_; }
  T* operator->() const noexcept { return node_; }
  explicit operator bool() const noexcept { return node_ != nullptr; }

  template <class U>
  bool operator==(Ptr<U> const& other) const noexcept {
    return node_ == other.ptr();
  }
  bool operator==(std::nullptr_t) const noexcept { return node_ == nullptr; }

 private:
  void retain() const noexcept {
    if (node_) node_->incUse();
  }
  static void drop(T* node) {
    if (node) node->decUseImpl();
  }

  T* node_ = nullptr;
};

namespace Impl {

// A class that stands for itself in the type data of its nodes (see Kesh::Typed).
template <class T>
concept HasOwnTypeData = requires {
  { T::typeInfo() } -> std::convertible_to<TypeData const&>;
}
&&std::same_as<typename T::TypeInfoOf, std::remove_const_t<T>>;

template <class T, class U>
T* castNode(U* node) noexcept {
  if constexpr (HasOwnTypeData<T> && std::is_base_of_v<U, T>) {
    if (node && node->typeData() == &T::typeInfo()) return static_cast<T*>(node);
  }
  return dynamic_cast<T*>(node);
}

}  // namespace Impl

// The node as a T; null when it is null or of another type. A node whose type data are T's own is
// known at once, any other is searched for among its bases.
template <class T, class U>
Ptr<T> ptrCast(Ptr<U> const& node) noexcept {
  return Ptr<T>(Impl::castNode<T>(node.ptr()));
}
template <class T, class U>
Ptr<T> ptrCast(Ptr<U>&& node) noexcept {
  T* const cast = Impl::castNode<T>(node.ptr());
  if (!cast) return nullptr;
  static_cast<void>(node.release());
  return Ptr<T>::adopt(cast);
}

// Makes a node; its creator's Ptr adopts the count that it was born with.
template <class T, class... Args>
Ptr<T> makeNode(Args&&... args) {
  return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

}  // namespace Vunda
