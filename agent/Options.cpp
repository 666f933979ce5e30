#include "agent/Options.h"

#include <CLI/CLI.hpp>

#include "mount/ProgramOptions.h"
#include "runtime/kesh/TraceHandle.h"

namespace Oru::Agent {

namespace {

constexpr char const* description =
    "oru-agent - supervises the slice, chip and feature agents of a chassis\n"
    "\n"
    "Works on a state tree: reads what the platform, the agents, operators and requesters write\n"
    "there, and writes what is to run and what runs. Needs nothing else and survives being "
    "killed:\n"
    "started again, it takes up what stands in the tree. SIGTERM ends it and leaves all agents\n"
    "running.";

constexpr char const* footer =
    "\n"
    "Exit codes: 0 ended by SIGTERM or SIGINT (--check: all is well), 1 --check found problems,\n"
    "2 wrong use, 3 the tree or the ring trace file cannot be used, 4 another oru-agent works on\n"
    "this tree, 5 failure.\n"
    "\n"
    "Examples:\n"
    "  oru-agent --tree /tmp/chassis --trace-levels 1,3\n"
    "  oru-agent --tree /tmp/chassis --check";

}  // namespace

std::optional<Options> optionsOf(int argc, char** argv, int& exitCode) {
  Options options;
  std::string levels;
  CLI::App app(description, "oru-agent");
  app.footer(footer);
  app.failure_message(Mount::failureText);
  app.set_version_flag("--version", std::string("oru-agent ") + ORU_CENTRAL_VERSION,
                       "Print the version and exit");
  Mount::addTreeOption(app, options.tree, "Folder of the state tree, made if missing");
  app.add_flag("--check", options.check,
               "Print what is wrong with the tree's files and exit; writes nothing");
  app.add_option("--trace-levels", levels,
                 "Trace these levels to standard error: 1,3,5-9 or all (1 resets, 2 every handler, "
                 "3 progress and what is skipped, 5 and 9 features)")
      ->type_name("LIST");
  app.add_option("--ringlog", options.ringlog,
                 "Record all levels in this ring trace file; oructl trace reads it")
      ->type_name("FILE");
  try {
    app.parse(argc, argv);
    options.traceLevels = Kesh::traceLevels(levels, "--trace-levels");
    return options;
  } catch (CLI::ParseError const& error) {
    exitCode = app.exit(error) == 0 ? exitOk : exitUsage;
  } catch (Kesh::TraceLevelsError const& error) {
    std::fprintf(stderr, "oru-agent: %s\n", error.what());
    exitCode = exitUsage;
  }
  return std::nullopt;
}

}  // namespace Oru::Agent
