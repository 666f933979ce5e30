#pragma once

#include <array>
#include <string>
#include <string_view>

#include "tools/Context.h"
#include "tools/Json.h"
#include "tools/TreeData.h"

namespace Oru::Tools {

// One thing that `oructl show` shows: as a table for people, as fields of a document for programs.
struct ShowSection {
  char const* name;
  char const* about;
  void (*print)(TreeData const& data, Context const& context);
  void (*addJson)(TreeData const& data, Json& document);
};

extern ShowSection const showOverview, showSlices, showChips, showInterfaces, showFeatures,
    showResets, showAgents, showProblems;

// The sections that have a name on the command line, in the order of the help.
std::array<ShowSection const*, 7> const& showSections();

// Reads the tree once and shows the section of that name; the overview when the name is empty.
// Files that cannot be read are left out, and told on the error stream when the section itself does
// not tell of them. Raises Failure when there is no tree or no such section.
int show(Context const& context, std::string_view section, bool json);

// What sections have in common.
Tone toneOf(Launcher::AgentStatus const* agent);
// The process of an agent; null when there is none.
Json jsonOf(Launcher::AgentStatus const* agent);
Json jsonOf(Problem const& problem);
// A point in time: null for never.
Json jsonOfTime(double seconds);
template <class Number>
Json jsonOf(std::optional<Number> const& number) {
  return number ? Json(*number) : Json();
}

}  // namespace Oru::Tools
