// oru-launcher: runs the agents that have launcher entries in the state tree.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>

#include "launcher/Launcher.h"
#include "launcher/LauncherConfig.h"
#include "mount/EventLoop.h"
#include "mount/FileTree.h"
#include "mount/Log.h"
#include "mount/ProgramOptions.h"
#include "mount/ProgramStart.h"
#include "mount/TreeLock.h"

namespace {

using namespace Oru::Launcher;

constexpr char const* help = R"(oru-launcher - runs the slice, chip and feature agents of a chassis

Runs one process for each launcher entry of the state tree:

  launcher/slice/NAME.json, launcher/chip/NAME.json, launcher/feature/NAME.json

An agent that ends is started again, after a delay that grows with each end. When its entry goes,
its process group gets SIGTERM, and SIGKILL after the grace time. {"restart": SECONDS} in the entry
asks for a restart whenever the number changes. What is known of each process stands in
launcher-status/KIND/NAME.json, what is wrong with the entries in problems/oru-launcher.json.

Agents outlive the launcher, unless --stop-agents is given: the next one takes them up as they are.
)";

constexpr char const* helpFooter = R"(
The configuration says how agents are started, for example:

  {"chip": {"argv": ["chip-agent", "--name={name}", "--tree={tree}"],
            "environment": {"LEVEL": "2"}, "workingDirectory": "/", "graceTime": 5,
            "backoff": {"initial": 0.5, "factor": 2, "max": 30, "stable": 10},
            "names": {"Chip7": {"argv": ["other-agent", "{name}"]}}}}

"slice" and "feature" likewise; {name}, {kind} and {tree} stand for the agent's own; all but "argv"
may be left out. No shell is involved.

Signals:     TERM, INT  end (a second one: at once)     HUP  reads the configuration again
Exit codes:  0 ended as asked       1 failed, or agents still run after --stop-agents
             2 wrong command line   3 wrong configuration   4 another launcher serves the tree

Examples:
  oru-launcher --tree /tmp/chassis --config agents.json --log-dir /tmp/logs
  oru-launcher --config agents.json --check-config)";

struct CommandLine {
  Launcher::Options options;
  bool checkConfig = false;
};

void declare(CLI::App& app, CommandLine& given) {
  app.footer(helpFooter);
  app.failure_message(Oru::Mount::failureText);
  Oru::Mount::addTreeOption(app, given.options.tree, "Folder of the state tree, made if missing");
  app.add_option("--config", given.options.configFile, "How agents are started")
      ->default_val("/etc/oru-central/launcher.json")
      ->type_name("FILE");
  app.add_option("--log-dir", given.options.logDirectory,
                 "Agents write to KIND-NAME.log in this folder, not to the launcher's outputs")
      ->check(CLI::Validator(CLI::ExistingDirectory).description(""))
      ->type_name("DIR");
  app.add_flag("--stop-agents", given.options.stopAgents,
               "Stop the agents when the launcher is ended");
  app.add_flag("--check-config", given.checkConfig, "Check the configuration, say ok, and end");
  app.set_version_flag("--version", "oru-launcher " ORU_CENTRAL_VERSION,
                       "Print the version and exit");
}

int run(CommandLine given, Oru::Mount::Log const& log) {
  LauncherConfig config = LauncherConfig::load(given.options.configFile);
  if (given.checkConfig) {
    std::printf("%s: ok\n", given.options.configFile.c_str());
    return ended;
  }
  if (auto const error = Oru::Mount::FileTree(given.options.tree).makeRoot()) {
    throw std::system_error(error, "cannot use " + given.options.tree);
  }
  given.options.tree = std::filesystem::canonical(given.options.tree);

  Oru::Mount::EventLoop loop;
  Launcher launcher(loop, log, std::move(given.options), std::move(config));
  launcher.start();
  return loop.run();
}

}  // namespace

int main(int argc, char** argv) {
  Oru::Mount::openStandardDescriptors();
  Oru::Mount::ignoreBrokenPipes();
  CommandLine given;
  CLI::App app(help, "oru-launcher");
  declare(app, given);
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? ended : usage;
  }
  Oru::Mount::Log const log("oru-launcher");
  try {
    return run(std::move(given), log);
  } catch (ConfigError const& error) {
    log.error(error.what());
    return badConfig;
  } catch (Oru::Mount::LockedError const& error) {
    log.error(std::string("another launcher serves the tree: ") + error.what());
    return locked;
  } catch (std::exception const& error) {
    log.error(error.what());
    return failed;
  }
}
