#pragma once

#include <map>
#include <optional>
#include <string>

#include "runtime/ringlog/Reader.h"

namespace Oru::Tools {

// Tells which unit of the supervision library a trace record is about: "central", "slice Slice1",
// "chip Chip1", "features", "resets"; the source file's name for any other program's records.
//
// A machine traces its name when a function is entered (level 2). A record without a name belongs
// to the machine of the same class that was named last: all runs on one thread.
class TraceUnit {
 public:
  std::string of(Ringlog::Record const& record);

 private:
  std::map<std::string, std::string> last_;  // name, by kind
};

// That a unit does something else from a record on.
struct UnitChange {
  std::string unit;
  std::string state;  // empty: nothing
};
std::optional<UnitChange> unitChangeOf(Ringlog::Record const& record);

}  // namespace Oru::Tools
