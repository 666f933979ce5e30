#pragma once

namespace OruTest {

// Whether the address sanitizer, and the one for undefined behaviour beside it, watches the tests. To
// look at an object it needs descriptors of its own: a test that leaves none cannot be run then.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif
#else
inline constexpr bool isSanitized = false;
#endif

}  // namespace OruTest
