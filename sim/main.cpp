// oru-sim: a simulated device and its agents.

#include <stdlib.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>

#include "mount/Json.h"
#include "mount/ProgramOptions.h"
#include "mount/ProgramStart.h"
#include "sim/Player.h"
#include "sim/SampleAgents.h"

namespace {

namespace fs = std::filesystem;
using namespace Oru::Sim;

constexpr char const* about =
    "oru-sim - a simulated device: its boards, its agents, and what happens to them\n"
    "\n"
    "`run` starts oru-launcher and oru-agent, plays the device that a description gives, and "
    "carries\n"
    "out a scenario. `slice`, `chip` and `feature` are the sample agents that oru-launcher then\n"
    "starts; they serve any state tree.";

constexpr char const* examples =
    "\n"
    "Examples:\n"
    "  oru-sim run chassis.json                          watch a device come up; Ctrl-C ends it\n"
    "  oru-sim run chassis.json --scenario pull.json     play a scenario\n"
    "  oru-sim check chassis.json pull.json              look for mistakes only";

constexpr char const* aboutRun =
    "Plays a device with the real programs, in a folder of its own. Everything is stopped at the "
    "end,\n"
    "on Ctrl-C too. Without a scenario it goes on until then.";

constexpr char const* runFooter =
    "\n"
    "Exit codes: 0 every expectation held, 1 one did not, 2 wrong use or wrong description, 3 the "
    "run\n"
    "was not possible (a program ended or did not start, a file could not be written), 130 "
    "interrupted.\n"
    "After a failure the folder is kept: the state tree, the programs' logs and the ring trace.";

CLI::Validator const notNegative(
    [](std::string& text) { return text.starts_with('-') ? "must not be negative" : ""; }, "");

struct RunArguments {
  std::string device, scenario, state, tree, programs;
  std::optional<double> time;
  bool keep = false, plain = false, verbose = false;
};

std::string ownFile() { return fs::read_symlink("/proc/self/exe").string(); }

std::string newFolder() {
  char const* const temporary = ::getenv("TMPDIR");
  std::string pattern =
      std::string(temporary && *temporary ? temporary : "/tmp") + "/oru-sim-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), pattern);
  }
  return pattern;
}

// The folder that was given; it may exist if it is empty.
std::string emptyFolder(std::string const& folder, char const* option) {
  fs::create_directories(folder);
  if (!fs::is_empty(folder)) {
    throw DescriptionError(std::string(option) + ' ' + folder + ": is not empty");
  }
  return fs::canonical(folder).string();
}

std::string programFile(std::string const& folder, char const* name) {
  std::string const file = folder + '/' + name;
  if (::access(file.c_str(), X_OK) != 0) {
    throw DescriptionError(file + ": is not there or cannot be run (see --programs)");
  }
  return file;
}

int run(RunArguments const& given) {
  Device const device = Device::parse(textOfFile(given.device), given.device);
  std::optional<Scenario> scenario;
  if (!given.scenario.empty()) {
    scenario = Scenario::parse(textOfFile(given.scenario), given.scenario, &device);
  }
  std::string const programs =
      given.programs.empty() ? fs::path(ownFile()).parent_path().string() : given.programs;
  Player::Options options;
  options.setting.sim = ownFile();
  options.setting.agent = programFile(programs, "oru-agent");
  options.setting.launcher = programFile(programs, "oru-launcher");
  options.setting.folder = given.state.empty() ? newFolder() : emptyFolder(given.state, "--state");
  options.setting.tree =
      given.tree.empty() ? options.setting.folder + "/tree" : emptyFolder(given.tree, "--tree");
  options.time = given.time;
  options.live = !given.plain && ::isatty(STDOUT_FILENO) != 0;
  options.verbose = given.verbose;
  std::string const folder = options.setting.folder;

  int const code = Player(std::move(options), device, std::move(scenario)).run();
  bool const keep =
      given.keep || !given.state.empty() || (code != exitOk && code != exitInterrupted);
  if (keep)
    std::printf("the state tree and the logs are in %s\n", folder.c_str());
  else
    fs::remove_all(folder);
  return code;
}

int check(std::vector<std::string> const& files) {
  std::optional<Device> device;
  int code = exitOk;
  for (std::string const& file : files) try {
      std::string const text = textOfFile(file);
      bool const isScenario = nlohmann::json::parse(text, nullptr, false).contains("steps");
      if (isScenario)
        Scenario::parse(text, file, device ? &*device : nullptr);
      else
        device = Device::parse(text, file);
      std::printf("%s: ok\n", file.c_str());
    } catch (DescriptionError const& error) {
      std::fprintf(stderr, "%s\n", error.what());
      code = exitUsage;
    }
  return code;
}

