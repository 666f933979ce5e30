#include "sim/View.h"

namespace Oru::Sim {

void PlainView::event(double time, Event const& event) {
  if (event.tone == Event::Tone::quiet && !verbose_) return;
  std::fprintf(out_, "%8.3f    %s\n", time, event.text.c_str());
  std::fflush(out_);
}

void PlainView::step(double time, Event const& event) {
  std::fprintf(out_, "%8.3f  %s\n", time, event.text.c_str());
  std::fflush(out_);
}

}  // namespace Oru::Sim
