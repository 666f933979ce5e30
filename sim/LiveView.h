#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "sim/Device.h"
#include "sim/Situation.h"
#include "sim/View.h"

namespace Oru::Sim {

// For a terminal: the lines of events scroll, below them stands a picture of the device that is
// drawn anew.
//
//   Slice1  [Chip1-1] [Chip1-2]      each chip in the colour of its state
//   features  telemetry              those that run
//   oru-agent pid 17: 4 slices, 16 chips     oru-launcher pid 18: ...
class LiveView final : public View {
 public:
  // The references must outlive this.
  LiveView(std::FILE* out, Device const& device, Situation const& situation);
  ~LiveView() override { end(); }

  void event(double time, Event const& event) override;
  void step(double time, Event const& event) override;
  void refresh(double time) override;
  void end() override;

 private:
  void line(double time, Event const& event, char const* indent);
  void erase();
  std::vector<std::string> picture(double time) const;
  std::string sliceRow(Device::Slice const& slice) const;
  std::string chipCell(Device::Slice const& slice, Device::Chip const& chip) const;
  std::string featureRow() const;
  std::string programCell(std::string const& name) const;

  std::FILE* const out_;
  Device const& device_;
  Situation const& situation_;
  std::size_t drawn_ = 0;  // lines of the picture that stand on the terminal
  std::set<std::string> published_;
};

}  // namespace Oru::Sim
