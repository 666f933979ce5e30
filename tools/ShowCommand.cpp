#include <memory>

#include "tools/Commands.h"
#include "tools/Show.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Show what is in the chassis";

std::string footer() {
  std::string text = "\nSections (without one: an overview of all):\n";
  for (auto const* const section : showSections()) {
    std::string const name = section->name;
    text += "  " + name + std::string(13 - name.size(), ' ') + section->about + '\n';
  }
  return text +
         "\n"
         "Times are generations: a chip is up when its agent reports the one that it is "
         "configured\n"
         "for and it is published with that. A file that cannot be read is a problem; everything\n"
         "else is shown.\n"
         "\n"
         "Examples:\n"
         "  oructl show                       how many there are of everything, and what is wrong\n"
         "  oructl show chips                 which chip is up, which is still starting\n"
         "  oructl show agents --json         for programs; docs/oructl-json.md has the fields\n"
         "\n"
         "Exit codes: 0 shown, 1 show problems: there are some, 2 wrong use, 3 there is no tree.";
}

struct Arguments {
  std::string section;
  bool json = false;
};

}  // namespace

void addShow(CLI::App& app, Action& action) {
  auto const given = std::make_shared<Arguments>();
  auto* const command = app.add_subcommand("show", about);
  command->footer(footer());
  command->add_option("section", given->section, "What to show")->type_name("SECTION");
  command->add_flag("--json", given->json, "One JSON document");
  command->final_callback([given, &action] {
    action = [given](Context const& context) { return show(context, given->section, given->json); };
  });
}

}  // namespace Oru::Tools
