#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "runtime/ringlog/Reader.h"
#include "tools/Json.h"
#include "tools/TraceUnit.h"

namespace Oru::Tools {

// Writes trace records as a timeline in the trace-event JSON format, which trace viewers open: one
// track for each unit (the root, each slice, each chip, the features, the reset requests), every
// record an instant on the track of its unit, and on the tracks of chips and slices what they were
// doing meanwhile: "starting" from a reset to the report of its generation, "up" from there to the
// next reset or the end; "agent" for a slice.
class ChromeTrace {
 public:
  // The stream outlives this.
  ChromeTrace(std::ostream& out, std::uint32_t processId);

  // Records come in the order of time.
  void add(Ringlog::Record const& record);
  // Ends what is still going on, at the time of the last record, and the document.
  void finish();

 private:
  struct Span {
    std::string name;
    std::int64_t begin = 0;  // nanoseconds
  };

  unsigned trackOf(std::string const& unit);
  void change(UnitChange const& change, std::int64_t time);
  void endSpan(std::string const& unit, std::int64_t time);
  Json event(char const* phase, std::string const& name, unsigned track) const;
  void write(Json const& json);

  std::ostream& out_;
  std::uint32_t const processId_;
  TraceUnit unit_;
  std::map<std::string, unsigned> tracks_;
  std::map<std::string, Span> spans_;  // that go on, by unit
  std::int64_t last_ = 0;
  bool first_ = true;
};

}  // namespace Oru::Tools
