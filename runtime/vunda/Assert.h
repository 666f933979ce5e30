#pragma once

#include "runtime/vunda/Export.h"
#include "runtime/vunda/Signature.h"

// ORU_ASSERT(expression): an assertion that is always on, in release builds too. It states a
// precondition or an invariant that the code after it relies on. When the expression is false the
// process reports, in the C library's customary form,
//
//   program: file:line: function: Assertion `expression' failed.
//
// on standard error, flushes the trace and aborts. The text is the source of the expression.
#define ORU_ASSERT(...)                                \
  (__builtin_expect(static_cast<bool>(__VA_ARGS__), 1) \
       ? static_cast<void>(0)                          \
       : ::Vunda::assertionFailed(#__VA_ARGS__, __FILE__, __LINE__, ORU_SIGNATURE))

namespace Vunda {

// Reports a failed assertion, runs the flush hook, aborts.
[[noreturn]] ORU_EXPORT void assertionFailed(char const* expression, char const* file,
                                             unsigned line, char const* function) noexcept;

// What a failed assertion runs before it aborts, so that nothing traced is lost. One hook; null for
// none. Returns the hook that was set before.
using AssertFlush = void (*)() noexcept;
ORU_EXPORT AssertFlush assertFlushIs(AssertFlush hook) noexcept;

}  // namespace Vunda
