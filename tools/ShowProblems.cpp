#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

void print(TreeData const& data, Context const& context) {
  Table table({{"SINCE"}, {"TOLD BY"}, {"PROBLEM"}});
  for (auto const& row : problemsOf(data))
    table.add(
        {{timeText(row.problem.since)}, {row.program}, {Mount::textOf(row.problem), Tone::bad}});
  for (auto const& [program, count] : moreProblemsOf(data))
    table.add({{"-"}, {program}, {"and " + std::to_string(count) + " more", Tone::bad}});
  if (table.empty())
    context.out << "there are no problems\n";
  else
    table.print(context.out, context.style);
}

void addJson(TreeData const& data, Json& document) {
  document["problems"] = Json::array();
  for (auto const& row : problemsOf(data)) {
    Json problem{{"program", row.program}};
    problem.update(jsonOf(row.problem));
    document["problems"].push_back(std::move(problem));
  }
  document["more"] = Json::object();
  for (auto const& [program, count] : moreProblemsOf(data)) document["more"][program] = count;
}

}  // namespace

ShowSection const showProblems{"problems", "what is wrong with the tree, and who says so", print,
                               addJson};

}  // namespace Oru::Tools
