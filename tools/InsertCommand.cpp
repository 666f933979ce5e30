#include <memory>
#include <utility>

#include "tools/Commands.h"
#include "tools/Insert.h"

namespace Oru::Tools {

namespace {

constexpr char const* aboutInsert = "Insert a slice, in place of the platform";

constexpr char const* footerInsert =
    "\n"
    "For devices and trials without a platform that finds its boards itself. FILE is a slice's\n"
    "configuration, named after the slice:\n"
    "\n"
    "  Slice1.json:  {\"chips\": {\"Chip1\": {\"deviceId\": 0, \"ports\": {\"1\": "
    "\"Ethernet1/1\"}}}}\n"
    "\n"
    "Its generation is made anew; one in the file is not looked at. Inserting a slice that is "
    "there\n"
    "replaces its board: every chip is reset.\n"
    "\n"
    "Examples:\n"
    "  oructl insert Slice1.json\n"
    "  oructl insert board.json --as Slice2\n"
    "\n"
    "Exit codes: 0 inserted, 2 wrong use or a wrong file, 3 a file cannot be read or written.";

constexpr char const* aboutRemove = "Remove a slice, in place of the platform";

constexpr char const* footerRemove =
    "\n"
    "Takes the slice's configuration out of the tree, as a platform does whose board was pulled. "
    "Its\n"
    "chips leave service, and its agents end.\n"
    "\n"
    "Example:\n"
    "  oructl remove Slice1\n"
    "\n"
    "Exit codes: 0 removed, 2 wrong use or a slice that is not inserted, 3 the tree cannot be read "
    "or\n"
    "written.";

}  // namespace

void addInsert(CLI::App& app, Action& action) {
  auto const given = std::make_shared<std::pair<std::string, std::string>>();
  auto* const command = app.add_subcommand("insert", aboutInsert);
  command->footer(footerInsert);
  command->add_option("file", given->first, "Configuration of the slice")
      ->required()
      ->type_name("FILE");
  command->add_option("--as", given->second, "Name of the slice")->type_name("NAME");
  command->final_callback([given, &action] {
    action = [given](Context const& context) {
      return insertSlice(context, given->first, given->second);
    };
  });
}

void addRemove(CLI::App& app, Action& action) {
  auto const name = std::make_shared<std::string>();
  auto* const command = app.add_subcommand("remove", aboutRemove);
  command->footer(footerRemove);
  command->add_option("slice", *name, "Name of the slice")->required()->type_name("SLICE");
  command->final_callback([name, &action] {
    action = [name](Context const& context) { return removeSlice(context, *name); };
  });
}

}  // namespace Oru::Tools
