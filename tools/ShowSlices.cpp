#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

Tone toneOf(SliceState state) {
  if (state == SliceState::up) return Tone::good;
  if (state == SliceState::unreadable) return Tone::bad;
  return state == SliceState::empty ? Tone::quiet : Tone::busy;
}

void print(TreeData const& data, Context const& context) {
  Table table({{"SLICE"}, {"STATE"}, {"CHIPS UP"}, {"INSERTED"}, {"TAKEN OVER"}, {"AGENT"}});
  for (auto const& row : slicesOf(data))
    table.add({{row.name},
               {wordOf(row.state), toneOf(row.state)},
               {std::to_string(row.chipsUp) + " of " + std::to_string(row.chips)},
               {timeText(row.configured)},
               {timeText(row.takenOver)},
               {wordOf(row.agent), Tools::toneOf(row.agent)}});
  if (table.empty())
    context.out << "there are no slices\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["slices"] = Json::array();
  for (auto const& row : slicesOf(data))
    document["slices"].push_back({{"name", row.name},
                                  {"state", wordOf(row.state)},
                                  {"chips", row.chips},
                                  {"chipsUp", row.chipsUp},
                                  {"genTime", jsonOfTime(row.configured)},
                                  {"takenOver", jsonOfTime(row.takenOver)},
                                  {"agent", jsonOf(row.agent)}});
}

}  // namespace

ShowSection const showSlices{"slices", "the boards, and how many of their chips are up", print,
                             addJson};

}  // namespace Oru::Tools
