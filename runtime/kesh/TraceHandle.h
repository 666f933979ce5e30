#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>

#include "runtime/ringlog/Gate.h"
#include "runtime/vunda/Export.h"

namespace Kesh {

// One line of text trace.
struct TraceLine {
  timespec time;  // wall clock
  char const* handle;
  unsigned level;
  char const* file;
  unsigned line;
  char const* function;  // short name
  std::string_view text;
};

// The line as text, without a newline:
//   2026-01-31T23:59:59.000001Z OruCentral 3 central/CentralSm.cpp:120 handleHwConfigDir: Starting
//   slice agent Slice1
ORU_EXPORT std::string traceLineText(TraceLine const& line);

// Where text lines go. Called on the tracing thread, one line a call; must not throw and must not
// trace.
class ORU_EXPORT TraceSink {
 public:
  virtual void write(TraceLine const& line) noexcept = 0;

 protected:
  ~TraceSink() = default;
};

// A text of levels that cannot be understood; the message names the text, where it came from and
// the reason.
class ORU_EXPORT TraceLevelsError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// The levels that a text names, as a mask (bit n: level n, 1 to 16): numbers and ranges separated
// by commas, such as "1,3,5-9"; "all"; "none" or the empty text. Blanks around numbers are allowed.
// `origin` says in an error where the text came from ("--trace", "ORU_TRACE in the environment").
// Raises TraceLevelsError.
ORU_EXPORT std::uint32_t traceLevels(std::string_view text, std::string_view origin);

// The text trace of one system: its name and the set of levels that are on (none at first). Level n
// is on when bit n of the mask is set; levels are 1 to 16. A handle is made at compile time, needs
// no destruction, and lives as long as the process: call sites reach it through a function of their
// own namespace,
//
//   inline Kesh::TraceHandle& _defaultTraceHandle() {
//     static constinit Kesh::TraceHandle handle("OruCentral");
//     return handle;
//   }
//
// Tracing and isEnabled() may be used on any thread; so may levelsAre(). The sink is changed while
// nobody traces.
class ORU_EXPORT TraceHandle {
 public:
  // `name` outlives the handle.
  constexpr explicit TraceHandle(char const* name) noexcept : name_(name) {}

  char const* name() const noexcept { return name_; }

  std::uint32_t levels() const noexcept { return gate_.textLevels(); }
  void levelsAre(std::uint32_t mask) noexcept { gate_.textLevelsAre(mask & allLevels); }
  void levelsAre(std::string_view text, std::string_view origin) {
    levelsAre(traceLevels(text, origin));
  }
  bool isEnabled(unsigned level) const noexcept {
    return level <= Ringlog::levels && (levels() >> level & 1u) != 0;
  }

  // The gate that call sites ask what to do.
  Ringlog::Gate& gate() noexcept { return gate_; }

  // Null for standard error. The caller keeps the sink alive. Returns the one before.
  TraceSink* sinkIs(TraceSink* sink) noexcept { return sink_.exchange(sink); }

  // Hands one line to the sink, stamped with the present time, whether or not its level is on.
  void write(unsigned level, char const* file, unsigned line, char const* function,
             std::string_view text) noexcept;

  static constexpr std::uint32_t allLevels = (1u << (Ringlog::levels + 1)) - 2;

 private:
  char const* name_;
  Ringlog::Gate gate_;
  std::atomic<TraceSink*> sink_{nullptr};
};

}  // namespace Kesh
