#include "tools/CommandLine.h"

#include <algorithm>
#include <exception>

#include "mount/ProgramOptions.h"
#include "tools/Commands.h"
#include "tools/Completion.h"
#include "tools/Failure.h"
#include "tools/Suggestion.h"
#include "tools/Text.h"

namespace Oru::Tools {

namespace {

constexpr char const* about =
    "oructl - the operator's command of Oru Central\n"
    "\n"
    "Shows what is in a chassis, resets it, switches features, and reads the trace. It works on "
    "the\n"
    "state tree alone: whatever it shows and does, any program can read and write in files.";

constexpr char const* footer =
    "\n"
    "Examples:\n"
    "  oructl show                              is all well?\n"
    "  oructl reset chip Chip1-2 --wait         start a chip anew and see it come back\n"
    "  oructl watch                             a line for everything that happens\n"
    "  oructl reset --help                      more about one command\n"
    "\n"
    "Colours are used on a terminal only, and never when NO_COLOR is set in the environment.\n"
    "\n"
    "Exit codes: 0 done, 1 the answer is no (something was not reset; there are problems), 2 "
    "wrong\n"
    "use or an unknown name, 3 the tree or a trace file cannot be read or written, 4 it took too\n"
    "long, 5 failure.";

using Names = std::vector<std::string>;

bool isOption(std::string const& word) { return word.size() > 1 && word[0] == '-'; }

Names commandNames(CLI::App const& app) {
  Names names;
  for (auto const* const command : app.get_subcommands([](CLI::App const*) { return true; }))
    names.push_back(command->get_name());
  return names;
}

void addOptionNames(Names& names, CLI::App const& app) {
  for (auto const* const option : app.get_options())
    for (auto const& name : option->get_lnames()) names.push_back("--" + name);
}

// What a command line that was not understood may have meant; empty when nothing better is known
// than what the parser says.
std::string explanation(CLI::App const& app, Names const& arguments) {
  CLI::App const* command = nullptr;
  for (std::size_t i = 0; i < arguments.size() && !command; ++i) {
    if (isOption(arguments[i])) {
      if (arguments[i] == "--tree") ++i;
      continue;
    }
    Names const names = commandNames(app);
    if (std::ranges::find(names, arguments[i]) == names.end())
      return "there is no command \"" + shown(arguments[i]) + '"' + didYouMean(arguments[i], names);
    command = app.get_subcommand(arguments[i]);
  }
  Names options;
  addOptionNames(options, app);
  if (command) addOptionNames(options, *command);
  for (auto const& argument : arguments) {
    if (!argument.starts_with("--")) continue;
    auto const name = argument.substr(0, argument.find('='));
    if (name.size() > 2 && std::ranges::find(options, name) == options.end())
      return "there is no option " + shown(name) + didYouMean(name, options);
  }
  return {};
}

void declare(CLI::App& app, std::string& tree, Action& action) {
  app.footer(footer);
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "oructl " ORU_CENTRAL_VERSION, "Print the version and exit");
  app.failure_message(Mount::failureText);
  Mount::addTreeOption(app, tree, "Folder of the state tree");
  addShow(app, action);
  addReset(app, action);
  addFeature(app, action);
  addInsert(app, action);
  addRemove(app, action);
  addWatch(app, action);
  addTop(app, action);
  addTrace(app, action);
}

int perform(Action const& action, Context const& context) {
  try {
    int const code = action(context);
    if (!context.out.flush()) throw Failure(exitFailure, "the output cannot be written");
    return code;
  } catch (Failure const& failure) {
    context.err << "oructl: " << failure.what() << '\n';
    return failure.code();
  } catch (std::exception const& error) {
    context.err << "oructl: " << error.what() << '\n';
    return exitFailure;
  }
}

}  // namespace

int runCommandLine(Names const& arguments, Outputs const& outputs) {
  std::string tree;
  Action action;
  CLI::App app(about, "oructl");
  declare(app, tree, action);
  if (!arguments.empty() && arguments[0] == completionCommand)
    return complete(app, Names(arguments.begin() + 1, arguments.end()), tree, outputs.out);
  try {
    app.parse(Names(arguments.rbegin(), arguments.rend()));
  } catch (CLI::ParseError const& error) {
    bool const wrong = error.get_exit_code() != 0;
    std::string const text = wrong ? explanation(app, arguments) : std::string();
    if (text.empty()) return app.exit(error, outputs.out, outputs.err) == 0 ? exitOk : exitUsage;
    outputs.err << "oructl: " << text << "\nRun with --help for more information.\n";
    return exitUsage;
  }
  return perform(action, {tree, outputs.out, outputs.err, outputs.style, outputs.errStyle});
}

}  // namespace Oru::Tools
