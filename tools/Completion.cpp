#include "tools/Completion.h"

#include <algorithm>
#include <ostream>

#include "tools/Failure.h"
#include "tools/KnownNames.h"
#include "tools/Reset.h"
#include "tools/Show.h"

namespace Oru::Tools {

namespace {

using Names = std::vector<std::string>;

// Where the words have led: the command, and what its next word is.
struct Position {
  CLI::App const* command;
  CLI::Option const* value;  // the next word is this option's value
  Names positionals;
};

CLI::Option const* optionOf(CLI::App const& command, std::string const& word) {
  for (auto const* app = &command; app != nullptr; app = app->get_parent())
    for (auto const* const option : app->get_options())
      if (option->nonpositional() && option->check_name(word)) return option;
  return nullptr;
}

CLI::App const* commandOf(CLI::App const& app, std::string const& word) {
  for (auto const* const command : app.get_subcommands([](CLI::App const*) { return true; }))
    if (command->check_name(word)) return command;
  return nullptr;
}

Position positionAfter(CLI::App const& app, Names const& words, std::string& tree) {
  Position position{&app, nullptr, {}};
  for (auto const& word : words) {
    if (position.value) {
      if (position.value->check_lname("tree")) tree = word;
      position.value = nullptr;
    } else if (word.starts_with('-')) {
      auto const* const option = optionOf(*position.command, word);
      if (option && option->get_items_expected_max() > 0) position.value = option;
    } else if (auto const* const command = commandOf(*position.command, word)) {
      position.command = command;
    } else {
      position.positionals.push_back(word);
    }
  }
  return position;
}

Names namesInTree(std::string const& type, std::string const& tree) try {
  TreeData const data(scanTree(Mount::FileTree(tree)));
  if (type == "SLICE") return knownSlices(data);
  if (type == "FEATURE") return knownFeatures(data);
  Names chips;
  for (auto const& [slice, chip] : knownChips(data)) chips.push_back(chip);
  return chips;
} catch (Failure const&) {
  return {};
}

Names sectionNames() {
  Names names;
  for (auto const* const section : showSections()) names.emplace_back(section->name);
  return names;
}

Names valuesOf(std::string const& type, std::string const& tree) {
  if (type == "FILE") return {":file"};
  if (type == "DIR") return {":directory"};
  if (type == "SECTION") return sectionNames();
  if (type == "REASON") return reasonWords();
  if (type == "KIND") return {"chip", "slice", "all", "features"};
  if (type == "SWITCH") return {"on", "off", "remove"};
  if (type == "SLICE" || type == "CHIP" || type == "FEATURE") return namesInTree(type, tree);
  return {};
}

Names optionNames(CLI::App const& command) {
  Names names;
  for (auto const* app = &command; app != nullptr; app = app->get_parent())
    for (auto const* const option : app->get_options())
      for (auto const& name : option->get_lnames())
        if (std::ranges::find(names, "--" + name) == names.end()) names.push_back("--" + name);
  return names;
}

// The names that follow the kind of a reset are of that kind.
std::string typeOf(CLI::Option const& positional, Names const& before) {
  if (positional.get_type_name() != "NAME") return positional.get_type_name();
  if (before.empty() || (before[0] != "chip" && before[0] != "slice")) return {};
  return before[0] == "chip" ? "CHIP" : "SLICE";
}

Names positionalValues(Position const& position, std::string const& tree) {
  auto const positionals = position.command->get_options(
      [](CLI::Option const* option) { return option->get_positional(); });
  if (positionals.empty()) return {};
  auto const* option = positionals[std::min(position.positionals.size(), positionals.size() - 1)];
  bool const full = position.positionals.size() >= positionals.size();
  if (full && option->get_expected_max() < 2) return {};
  return valuesOf(typeOf(*option, position.positionals), tree);
}

Names candidates(Position const& position, std::string const& word, std::string const& tree) {
  if (position.value) return valuesOf(position.value->get_type_name(), tree);
  if (word.starts_with('-')) return optionNames(*position.command);
  auto const commands = position.command->get_subcommands([](CLI::App const*) { return true; });
  if (commands.empty()) return positionalValues(position, tree);
  Names names;
  for (auto const* const command : commands) names.push_back(command->get_name());
  return names;
}

}  // namespace

int complete(CLI::App const& app, Names const& words, std::string tree, std::ostream& out) {
  std::string const word = words.empty() ? std::string() : words.back();
  Names const before(words.begin(), words.empty() ? words.end() : words.end() - 1);
  auto const position = positionAfter(app, before, tree);
  for (auto const& candidate : candidates(position, word, tree)) {
    // A line is one candidate, and no shell should be made to type what a terminal acts on.
    bool const fits = candidate.starts_with(':') || candidate.starts_with(word);
    if (fits && shown(candidate) == candidate) out << candidate << '\n';
  }
  return exitOk;
}

}  // namespace Oru::Tools
