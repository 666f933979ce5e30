#pragma once

#include <utility>

namespace OruTest {

// Moves out of `from`, so that a test may look at what that leaves.
template <class T>
T movedOut(T& from) {
  return std::move(from);
}

}  // namespace OruTest
