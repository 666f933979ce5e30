// The benchmark program. Without arguments of its own it is an ordinary Google Benchmark program
// (time mode). Run by callgrind with --instructions NAME, it does one case, collecting in the
// metered parts alone (instruction mode). --count NAME prints a figure that is counted, --about what
// it was built with: compiler, flags, peers.

#include "bench/Case.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>

namespace Bench {

std::vector<Case>& cases() {
  static std::vector<Case> all;
  return all;
}

Register::Register(std::string name, std::uint64_t operations, std::function<Body()> prepare,
                   std::int64_t batches) {
  cases().push_back({std::move(name), std::move(prepare), operations, batches});
}

std::vector<Count>& counts() {
  static std::vector<Count> all;
  return all;
}

RegisterCount::RegisterCount(std::string name, std::function<double()> count) {
  counts().push_back({std::move(name), std::move(count)});
}

namespace {

class TimeMeter : public Meter {
 public:
  void start() override { begin_ = Clock::now(); }
  void stop() override { seconds_ += std::chrono::duration<double>(Clock::now() - begin_).count(); }
  double seconds() const { return seconds_; }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point begin_;
  double seconds_ = 0;
};

class InstructionMeter : public Meter {
 public:
  void start() override { CALLGRIND_TOGGLE_COLLECT; }
  void stop() override { CALLGRIND_TOGGLE_COLLECT; }
};

class NoMeter : public Meter {
 public:
  void start() override {}
  void stop() override {}
};

void registerWithGoogleBenchmark() {
  for (Case const& one : cases()) {
    auto* const timed =
        benchmark::RegisterBenchmark(one.name.c_str(), [&one](benchmark::State& state) {
          Body const body = one.prepare();
          NoMeter warmUp;
          body(warmUp, one.operations);
          for (auto _ : state) {
            TimeMeter meter;
            body(meter, one.operations);
            state.SetIterationTime(meter.seconds());
          }
          state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                                  static_cast<std::int64_t>(one.operations));
        });
    timed->UseManualTime();
    if (one.batches != 0) timed->Iterations(one.batches);
  }
}

int runUnderCallgrind(char const* name) {
  for (Case const& one : cases()) {
    if (one.name != name) continue;
    Body const body = one.prepare();
    NoMeter warmUp;
    body(warmUp, one.operations);
    CALLGRIND_START_INSTRUMENTATION;
    InstructionMeter meter;
    body(meter, one.operations);
    return 0;
  }
  std::fprintf(stderr, "oru-bench: no case is called %s\n", name);
  return 2;
}

int list() {
  for (Case const& one : cases()) {
    std::printf("case %s %llu %lld\n", one.name.c_str(),
                static_cast<unsigned long long>(one.operations),
                static_cast<long long>(one.batches));
  }
  for (Count const& one : counts()) std::printf("count %s 1 0\n", one.name.c_str());
  return 0;
}

int about() {
#if defined(__clang__)
  std::printf("%s\n", __VERSION__);
#else
  std::printf("GCC %s\n", __VERSION__);
#endif
  std::puts(ORU_BENCH_FLAGS);
  std::puts(ORU_BENCH_PEERS);
  return 0;
}

int printCount(char const* name) {
  for (Count const& one : counts()) {
    if (one.name != name) continue;
    std::printf("%.17g\n", one.count());
    return 0;
  }
  std::fprintf(stderr, "oru-bench: no count is called %s\n", name);
  return 2;
}

}  // namespace

}  // namespace Bench

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--instructions") == 0)
    return Bench::runUnderCallgrind(argv[2]);
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) return Bench::list();
  if (argc == 2 && std::strcmp(argv[1], "--about") == 0) return Bench::about();
  if (argc == 3 && std::strcmp(argv[1], "--count") == 0) return Bench::printCount(argv[2]);
  Bench::registerWithGoogleBenchmark();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
