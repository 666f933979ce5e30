#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "tools/Context.h"

namespace Oru::Tools {

// What the command line asks for.
using Action = std::function<int(Context const&)>;

// Each adds one command with its options, help and examples to `app`; when the command line names
// it, `action` is what it does. Types of values (SLICE, CHIP, FEATURE, ...) are what completion goes
// by, see Completion.h. `action` outlives the app.
void addShow(CLI::App& app, Action& action);
void addReset(CLI::App& app, Action& action);
void addFeature(CLI::App& app, Action& action);
void addInsert(CLI::App& app, Action& action);
void addRemove(CLI::App& app, Action& action);
void addWatch(CLI::App& app, Action& action);
void addTop(CLI::App& app, Action& action);
void addTrace(CLI::App& app, Action& action);

}  // namespace Oru::Tools
