#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/Json.h"
#include "tools/Style.h"
#include "tools/TreeScan.h"

namespace Oru::Tools {

// Something that happened in the chassis, as a change of one file tells it.
struct Event {
  std::string name;  // "chip-published"
  Tone tone = Tone::plain;
  std::string text;  // for people, as it stands in the tree: not yet fit for a terminal
  Json fields = Json::object();
};

// What it means that a file's text is another one; nothing stands for no file. A change that says
// nothing new to an operator (system/slices and system/interfaces repeat what system/chips says)
// gives no event. `before` was understood once. Raises Mount::JsonError when `after` cannot be.
std::vector<Event> eventsOf(Area area, Mount::TreePath const& path,
                            std::optional<std::string> const& before,
                            std::optional<std::string> const& after);

// A slice's directory in status/ has come or gone.
Event statusDirectoryEvent(std::string const& slice, bool present);

// A file cannot be read, or is in order again or gone.
Event unreadableEvent(Problem const& problem, bool present);

}  // namespace Oru::Tools
