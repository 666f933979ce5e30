#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Oru::Agent {

// What the command line says.
struct Options {
  std::string tree;
  bool check = false;
  std::uint32_t traceLevels = 0;  // mask
  std::string ringlog;            // empty: none
};

// How the program ends; stated in --help.
enum ExitCode : int {
  exitOk = 0,
  exitProblems = 1,  // --check: the tree has problems
  exitUsage = 2,
  exitTree = 3,
  exitLocked = 4,
  exitFailure = 5,
};

// Reads the command line. Nothing when the program is to end at once, with `exitCode`: help or the
// version was asked for, or the use was wrong and standard error says so.
std::optional<Options> optionsOf(int argc, char** argv, int& exitCode);

}  // namespace Oru::Agent
