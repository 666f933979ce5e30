#include <memory>

#include "tools/Commands.h"
#include "tools/Trace.h"

namespace Oru::Tools {

namespace {

constexpr char const* about = "Decode the ring trace of oru-agent";

constexpr char const* footer =
    "\n"
    "The file is the one that oru-agent was given with --ringlog; it can be read while oru-agent\n"
    "writes it and after it has crashed. The trace of the run before is FILE.previous.\n"
    "\n"
    "Levels: 1 resets, 2 entry of every handler, 3 progress and what is skipped, 5 and 9 "
    "features.\n"
    "\n"
    "Examples:\n"
    "  oructl trace agent.ring --level 1,3            what happened, without the handlers\n"
    "  oructl trace agent.ring --follow               and go on with what happens\n"
    "  oructl trace agent.ring --json | jq .text      one object on each line\n"
    "  oructl trace agent.ring --chrome trace.json    a timeline for a trace viewer\n"
    "\n"
    "Exit codes: 0 decoded (following: ended by SIGINT or SIGTERM), 2 wrong use, 3 the file cannot "
    "be\n"
    "read or written.";

}  // namespace

void addTrace(CLI::App& app, Action& action) {
  auto const given = std::make_shared<TraceOptions>();
  auto* const command = app.add_subcommand("trace", about);
  command->footer(footer);
  command->add_option("file", given->file, "The trace file")
      ->envname("ORU_RINGLOG")
      ->type_name("FILE");
  command->add_flag("--follow,-f", given->follow,
                    "Go on with what is written, also by the next oru-agent");
  command->add_option("--level", given->levels, "Only these levels: 1,3,5-9 or all")
      ->type_name("LIST")
      ->capture_default_str();
  command->add_flag("--json", given->json, "One JSON object on each line");
  command
      ->add_option("--chrome", given->chrome,
                   "Write a timeline in the trace-event format, one track for each unit")
      ->type_name("FILE");
  command->final_callback([given, &action] {
    action = [given](Context const& context) { return trace(context, *given); };
  });
}

}  // namespace Oru::Tools
