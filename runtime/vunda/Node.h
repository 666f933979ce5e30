#pragma once

#include <cstdint>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/UseWord.h"

namespace Vunda {

class Publisher;

// What a node's class is called. The runtime keeps one of these per class for as long as the
// process lives.
struct TypeData {
  char const* name;
};

// Base of every object of the runtime: a virtual table and one 32-bit use word, 16 bytes in all.
//
// The low 29 bits of the use word count the users. A node is born with count 1, which its creator's
// Ptr adopts. When the last user goes, `lastUserGone()` destroys the node. From then on, in the
// whole destructor, the count is zero and no counted pointer to the node may be made: destructors
// work with plain references.
//
// Two flags live in the word's high bits:
//   notificationActive  the node's reactors are wired to their publishers
//   zombieReactors      the node's subscription callbacks ignore every notification
class ORU_EXPORT Node {
 public:
  static constexpr std::uint32_t notificationActiveFlag = 0x20000000;
  static constexpr std::uint32_t zombieReactorsFlag = 0x40000000;
  static constexpr std::uint32_t useCountMask = 0x1fffffff;

  Node(Node const&) = delete;
  Node& operator=(Node const&) = delete;

  virtual ~Node() = default;
  // The last counted pointer was released. Destroys the node.
  virtual void lastUserGone();
  // Where the node announces its changes; null for a node that announces none.
  virtual Publisher* publisher() const;
  virtual TypeData const* typeData() const;

  [[gnu::always_inline]] void incUse() const noexcept { Impl::useWordAdd(use_); }
  [[gnu::always_inline]] void decUseImpl() const {
    if ((Impl::useWordSubtract(use_) & useCountMask) == 0) const_cast<Node*>(this)->lastUserGone();
  }

  std::uint32_t useCount() const noexcept { return Impl::useWordRead(use_) & useCountMask; }
  bool nodeFlag(std::uint32_t flag) const noexcept { return (Impl::useWordRead(use_) & flag) != 0; }
  // Sets or clears one flag without disturbing the count.
  void nodeFlagSet(std::uint32_t flag, bool value) noexcept {
    Impl::useWordBitIs(use_, flag, value);
  }

 protected:
  Node() = default;

 private:
  mutable std::uint32_t use_ = 1;
};

static_assert(sizeof(Node) == 16);

}  // namespace Vunda
