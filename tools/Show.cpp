#include "tools/Show.h"

#include "launcher/AgentStatusJson.h"
#include "tools/Chassis.h"
#include "tools/Failure.h"
#include "tools/Suggestion.h"
#include "tools/Text.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

ShowSection const& sectionOf(std::string_view name) {
  if (name.empty()) return showOverview;
  std::vector<std::string> names;
  for (auto const* const section : showSections()) {
    if (section->name == name) return *section;
    names.emplace_back(section->name);
  }
  throw Failure(exitUsage, "there is nothing to show that is called \"" + shown(name) + '"' +
                               didYouMean(name, names));
}

Json documentOf(ShowSection const& section, TreeData const& data, Context const& context) {
  Json document = jsonFor(std::string("show.") + section.name);
  document["tree"] = context.tree;
  document["time"] = now();
  section.addJson(data, document);
  document["unreadable"] = Json::array();
  for (auto const& problem : data.unreadable) document["unreadable"].push_back(jsonOf(problem));
  return document;
}

void tellUnreadable(TreeData const& data, Context const& context) {
  for (auto const& problem : data.unreadable)
    context.err << "oructl: " << shown(textOf(problem)) << '\n';
}

}  // namespace

std::array<ShowSection const*, 7> const& showSections() {
  static std::array<ShowSection const*, 7> const sections{
      &showSlices, &showChips,  &showInterfaces, &showFeatures,
      &showResets, &showAgents, &showProblems};
  return sections;
}

int show(Context const& context, std::string_view name, bool json) {
  ShowSection const& section = sectionOf(name);
  TreeData const data(scanTree(Mount::FileTree(context.tree)));
  bool const aboutProblems = &section == &showProblems;
  bool const tellsProblems = aboutProblems || &section == &showOverview;
  if (json) {
    printDocument(context.out, documentOf(section, data, context));
  } else {
    section.print(data, context);
    if (!tellsProblems) tellUnreadable(data, context);
  }
  return aboutProblems && !problemsOf(data).empty() ? exitNo : exitOk;
}

Tone toneOf(Launcher::AgentStatus const* agent) {
  using enum Launcher::AgentState;
  if (!agent) return Tone::quiet;
  switch (agent->state) {
    case running:
      return Tone::good;
    case stopping:
      return Tone::busy;
    case backoff:
    case failed:
      return Tone::bad;
    case gone:
      break;
  }
  return Tone::quiet;
}

Json jsonOfTime(double seconds) { return seconds == 0.0 ? Json() : Json(seconds); }

Json jsonOf(Launcher::AgentStatus const* agent) {
  if (!agent) return {};
  Json json{{"state", toString(agent->state)}, {"since", agent->since}};
  json["pid"] = agent->process ? Json(agent->process->pid) : Json();
  json["starts"] = agent->starts;
  json["wantedRestarts"] = agent->wantedRestarts;
  json["crashes"] = agent->crashes;
  json["lastExit"] = nullptr;
  if (agent->lastExit)
    json["lastExit"] = {{"time", agent->lastExit->time}, {"reason", agent->lastExit->end.reason()}};
  json["nextStart"] = jsonOf(agent->nextStart);
  json["problem"] = agent->problem.empty() ? Json() : Json(agent->problem);
  return json;
}

Json jsonOf(Problem const& problem) {
  return {{"file", problem.file},
          {"activity", textOf(problem.activity)},
          {"place", problem.place},
          {"reason", problem.reason},
          {"since", jsonOfTime(problem.since)}};
}

}  // namespace Oru::Tools
