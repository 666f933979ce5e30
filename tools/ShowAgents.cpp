#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

std::string remark(AgentRow const& row) {
  if (row.entryUnreadable) return "its entry cannot be read";
  if (!row.wanted) return "not wanted any more";
  if (!row.status) return "not started yet";
  if (!row.status->problem.empty()) return row.status->problem;
  return row.status->lastExit ? row.status->lastExit->end.reason() : std::string();
}

template <class Number>
std::string text(Launcher::AgentStatus const* status, Number number) {
  return status ? std::to_string(number(*status)) : "-";
}

void print(TreeData const& data, Context const& context) {
  using enum Table::Align;
  using Status = Launcher::AgentStatus;
  Table table({{"KIND"},
               {"AGENT"},
               {"STATE"},
               {"PID", right},
               {"SINCE"},
               {"STARTS", right},
               {"RESTARTS", right},
               {"CRASHES", right},
               {"REMARK"}});
  for (auto const& row : agentsOf(data)) {
    auto const* const status = row.status;
    table.add({{std::string(toString(row.id.kind))},
               {row.id.name},
               {wordOf(status), toneOf(status)},
               {status && status->process ? std::to_string(status->process->pid) : "-"},
               {status ? timeText(status->since) : "-"},
               {text(status, [](Status const& s) { return s.starts; })},
               {text(status, [](Status const& s) { return s.wantedRestarts; })},
               {text(status, [](Status const& s) { return s.crashes; })},
               {remark(row)}});
  }
  if (table.empty())
    context.out << "there are no agents\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["agents"] = Json::array();
  for (auto const& row : agentsOf(data))
    document["agents"].push_back({{"kind", toString(row.id.kind)},
                                  {"name", row.id.name},
                                  {"wanted", row.wanted},
                                  {"process", jsonOf(row.status)}});
}

}  // namespace

ShowSection const showAgents{"agents", "the agents' processes: state, restarts, crashes", print,
                             addJson};

}  // namespace Oru::Tools
