// Trace call sites: a record in the ring, a level that is off, a line of text. The figure is per
// call site passed.

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <string_view>

#include "bench/Case.h"
#include "bench/TraceHandle.h"
#include "bench/Tracing.h"
#include "runtime/kesh/Trace.h"

namespace Bench {

namespace {

// The least that keeps a record: a time stamp and the values, copied to a mapped ring.
class FloorRing {
 public:
  FloorRing()
      : data_(static_cast<char*>(mmap(nullptr, bytes + overhang, PROT_READ | PROT_WRITE,
                                      MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0))) {
    if (data_ == MAP_FAILED) std::abort();
  }
  FloorRing(FloorRing const&) = delete;
  FloorRing& operator=(FloorRing const&) = delete;
  ~FloorRing() { munmap(data_, bytes + overhang); }

  // Where a record of that size goes; its header is written.
  char* record(std::uint64_t id, std::size_t size) {
    char* const at = data_ + (position_ & (bytes - 1));
    position_ += size;
    std::uint32_t low;
    std::uint32_t high;
    asm volatile("rdtsc" : "=a"(low), "=d"(high));
    std::memcpy(at, &id, sizeof id);
    std::memcpy(at + 8, &low, sizeof low);
    std::memcpy(at + 12, &high, sizeof high);
    return at + 16;
  }

 private:
  static constexpr std::size_t bytes = 1U << 18;
  static constexpr std::size_t overhang = 4096;  // where the last record of a lap ends

  char* data_;
  std::uint64_t position_ = 0;
};

template <class Site>
Body traced(Tracing tracing, Site site) {
  return [=](Meter& meter, std::uint64_t n) {
    tracingIs(tracing);
    double value = 1.5;
    hide(value);
    site(value);  // registers the message
    meter.start();
    for (std::uint64_t i = 0; i < n; ++i) {
      hide(value);
      site(value);
    }
    meter.stop();
  };
}

template <class Site>
Body floorRecord(Site site) {
  auto const ring = std::make_shared<FloorRing>();
  return metered([=](std::uint64_t n) {
    FloorRing* to = ring.get();
    double value = 1.5;
    for (std::uint64_t i = 0; i < n; ++i) {
      hide(to);
      hide(value);
      site(*to, value);
    }
  });
}

constexpr std::string_view fourteen = "Ethernet12/3/4";
static_assert(fourteen.size() == 14);

void addRingRecords() {
  Register("record.none/1/ours", 1000, [] {
    return traced(Tracing::ring, [](double const&) { ORU_TRACE(5, "Something happened"); });
  });
  Register("record.none/1/floor", 1000,
           [] { return floorRecord([](FloorRing& ring, double const&) { ring.record(1, 16); }); });
  Register("record.double/1/ours", 1000, [] {
    return traced(Tracing::ring,
                  [](double const& value) { ORU_TRACE(5, "Something happened {}", value); });
  });
  Register("record.double/1/floor", 1000, [] {
    return floorRecord([](FloorRing& ring, double const& value) {
      std::memcpy(ring.record(2, 24), &value, sizeof value);
    });
  });
  Register("record.text-double/1/ours", 1000, [] {
    return traced(Tracing::ring, [name = Vunda::String(fourteen)](double const& value) {
      ORU_TRACE(5, "Something happened to {} at {}", name, value);
    });
  });
  Register("record.text-double/1/floor", 1000, [] {
    return floorRecord([name = Vunda::String(fourteen)](FloorRing& ring, double const& value) {
      auto const length = static_cast<std::uint16_t>(name.length());
      char* const at = ring.record(3, (16 + 2 + length + sizeof value + 7) & ~std::size_t{7});
      std::memcpy(at, &length, sizeof length);
      std::memcpy(at + 2, name.data(), length);
      std::memcpy(at + 2 + length, &value, sizeof value);
    });
  });
}

void addOthers() {
  Register("record.disabled/1/ours", 1000, [] {
    return traced(Tracing::off,
                  [](double const& value) { ORU_TRACE(5, "Something happened {}", value); });
  });
  Register("record.disabled/1/floor", 1000, []() -> Body {
    auto const ring = std::make_shared<FloorRing>();
    return metered([ring](std::uint64_t n) {
      static std::array<std::atomic<char>, 17> flags{};
      double value = 1.5;
      for (std::uint64_t i = 0; i < n; ++i) {
        hide(value);
        hide(flags);
        // Another thread may switch it, as it may switch a level of ours.
        if (flags[5].load(std::memory_order_relaxed))
          std::memcpy(ring->record(2, 24), &value, sizeof value);
      }
    });
  });
  Register("record.text/1/ours", 1000, [] {
    return traced(Tracing::text, [name = Vunda::String(fourteen)](double const& value) {
      ORU_TRACE(5, "Something happened to {} at {}", name, value);
    });
  });
}

struct RegisterTraces {
  RegisterTraces() {
    addRingRecords();
    addOthers();
  }
} const registerTraces;

}  // namespace

}  // namespace Bench
