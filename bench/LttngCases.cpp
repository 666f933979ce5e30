// The tracer of the distribution on the same messages: a program of its own, since its library
// starts threads, which makes counting and allocating atomic in the whole process. A tracepoint
// that nobody listens to is a flag: what is measured here means something only while a session has
// the events enabled, as bench/lttng_session.py makes one.

#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include "bench/LttngProvider.h"

#include "bench/Case.h"

namespace Bench {

namespace {

template <class Message>
Body traced(Message message) {
  return metered([=](std::uint64_t n) {
    double value = 1.5;
    for (std::uint64_t i = 0; i < n; ++i) {
      hide(value);
      message(value);
    }
  });
}

struct RegisterLttng {
  RegisterLttng() {
    Register("record.none/1/lttng", 1000,
             [] { return traced([](double) { lttng_ust_tracepoint(oru_bench, none); }); });
    Register("record.double/1/lttng", 1000, [] {
      return traced([](double value) { lttng_ust_tracepoint(oru_bench, number, value); });
    });
    Register("record.text-double/1/lttng", 1000, [] {
      return traced(
          [](double value) { lttng_ust_tracepoint(oru_bench, text, "Ethernet12/3/4", value); });
    });
  }
} const registerLttng;

}  // namespace

}  // namespace Bench
