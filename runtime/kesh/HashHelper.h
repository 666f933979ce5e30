#pragma once

#include <cstdint>
#include <type_traits>

#include "runtime/vunda/String.h"

namespace Kesh::HashHelper {

// Lookup keys carry their hash with them, so that a lookup never hashes again.

// A string key and its (cached) hash.
struct KeyStringLegacy {
  Vunda::String const& key;
  std::uint32_t hash;

  explicit KeyStringLegacy(Vunda::String const& text) noexcept : key(text), hash(text.hash()) {}
};

// Any other key and its hash.
template <class Key>
struct KeyAndRhashLegacy {
  Key const& key;
  std::uint32_t hash;
};

// How a key type hashes: a class with a hash() of its own uses that, a small number is its own hash
// (the collection spreads it).
template <class Key>
std::uint32_t hashOf(Key const& key) noexcept {
  if constexpr (std::is_integral_v<Key> || std::is_enum_v<Key>) {
    static_assert(sizeof(Key) <= sizeof(std::uint32_t));
    return static_cast<std::uint32_t>(key);
  } else {
    return key.hash();
  }
}

// The lookup key of a key: what HashMap2018 passes to its core.
inline KeyStringLegacy lookupKey(Vunda::String const& key) noexcept { return KeyStringLegacy(key); }
template <class Key>
KeyAndRhashLegacy<Key> lookupKey(Key const& key) noexcept {
  return {key, hashOf(key)};
}

}  // namespace Kesh::HashHelper
