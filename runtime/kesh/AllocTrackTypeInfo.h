#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/Node.h"

namespace Kesh {

// Per-type allocation tracker, and with that what the runtime knows of a type. One per class, for
// as long as the process lives; it appears in the list of all trackers with its first allocation.
class ORU_EXPORT AllocTrackTypeInfo : public Vunda::TypeData {
 public:
  constexpr explicit AllocTrackTypeInfo(char const* typeName) noexcept
      : Vunda::TypeData{typeName} {}
  AllocTrackTypeInfo(AllocTrackTypeInfo const&) = delete;
  AllocTrackTypeInfo& operator=(AllocTrackTypeInfo const&) = delete;

  static void _trackAllocation(AllocTrackTypeInfo& type, std::size_t size,
                               std::size_t count) noexcept;
  static void trackDeallocation(AllocTrackTypeInfo& type, std::size_t size,
                                std::size_t count) noexcept;

  // Tracked allocation of one object of that size, and its release.
  static void* allocate(AllocTrackTypeInfo& type, std::size_t size);
  static void release(AllocTrackTypeInfo& type, void* memory, std::size_t size) noexcept;

  // Objects and bytes of this type that live now.
  std::size_t liveCount() const noexcept { return count_.load(std::memory_order_relaxed); }
  std::size_t liveBytes() const noexcept { return bytes_.load(std::memory_order_relaxed); }

  // All types that were ever allocated, newest first.
  static AllocTrackTypeInfo const* first() noexcept;
  AllocTrackTypeInfo const* next() const noexcept { return next_; }
  // Objects of all types that live now.
  static std::size_t totalLiveCount() noexcept;

 private:
  void enlist() noexcept;

  std::atomic<std::size_t> count_{0};
  std::atomic<std::size_t> bytes_{0};
  std::atomic<bool> listed_{false};
  AllocTrackTypeInfo* next_ = nullptr;
};

// Gives a node class its type data and tracked allocation: `class X : public Kesh::Typed<X,
// Vunda::Node>` with `static constexpr char const* typeName = "Ns::X"`. A constructor that throws
// leaves nothing tracked.
template <class T, class Base>
class ORU_EXPORT Typed : public Base {
 public:
  using Base::Base;
  using TypeInfoOf = T;

  static AllocTrackTypeInfo& typeInfo() noexcept { return info_; }
  Vunda::TypeData const* typeData() const override { return &info_; }

  static void* operator new(std::size_t size) { return AllocTrackTypeInfo::allocate(info_, size); }
  static void operator delete(void* memory, std::size_t size) noexcept {
    AllocTrackTypeInfo::release(info_, memory, size);
  }

 private:
  static inline constinit AllocTrackTypeInfo info_{T::typeName};
};

}  // namespace Kesh
