#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"
#include "tests/runtime/vunda/SampleNodes.h"

namespace OruTest {

struct HN_Test;
using Names = Kesh::HashMap2018<HN_Test, Vunda::String, int>;
using Numbers = Kesh::HashMap2018<HN_Test, std::uint32_t, int>;
using Nodes = Kesh::HashMap2018<HN_Test, Vunda::String, Vunda::Ptr<Sample>>;

// The members in order. The collection is verified on the way.
template <class Map>
auto contents(Map const& map) {
  using Key = std::remove_cvref_t<decltype(map.iterator().key())>;
  using Value = decltype(map.iterator().value());
  std::vector<std::pair<Key, Value>> all;
  for (auto it = map.iterator(); it; ++it) all.emplace_back(it.key(), it.value());
  map.verify();
  return all;
}

// "a" to "d", holding 1 to 4.
inline Names abcd() {
  Names map;
  int value = 0;
  for (char const* key : {"a", "b", "c", "d"}) map.newMember(key, ++value);
  return map;
}

}  // namespace OruTest
