#include <algorithm>
#include <map>
#include <string>

#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Text.h"

namespace Oru::Tools {

namespace {

// How many rows there are of each word, in the order in which the words come first.
template <class Rows, class Word>
std::vector<std::pair<std::string, std::size_t>> countsOf(Rows const& rows, Word word) {
  std::vector<std::pair<std::string, std::size_t>> counts;
  for (auto const& row : rows) {
    std::string const text = word(row);
    auto const at = std::ranges::find(counts, text, [](auto const& each) { return each.first; });
    if (at == counts.end())
      counts.emplace_back(text, 1);
    else
      ++at->second;
  }
  return counts;
}

// One line of the overview: what there is, how many, and how many in each state.
struct Group {
  std::string name;
  std::size_t count;
  std::vector<std::pair<std::string, std::size_t>> states;
};

template <class Rows, class Word>
Group groupOf(char const* name, Rows const& rows, Word word) {
  return {name, rows.size(), countsOf(rows, word)};
}

Group problemGroup(TreeData const& data) {
  Group group = groupOf("problems", problemsOf(data), [](auto const& row) { return row.program; });
  auto const more = moreProblemsOf(data);
  for (auto& [program, count] : group.states)
    if (auto const at = more.find(program); at != more.end()) count += at->second;
  group.count = problemCount(data);
  return group;
}

std::vector<Group> groupsOf(TreeData const& data) {
  auto const state = [](auto const& row) { return std::string(wordOf(row.state)); };
  return {
      groupOf("slices", slicesOf(data), state),
      groupOf("chips", chipsOf(data), state),
      groupOf("interfaces", interfacesOf(data),
              [](auto const& row) { return std::string(row.up ? "up" : "down"); }),
      groupOf("features", featuresOf(data),
              [](auto const& row) { return std::string(row.enabled ? "on" : "off"); }),
      groupOf("agents", agentsOf(data), [](auto const& row) { return wordOf(row.status); }),
      groupOf("resets", resetsOf(data), state),
      problemGroup(data),
  };
}

std::string statesText(Group const& group) {
  std::string text;
  for (auto const& [word, count] : group.states)
    text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + word;
  return text;
}

// What an operator should look at, one line each.
std::vector<std::string> remarksOf(TreeData const& data) {
  std::vector<std::string> remarks;
  for (auto const& row : slicesOf(data))
    if (row.state == SliceState::waiting || row.state == SliceState::unreadable)
      remarks.push_back("slice " + row.name + " is " + wordOf(row.state));
  for (auto const& row : chipsOf(data))
    if (row.state == ChipState::starting)
      remarks.push_back("chip " + row.slice + '/' + row.name + " is starting");
  for (auto const& row : agentsOf(data)) {
    using enum Launcher::AgentState;
    if (!row.status || (row.status->state != backoff && row.status->state != failed)) continue;
    std::string const why = !row.status->problem.empty() ? row.status->problem
                            : row.status->lastExit       ? row.status->lastExit->end.reason()
                                                         : std::string("it ended");
    remarks.push_back(toString(row.id) + " agent is in " + wordOf(row.status) + ": " + why);
  }
  for (auto const& row : problemsOf(data))
    remarks.push_back(row.program + ' ' + Mount::textOf(row.problem));
  for (auto const& [program, count] : moreProblemsOf(data))
    remarks.push_back(program + " has " + std::to_string(count) + " problems more");
  return remarks;
}

void print(TreeData const& data, Context const& context) {
  context.out << "state tree " << shown(context.tree) << "\n\n";
  Table table({{"WHAT"}, {"COUNT", Table::Align::right}, {"STATES"}});
  for (auto const& group : groupsOf(data)) {
    bool const wrong = group.name == "problems" && group.count > 0;
    table.add({{group.name},
               {std::to_string(group.count), wrong ? Tone::bad : Tone::plain},
               {statesText(group)}});
  }
  table.print(context.out, context.style);
  auto const remarks = remarksOf(data);
  if (!remarks.empty()) context.out << "\nnot in order:\n";
  for (auto const& remark : remarks)
    context.out << "  " << context.style(Tone::bad, shown(remark)) << '\n';
}

void addJson(TreeData const& data, Json& document) {
  for (auto const& group : groupsOf(data)) {
    Json states = Json::object();
    for (auto const& [word, count] : group.states) states[word] = count;
    document[group.name] = {{"count", group.count}, {"states", std::move(states)}};
  }
  document["remarks"] = remarksOf(data);
}

}  // namespace

ShowSection const showOverview{"overview", "how many there are of everything, and what is wrong",
                               print, addJson};

}  // namespace Oru::Tools
