#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/Context.h"
#include "tools/ProcessUsage.h"
#include "tools/Screen.h"
#include "tools/TreeData.h"

namespace Oru::Tools {

// What the picture of `oructl top` says beside the tree.
struct TopSurroundings {
  double time = 0;
  // Of an agent's process: what it takes, and its share of a processor in percent.
  std::function<std::optional<ProcessUsage>(Launcher::ProcessIdentity const&)> usage;
  std::function<std::optional<double>(pid_t, ProcessUsage const&)> share;
};

// The picture: a line of counts, and a table of agents with what they serve; those that are in
// trouble first. Cut to `size`, the last line then says how many more there are; where that is 0, it
// is as wide, and as high, as it takes.
std::vector<std::string> topPicture(TreeData const& data, TopSurroundings const& surroundings,
                                    Style const& style, Screen::Size size);

// Draws the picture anew when the tree changes and every second, until q, SIGINT or SIGTERM; once
// when the output is no terminal. Raises Failure when there is no tree.
int top(Context const& context);

}  // namespace Oru::Tools
