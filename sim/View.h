#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "sim/Narrator.h"

namespace Oru::Sim {

// Where the run is shown.
class View {
 public:
  View() = default;
  View(View const&) = delete;
  View& operator=(View const&) = delete;
  virtual ~View() = default;

  // Something that happened, `time` seconds after the start.
  virtual void event(double time, Event const& event) = 0;
  // A line between events: what the scenario does and finds.
  virtual void step(double time, Event const& event) = 0;
  // Before other texts are printed: nothing is drawn any more.
  virtual void end() {}
  // Things may look different now; at most once per turn.
  virtual void refresh(double time) { static_cast<void>(time); }
};

// One line for each event; `quiet` ones only if `verbose`.
class PlainView final : public View {
 public:
  PlainView(std::FILE* out, bool verbose) : out_(out), verbose_(verbose) {}

  void event(double time, Event const& event) override;
  void step(double time, Event const& event) override;

 private:
  std::FILE* const out_;
  bool const verbose_;
};

}  // namespace Oru::Sim
