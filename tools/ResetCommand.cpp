#include <memory>

#include "mount/ProgramOptions.h"
#include "tools/Commands.h"
#include "tools/Reset.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Reset chips, slices or the feature agents";

constexpr char const* footer =
    "\n"
    "Writes a request into the state tree; oru-agent answers it. A chip is reset by a new "
    "generation\n"
    "of its configuration: it leaves service until its agent reports that. A request is newer "
    "than\n"
    "everything that the tree knows of when it is made; what is nevertheless configured, or "
    "restarted,\n"
    "for a time that is not older is left alone (outdated).\n"
    "\n"
    "Examples:\n"
    "  oructl reset chip Chip1-2 --cause 'CRC errors on Ethernet1/2/1' --wait\n"
    "  oructl reset slice Slice1 Slice2 --reason hardwareFault\n"
    "  oructl reset all --wait --timeout 2min\n"
    "  oructl reset features --reason softwareUpdate --wait\n"
    "\n"
    "Reasons: unspecified, userRequest, agentFailure, hardwareFault, softwareUpdate, configChange, "
    "or\n"
    "a number.\n"
    "\n"
    "With --wait it says of each chip or feature agent: reset (and when it runs again), outdated, "
    "not\n"
    "inserted, or not found.\n"
    "\n"
    "Exit codes: 0 requested; with --wait: all was reset and runs again, 1 something was not "
    "reset,\n"
    "2 wrong use or an unknown name, 3 the tree cannot be read or written, 4 it took too long.";

}  // namespace

void addReset(CLI::App& app, Action& action) {
  auto const given = std::make_shared<ResetOptions>();
  auto* const command = app.add_subcommand("reset", about);
  command->footer(footer);
  command->add_option("kind", given->kind, "chip, slice, all or features")
      ->required()
      ->type_name("KIND");
  command->add_option("names", given->names, "Of the chips or slices")->type_name("NAME");
  command
      ->add_option("--slice", given->slice,
                   "The slice of the chips, when two have one of that name")
      ->type_name("SLICE");
  command->add_option("--cause", given->cause, "Free text, for whoever looks later")
      ->type_name("TEXT")
      ->capture_default_str();
  command->add_option("--reason", given->reason, "Why, as a word or a number")
      ->type_name("REASON")
      ->capture_default_str();
  command->add_option("--as", given->requester, "Who asks: a folder under reset/request/")
      ->type_name("WHO")
      ->capture_default_str();
  auto* const wait =
      command->add_flag("--wait", given->wait, "Wait for the outcome, and until all runs again");
  command->add_option("--timeout", given->timeout, "Wait no longer than so (90s, 2min)")
      ->transform(Mount::asSeconds())
      ->needs(wait)
      ->type_name("TIME")
      ->default_str("60s");
  command->final_callback([given, &action] {
    action = [given](Context const& context) { return reset(context, *given); };
  });
}

}  // namespace Oru::Tools
