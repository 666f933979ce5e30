#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"

namespace Oru::Tools {

namespace {

std::string text(std::optional<unsigned> number) { return number ? std::to_string(*number) : "-"; }

void print(TreeData const& data, Context const& context) {
  Table table({{"INTERFACE"},
               {"STATE"},
               {"SLICE"},
               {"CHIP"},
               {"DEVICE", Table::Align::right},
               {"PORT", Table::Align::right}});
  for (auto const& row : interfacesOf(data))
    table.add({{row.name},
               row.up ? Table::Cell{"up", Tone::good} : Table::Cell{"down", Tone::busy},
               {row.slice},
               {row.chip},
               {text(row.deviceId)},
               {text(row.port)}});
  if (table.empty())
    context.out << "there are no interfaces\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["interfaces"] = Json::array();
  for (auto const& row : interfacesOf(data))
    document["interfaces"].push_back({{"name", row.name},
                                      {"state", row.up ? "up" : "down"},
                                      {"slice", row.slice},
                                      {"chip", row.chip},
                                      {"deviceId", jsonOf(row.deviceId)},
                                      {"port", jsonOf(row.port)}});
}

}  // namespace

ShowSection const showInterfaces{"interfaces", "where each network interface sits", print, addJson};

}  // namespace Oru::Tools
