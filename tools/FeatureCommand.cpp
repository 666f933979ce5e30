#include <memory>
#include <utility>

#include "tools/Commands.h"
#include "tools/Feature.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Switch a software feature on or off, or remove it";

constexpr char const* footer =
    "\n"
    "A feature that is off keeps its agent, which reads from the tree that it is off. Removing "
    "the\n"
    "feature ends its agent. Switching on a feature that is not there makes it known.\n"
    "\n"
    "Examples:\n"
    "  oructl feature on Telemetry\n"
    "  oructl feature off Telemetry\n"
    "  oructl feature remove Telemetry\n"
    "\n"
    "Exit codes: 0 done, 2 wrong use or an unknown feature, 3 the tree cannot be read or written.";

}  // namespace

void addFeature(CLI::App& app, Action& action) {
  auto const given = std::make_shared<std::pair<std::string, std::string>>();
  auto* const command = app.add_subcommand("feature", about);
  command->footer(footer);
  command->add_option("switch", given->first, "on, off or remove")->required()->type_name("SWITCH");
  command->add_option("name", given->second, "Of the feature")->required()->type_name("FEATURE");
  command->final_callback([given, &action] {
    action = [given](Context const& context) {
      return switchFeature(context, given->first, given->second);
    };
  });
}

}  // namespace Oru::Tools
