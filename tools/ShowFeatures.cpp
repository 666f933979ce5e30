#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"

namespace Oru::Tools {

namespace {

void print(TreeData const& data, Context const& context) {
  Table table({{"FEATURE"}, {"SWITCHED"}, {"AGENT"}});
  for (auto const& row : featuresOf(data))
    table.add({{row.name},
               row.enabled ? Table::Cell{"on", Tone::good} : Table::Cell{"off", Tone::quiet},
               {wordOf(row.agent), toneOf(row.agent)}});
  if (table.empty())
    context.out << "there are no features\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["features"] = Json::array();
  for (auto const& row : featuresOf(data))
    document["features"].push_back(
        {{"name", row.name}, {"enabled", row.enabled}, {"agent", jsonOf(row.agent)}});
}

}  // namespace

ShowSection const showFeatures{"features", "the software features, and their agents", print,
                               addJson};

}  // namespace Oru::Tools
