#include "runtime/vunda/Assert.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace Vunda {

namespace {
constinit std::atomic<AssertFlush> flushHook{nullptr};
}

AssertFlush assertFlushIs(AssertFlush hook) noexcept { return flushHook.exchange(hook); }

void assertionFailed(char const* expression, char const* file, unsigned line,
                     char const* function) noexcept {
  std::fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name,
               file, line, function, expression);
  std::fflush(stderr);
  if (AssertFlush const flush = flushHook.exchange(nullptr)) flush();
  std::abort();
}

}  // namespace Vunda
