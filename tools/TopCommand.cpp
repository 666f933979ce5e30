#include "tools/Commands.h"
#include "tools/Top.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Watch the agents in a table that is kept up to date";

constexpr char const* footer =
    "\n"
    "One line for each agent: its process, what it takes of the machine, how often it was "
    "restarted\n"
    "and crashed, and what it serves. Those in trouble come first. q ends it. When the output is "
    "no\n"
    "terminal the table is printed once.\n"
    "\n"
    "Exit codes: 0 ended by q, SIGINT or SIGTERM, 2 wrong use, 3 there is no tree.";

}  // namespace

void addTop(CLI::App& app, Action& action) {
  auto* const command = app.add_subcommand("top", about);
  command->footer(footer);
  command->final_callback([&action] { action = top; });
}

}  // namespace Oru::Tools
