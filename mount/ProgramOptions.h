#pragma once

#include <CLI/CLI.hpp>
#include <cstdlib>
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

// What is said of a wrong use: what the parser says, put in plain words where it is not.
inline std::string failureText(CLI::App const*, CLI::Error const& error) {
  std::string text = error.what();
  constexpr std::string_view missingOne = ": 1 required ";
  if (auto const at = text.find(missingOne); at != std::string::npos && text.ends_with(" missing"))
    text.replace(at, missingOne.size(), " needs ").erase(text.rfind(" missing"));
  return text + "\nRun with --help for more information.\n";
}

}  // namespace Oru::Mount
