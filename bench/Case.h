#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench {

// What is measured between start() and stop(): time in one mode, instructions in the other.
class Meter {
 public:
  virtual void start() = 0;
  virtual void stop() = 0;

 protected:
  ~Meter() = default;
};

// One thing that is measured, named "what/size/who"; who is "ours", a floor or a peer. `prepare`
// builds what is needed and returns the body; the body does `operations` times the operation, and
// lets the meter run while it does. The figure is what the meter saw per operation.
using Body = std::function<void(Meter& meter, std::uint64_t operations)>;
struct Case {
  std::string name;
  std::function<Body()> prepare;
  std::uint64_t operations;  // in one run of the instruction mode, and in one batch of the other
  // Batches in one repetition of the time mode; 0: as many as take long enough to be measured. A
  // case that does much beside what it meters gives a number, or most of the time goes there.
  std::int64_t batches;
};

std::vector<Case>& cases();

// Registers a case when constructed as a static object.
struct Register {
  Register(std::string name, std::uint64_t operations, std::function<Body()> prepare,
           std::int64_t batches = 0);
};

// A body whose whole loop is metered: `loop(operations)`.
template <class Loop>
Body metered(Loop loop) {
  return [loop](Meter& meter, std::uint64_t operations) mutable {
    meter.start();
    loop(operations);
    meter.stop();
  };
}

// Keeps the compiler from seeing what a value is, and so from leaving work out.
template <class T>
[[gnu::always_inline]] inline void hide(T& value) {
  if constexpr (std::is_integral_v<T> || std::is_pointer_v<T>) {
    asm volatile("" : "+r"(value) : : "memory");
  } else {
    asm volatile("" : "+m"(value) : : "memory");
  }
}

// A figure that is counted, not measured (bytes per port and the like). Each is taken in a process
// of its own.
struct Count {
  std::string name;
  std::function<double()> count;
};
std::vector<Count>& counts();
struct RegisterCount {
  RegisterCount(std::string name, std::function<double()> count);
};

}  // namespace Bench
