#pragma once

#include <functional>
#include <string>
#include <utility>

#include "runtime/kesh/TraceHandle.h"

namespace OruTest {

// Everything that the machines do to their surroundings, one line each, in the order in which it
// happens:
//
//   3 Starting slice agent Slice1     a text trace: its level, its text
//   helper.sliceDetected Slice1       a call of the platform helper
//   +sliceLauncher/Slice1             an entity was put into a directory; - for a removal
//   hwStatus/Slice1.genTime=5         an attribute or a keyed member was written
class Journal final : public Kesh::TraceSink {
 public:
  // Runs on every helper call and every write, after its line was added; not on traces.
  using Hook = std::function<void(std::string const& line)>;

  void write(Kesh::TraceLine const& line) noexcept override;
  // A helper call or a write.
  void happened(std::string const& line);
  void hookIs(Hook hook) { hook_ = std::move(hook); }

  // What was added since the last take, a newline after each line.
  std::string take() { return std::exchange(text_, {}); }

 private:
  std::string text_;
  Hook hook_;
};

}  // namespace OruTest