int serve(AgentOptions const& options) {
  if (options.name.kind == "slice") return makeSliceAgent(options)->run();
  if (options.name.kind == "chip") return makeChipAgent(options)->run();
  return makeFeatureAgent(options)->run();
}

void addRun(CLI::App& app, RunArguments& given) {
  CLI::App* const run = app.add_subcommand("run", aboutRun);
  run->footer(runFooter);
  run->add_option("device", given.device, "Description of the device")
      ->required()
      ->type_name("FILE");
  run->add_option("--scenario", given.scenario, "What happens to it and what is expected")
      ->type_name("FILE");
  run->add_option(
         "--state", given.state,
         "Empty folder for the state tree and the logs, kept at the end (default: a temporary one)")
      ->check(Oru::Mount::notEmpty())
      ->type_name("DIR");
  run->add_option(
         "--tree", given.tree,
         "Empty folder for the state tree, if it is to be elsewhere than in that of --state")
      ->check(Oru::Mount::notEmpty())
      ->type_name("DIR");
  run->add_option("--for", given.time,
                  "Go on for so long, after the scenario if there is one; such as 10s")
      ->transform(Oru::Mount::asSeconds())
      ->check(notNegative)
      ->type_name("TIME");
  run->add_option("--programs", given.programs,
                  "Folder of oru-agent and oru-launcher (default: that of oru-sim)")
      ->type_name("DIR");
  run->add_flag("--keep", given.keep, "Keep the temporary folder");
  run->add_flag("--plain", given.plain, "Lines only, on a terminal too");
  run->add_flag("--verbose", given.verbose, "Tell generations and processes one by one");
}

void addAgent(CLI::App& app, AgentOptions& options, char const* kind, char const* text) {
  CLI::App* const agent = app.add_subcommand(kind, text);
  agent->add_option("name", options.name.name, "Name of what it serves")
      ->required()
      ->type_name("NAME");
  Oru::Mount::addTreeOption(*agent, options.tree, "Folder of the state tree that it serves");
  agent
      ->add_option("--init-time", options.behaviour.initTime,
                   "Seconds that it takes to become ready")
      ->check(notNegative)
      ->type_name("SECONDS")
      ->capture_default_str();
  agent
      ->add_option("--control", options.control,
                   "Folder with files KIND/NAME.json that say how to (mis)behave")
      ->type_name("DIR");
  agent->final_callback([&options, kind] { options.name.kind = kind; });
  agent->footer("\nExit codes: 0 ended by SIGTERM or SIGINT, 2 wrong use, 3 failure.");
}

// The parser itself only says that a subcommand is missing.
void refuseUnknownCommand(CLI::App const& app, int argc, char** argv) {
  if (argc < 2 || *argv[1] == '-') return;
  auto const isMeant = [&](CLI::App const* command) { return command->get_name() == argv[1]; };
  if (!app.get_subcommands(isMeant).empty()) return;
  throw CLI::ValidationError("there is no subcommand " + std::string(argv[1]));
}

}  // namespace

int main(int argc, char** argv) {
  Oru::Mount::openStandardDescriptors();
  RunArguments given;
  AgentOptions agent;
  std::vector<std::string> files;
  CLI::App app(about, "oru-sim");
  app.footer(examples);
  app.failure_message(Oru::Mount::failureText);
  app.require_subcommand(1);
  app.set_version_flag("--version", "oru-sim " ORU_CENTRAL_VERSION, "Print the version and exit");
  addRun(app, given);
  CLI::App* const checking =
      app.add_subcommand("check", "Looks for mistakes in descriptions and scenarios, prints them");
  checking->add_option("files", files, "A scenario is compared with the description before it")
      ->required()
      ->type_name("FILE");
  checking->footer("\nExit codes: 0 all is well, 2 something is wrong.");
  addAgent(app, agent, "slice", "A slice agent: says in the state tree that its board is there");
  addAgent(app, agent, "chip",
           "A chip agent: follows its configuration's generation and reports it");
  addAgent(app, agent, "feature", "A feature agent: does nothing but run");
  try {
    refuseUnknownCommand(app, argc, argv);
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? exitOk : exitUsage;
  }
  try {
    if (app.got_subcommand("run")) return run(given);
    if (app.got_subcommand(checking)) return check(files);
    return serve(agent);
  } catch (DescriptionError const& error) {
    std::fprintf(stderr, "oru-sim: %s\n", error.what());
    return exitUsage;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "oru-sim: %s\n", error.what());
    return exitBroken;
  }
}
