#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

namespace OruTest {

// The place of a virtual operation in its class's virtual table, the two destructors being 0 and 1.
// What is built apart from the library relies on these places.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::ptrdiff_t parts[2];
  static_assert(sizeof operation == sizeof parts);
  std::memcpy(parts, &operation, sizeof parts);
  EXPECT_EQ(parts[0] % 2, 1) << "not virtual";
  return static_cast<std::size_t>(parts[0] - 1) / sizeof(void*);
}

}  // namespace OruTest

#endif
