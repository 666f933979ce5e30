#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

Tone toneOf(ChipState state) {
  if (state == ChipState::up) return Tone::good;
  return state == ChipState::stopped ? Tone::quiet : Tone::busy;
}

Table::Cell reportedCell(ChipRow const& row) {
  if (row.reported == 0.0) return {"-", Tone::plain};
  if (row.reported == row.configured) return {"same", Tone::quiet};
  return {timeText(row.reported), Tone::busy};
}

void print(TreeData const& data, Context const& context) {
  Table table({{"SLICE"},
               {"CHIP"},
               {"DEVICE", Table::Align::right},
               {"STATE"},
               {"GENERATION"},
               {"REPORTED"},
               {"INTERFACES", Table::Align::right},
               {"AGENT"}});
  for (auto const& row : chipsOf(data))
    table.add({{row.slice},
               {row.name},
               {row.deviceId ? std::to_string(*row.deviceId) : "-"},
               {wordOf(row.state), toneOf(row.state)},
               {timeText(row.configured)},
               reportedCell(row),
               {std::to_string(row.interfaces)},
               {wordOf(row.agent), Tools::toneOf(row.agent)}});
  if (table.empty())
    context.out << "there are no chips\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["chips"] = Json::array();
  for (auto const& row : chipsOf(data))
    document["chips"].push_back({{"slice", row.slice},
                                 {"name", row.name},
                                 {"deviceId", jsonOf(row.deviceId)},
                                 {"state", wordOf(row.state)},
                                 {"genTime", jsonOfTime(row.configured)},
                                 {"reported", jsonOfTime(row.reported)},
                                 {"interfaces", row.interfaces},
                                 {"agent", jsonOf(row.agent)}});
}

}  // namespace

ShowSection const showChips{"chips", "every chip: device number, generation, agent", print,
                            addJson};

}  // namespace Oru::Tools
