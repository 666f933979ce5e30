#pragma once

#include <string>
#include <vector>

#include "sim/Situation.h"
#include "sim/TreePicture.h"

namespace Oru::Sim {

// Something that happened, as one line for people.
struct Event {
  enum class Tone { plain, good, bad, quiet };
  Tone tone = Tone::plain;
  std::string text;
};

// Puts the differences in the tree into words. Generations are told relative to `start`, seconds
// since the epoch.
class Narrator {
 public:
  explicit Narrator(double start) : start_(start) {}

  // Nothing for what is of no interest by itself.
  std::vector<Event> eventsOf(TreePicture::Difference const& difference) const;

 private:
  std::vector<Event> board(TreePicture::Difference const& difference) const;
  std::vector<Event> config(TreePicture::Difference const& difference) const;
  std::vector<Event> report(TreePicture::Difference const& difference) const;
  std::vector<Event> process(TreePicture::Difference const& difference) const;
  std::string generation(nlohmann::json const& file) const;

  double const start_;
};

}  // namespace Oru::Sim
