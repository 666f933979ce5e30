#include "sim/Narrator.h"

#include <array>
#include <cstdio>

#include "sim/NumberedText.h"

namespace Oru::Sim {

namespace {

using nlohmann::json;
using Difference = TreePicture::Difference;
using Events = std::vector<Event>;
using Tone = Event::Tone;

// The files may be of any shape: whoever plays a device may write what is wrong.
json field(json const& value, char const* name) {
  return value.is_object() ? value.value(name, json()) : json();
}

std::size_t number(json const& value) {
  return value.is_number_unsigned() ? value.get<std::size_t>() : 0;
}

std::string text(json const& value, char const* name) {
  json const found = field(value, name);
  return found.is_string() ? found.get<std::string>() : found.dump();
}

bool same(Difference const& difference, char const* name) {
  return field(difference.before, name) == field(difference.after, name);
}

std::size_t ports(json const& board) {
  std::size_t count = 0;
  for (auto const& chip : field(board, "chips")) count += field(chip, "ports").size();
  return count;
}

Events published(Difference const& difference) {
  if (difference.after.is_null()) {
    return {{Tone::bad, "chip " + text(difference.before, "name") + " withdrawn"}};
  }
  return {{Tone::good, "chip " + text(difference.after, "name") + " published: device " +
                           text(difference.after, "deviceId") + ", " +
                           counted(field(difference.after, "interfaces").size(), "interface")}};
}

Events feature(Difference const& difference) {
  std::string const name = "feature " + difference.path.leaf();
  if (difference.after.is_null()) return {{Tone::plain, name + " removed"}};
  bool const on = field(difference.after, "enabled") == true;
  return {{Tone::plain, name + (on ? " switched on" : " switched off")}};
}

Events request(Difference const& difference) {
  std::string const what = "reset " + difference.path.leaf() + " of " + difference.path[2];
  bool const isAnswer = difference.path[1] == "status";
  if (difference.after.is_null()) {
    return {{Tone::quiet, what + (isAnswer ? ": answer removed" : " taken back")}};
  }
  return {{Tone::plain, what + (isAnswer ? " answered" : " requested")}};
}

// Those of the first list that are not in the second, whatever their time.
void addMissing(Events& events, json const& these, json const& those, Tone tone,
                std::string const& words) {
  for (json const& problem : these) {
    bool found = false;
    for (json const& other : those) {
      found |= text(problem, "file") == text(other, "file") &&
               text(problem, "activity") == text(other, "activity") &&
               text(problem, "reason") == text(other, "reason");
    }
    std::string const place = text(problem, "place");
    if (!found) {
      events.push_back({tone, words + text(problem, "file") + ": " + place +
                                  (place.empty() ? "" : " ") + text(problem, "reason")});
    }
  }
}

Events problems(Difference const& difference) {
  Events events;
  json const before = field(difference.before, "problems");
  json const after = field(difference.after, "problems");
  std::string const program = difference.path.leaf();
  addMissing(events, after, before, Tone::bad, program + " has a problem with ");
  addMissing(events, before, after, Tone::good, program + " has no more problem with ");
  return events;
}

}  // namespace

std::vector<Event> Narrator::eventsOf(Difference const& difference) const {
  auto const& path = difference.path;
  if (difference.directory) {
    if (path.size() != 2 || path[0] != "status") return {};
    return {
        {Tone::quiet, "slice " + path[1] +
                          (difference.after == true ? " reports its board" : " has no status")}};
  }
  if (path.size() == 3 && path[0] == "hw" && path[1] == "config") return board(difference);
  if (path.size() == 3 && path[0] == "config") return config(difference);
  if (path.size() == 3 && path[0] == "status") return report(difference);
  if (path.size() == 3 && path[0] == "system" && path[1] == "chips") return published(difference);
  if (path.size() == 2 && path[0] == "features") return feature(difference);
  if (path.size() == 4 && path[0] == "reset") return request(difference);
  if (path.size() == 3 && path[0] == "launcher-status") return process(difference);
  if (path.size() == 2 && path[0] == "problems") return problems(difference);
  return {};
}

std::vector<Event> Narrator::board(Difference const& difference) const {
  std::string const name = "board " + difference.path.leaf();
  if (difference.after.is_null()) return {{Tone::bad, name + " pulled"}};
  std::string const what = difference.before.is_null() ? " inserted: " : " replaced: ";
  return {{Tone::good, name + what + counted(field(difference.after, "chips").size(), "chip") +
                           ", " + counted(ports(difference.after), "port") + ", generation " +
                           generation(difference.after)}};
}

std::vector<Event> Narrator::config(Difference const& difference) const {
  if (difference.after.is_null() || same(difference, "genTime")) return {};
  std::string const name = "chip " + difference.path.leaf();
  if (field(difference.after, "genTime") == 0) return {};
  if (field(difference.after, "enabled") != true) return {{Tone::quiet, name + " is to stop"}};
  return {{Tone::quiet, name + " is to run generation " + generation(difference.after)}};
}

std::vector<Event> Narrator::report(Difference const& difference) const {
  if (difference.after.is_null() || same(difference, "genTime")) return {};
  if (field(difference.after, "genTime") == 0) return {};
  return {{Tone::quiet, "chip " + difference.path.leaf() + " reports generation " +
                            generation(difference.after)}};
}

std::vector<Event> Narrator::process(Difference const& difference) const {
  std::string const name = difference.path[1] + " agent " + difference.path[2];
  json const& after = difference.after;
  if (after.is_null()) return {{Tone::quiet, name + " ended"}};
  if (same(difference, "state") && same(difference, "pid")) return {};
  std::string const state = text(after, "state");
  if (state == "running") {
    return {{Tone::plain, name +
                              (same(difference, "starts") ? " taken up, pid " : " started, pid ") +
                              text(after, "pid")}};
  }
  if (state == "backoff") {
    return {{Tone::bad, name + " " + text(field(after, "lastExit"), "reason") +
                            ", ended by itself " +
                            counted(number(field(field(after, "restarts"), "crashes")), "time")}};
  }
  if (state == "failed") return {{Tone::bad, name + " cannot start: " + text(after, "problem")}};
  return {{Tone::quiet, name + " " + state}};
}

std::string Narrator::generation(json const& file) const {
  json const genTime = field(file, "genTime");
  if (!genTime.is_number() || genTime == 0) return genTime.dump();
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%+.6f", genTime.get<double>() - start_);
  return text.data();
}

}  // namespace Oru::Sim
