#include <memory>

#include "tools/Commands.h"
#include "tools/Watch.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Say what happens, one line for each change";

constexpr char const* footer =
    "\n"
    "Begins with what happens next: what stands in the tree already is not told (see show). It "
    "waits\n"
    "for the system's notice of a change and costs nothing in between. When the tree is moved "
    "away\n"
    "it waits for it to come back.\n"
    "\n"
    "Examples:\n"
    "  oructl watch\n"
    "  oructl watch --json | jq -c 'select(.event == \"chip-withdrawn\")'\n"
    "\n"
    "Exit codes: 0 ended by SIGINT or SIGTERM, 2 wrong use, 3 there is no tree.";

}  // namespace

void addWatch(CLI::App& app, Action& action) {
  auto const json = std::make_shared<bool>(false);
  auto* const command = app.add_subcommand("watch", about);
  command->footer(footer);
  command->add_flag("--json", *json, "One JSON object on each line");
  command->final_callback([json, &action] {
    action = [json](Context const& context) { return watch(context, *json); };
  });
}

}  // namespace Oru::Tools
