// Call sites that several threads pass at the same time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "runtime/kesh/Trace.h"
#include "tests/support/RingTrace.h"
#include "tests/support/ThreadSafeMode.h"

namespace Oru::TraceThreadsTest {

inline Kesh::TraceHandle& _defaultTraceHandle() {
  static constinit Kesh::TraceHandle handle("TraceThreadsTest");
  return handle;
}

Ringlog::TraceFileSizes largeRings() {
  Ringlog::TraceFileSizes sizes;
  sizes.ringBytes = 16 * 1024 * 1024;
  return sizes;
}

TEST(TraceThreads, OneSiteIsRegisteredOnceAndLosesNoRecord) {
  constexpr std::uint64_t threads = 4;
  constexpr std::uint64_t perThread = 20000;
  OruTest::ThreadSafeMode const threadSafe;
  OruTest::RingTrace const ring(largeRings());
  std::vector<std::jthread> writers;
  for (std::uint64_t thread = 0; thread < threads; ++thread) {
    writers.emplace_back([thread] {
      for (std::uint64_t number = 0; number < perThread; ++number) {
        ORU_TRACE(3, "thread {} number {}", thread, number);
      }
    });
  }
  writers.clear();
  std::vector<std::uint64_t> next(threads);
  for (auto const& record : ring.records()) {
    auto const thread = std::get<std::uint64_t>(record.arguments.at(0));
    ASSERT_LT(thread, threads);
    EXPECT_EQ(record.arguments.at(1), Ringlog::Argument(next[thread]++));
  }
  EXPECT_THAT(next, testing::Each(perThread));
}

TEST(TraceThreads, TextLevelsMayBeSwitchedMeanwhile) {
  class CountingSink : public Kesh::TraceSink {
   public:
    void write(Kesh::TraceLine const&) noexcept override { ++lines; }
    std::atomic<std::uint64_t> lines = 0;
  };
  constexpr std::uint64_t records = 20000;
  OruTest::ThreadSafeMode const threadSafe;
  OruTest::RingTrace const ring(largeRings());
  CountingSink sink;
  _defaultTraceHandle().sinkIs(&sink);
  std::atomic<bool> done = false;
  {
    std::jthread const switching([&done] {
      while (!done) {
        _defaultTraceHandle().levelsAre(1u << 3);
        _defaultTraceHandle().levelsAre(0);
      }
    });
    std::vector<std::jthread> writers;
    for (int thread = 0; thread < 2; ++thread) {
      writers.emplace_back([] {
        for (std::uint64_t number = 0; number < records; ++number) ORU_TRACE(3, "{}", number);
      });
    }
    writers.clear();
    done = true;
  }
  _defaultTraceHandle().sinkIs(nullptr);
  _defaultTraceHandle().levelsAre(0);
  EXPECT_EQ(ring.records().size(), 2 * records);
  EXPECT_LE(sink.lines, 2 * records);
}

}  // namespace Oru::TraceThreadsTest
