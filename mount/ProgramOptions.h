#pragma once

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

// What the command lines of all programs have in common.
namespace Oru::Mount {

// The state tree of a program that is not told another one.
inline std::string defaultTree() {
  char const* const given = std::getenv("ORU_TREE");
  return given != nullptr && *given != '\0' ? given : "/run/oru-central";
}

inline CLI::Validator notEmpty() {
  return CLI::Validator([](std::string& text) { return text.empty() ? "must not be empty" : ""; },
                        "");
}

// --tree; `tree` has the default until it is given.
inline CLI::Option* addTreeOption(CLI::App& app, std::string& tree, std::string const& about) {
  tree = defaultTree();
  return app.add_option("--tree", tree, about + " (default: $ORU_TREE, or /run/oru-central)")
      ->type_name("DIR")
      ->check(notEmpty());
}

// A time with its unit, "90s" or "2min", for an option that is in seconds.
inline CLI::Validator asSeconds() {
  auto const seconds = [](std::string& text) -> std::string {
    std::map<std::string, double> const units{{"ms", 0.001}, {"s", 1}, {"min", 60}, {"h", 3600}};
    try {
      return CLI::AsNumberWithUnit(units)(text);
    } catch (CLI::ValidationError const&) {
      return "is no time such as 90s or 2min; units are ms, s, min and h";
    }
  };
  return CLI::Validator(seconds, "");
}

// What is said of a wrong use: what the parser says, put in plain words where it is not.
inline std::string failureText(CLI::App const* app, CLI::Error const& error) {
  std::string text = error.what();
  constexpr std::string_view missingOne = ": 1 required ";
  if (auto const at = text.find(missingOne); at != std::string::npos && text.ends_with(" missing"))
    text.replace(at, missingOne.size(), " needs ").erase(text.rfind(" missing"));
  return app->get_name() + ": " + text + "\nRun with --help for more information.\n";
}

}  // namespace Oru::Mount
