#include "sim/StepReader.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <utility>

#include "sim/ConditionReader.h"
#include "sim/NumberedText.h"

namespace Oru::Sim {

namespace {

using Mount::JsonError;
using Mount::JsonObject;
using nlohmann::json;

constexpr std::int64_t largestFile = 16 << 20;
constexpr std::int64_t mostWrites = 1000000;

constexpr std::array signals{std::pair("KILL", SIGKILL), std::pair("TERM", SIGTERM),
                             std::pair("ABRT", SIGABRT), std::pair("STOP", SIGSTOP),
                             std::pair("CONT", SIGCONT)};

int signalOf(JsonObject& object) {
  if (!object.has("signal")) return SIGKILL;
  std::string const& word = object.string("signal");
  for (auto const& [name, number] : signals) {
    if (word == name) return number;
  }
  object.refuse("signal", "is none of KILL, TERM, ABRT, STOP, CONT");
}

double secondsOr(JsonObject& object, char const* field, double otherwise) {
  return object.has(field) ? object.seconds(field) : otherwise;
}

std::string stringOr(JsonObject& object, char const* field, std::string const& otherwise) {
  return object.has(field) ? object.string(field) : otherwise;
}

// The one of the fields that is there; refuses none and more than one.
char const* onlyOne(JsonObject const& object, std::initializer_list<char const*> fields) {
  char const* found = nullptr;
  std::string list;
  for (char const* field : fields) {
    list.append(list.empty() ? "" : ", ").append(field);
    if (!object.has(field)) continue;
    if (found != nullptr) object.refuse(field, std::string("stands beside ") + found);
    found = field;
  }
  if (found == nullptr) refuseWhole(object, "has none of the fields " + list);
  return found;
}

std::string name(JsonObject& object, char const* field) {
  std::string const& text = object.string(field);
  if (text.empty()) object.refuse(field, "is empty");
  return text;
}

// What it says, in one line.
std::string plainString(json const& string) {
  std::string const quoted = string.dump(-1, ' ', false, json::error_handler_t::replace);
  return replaced(quoted.substr(1, quoted.size() - 2), "\\\"", "\"");
}

// JSON without the quotation marks of its strings.
std::string plainJson(json const& value) {
  if (value.is_string()) return plainString(value);
  if (!value.is_structured()) return value.dump();
  std::string text;
  char const* separator = "";
  for (auto const& [name, member] : value.items()) {
    text += std::exchange(separator, ", ");
    if (value.is_object()) text += plainString(name) + ": ";
    text += plainJson(member);
  }
  return value.is_array() ? '[' + text + ']' : '{' + text + '}';
}

// A field of a step as it is told, not too long: its name alone when it says no more than yes.
std::string fieldText(std::string const& name, json const& value) {
  constexpr std::size_t longest = 300;
  if (value == true) return name;
  std::string text = plainJson(value);
  if (value.is_object()) text = text.substr(1, text.size() - 2);
  return name + ' ' + (text.size() > longest ? text.substr(0, longest) + "..." : text);
}

}  // namespace

struct StepReader::Verb {
  char const* name;
  std::function<Step::Action(StepReader const&, JsonObject&)> read;
};

std::vector<StepReader::Verb> const& StepReader::verbs() {
  static std::vector<Verb> const verbs{
      {"say", [](auto&, auto& step) { return Step::Say{step.string("say")}; }},
      {"insert",
       [](auto& self, auto& step) { return Step::Insert{self.sliceName(step, "insert")}; }},
      {"remove", [](auto& self, auto& step) { return self.remove(step); }},
      {"swap",
       [](auto& self, auto& step) {
         return Step::Swap{self.sliceName(step, "swap"), secondsOr(step, "away", 0)};
       }},
      {"reset", [](auto& self, auto& step) { return self.reset(step); }},
      {"withdraw",
       [](auto& self, auto& step) {
         JsonObject request = step.object("withdraw");
         Step::Withdraw withdraw{self.target(request), stringOr(request, "who", "oru-sim")};
         request.finish();
         return withdraw;
       }},
      {"feature", [](auto& self, auto& step) { return self.feature(step); }},
      {"behave", [](auto& self, auto& step) { return self.behave(step); }},
      {"kill", [](auto& self, auto& step) { return self.kill(step); }},
      {"stop", [](auto&, auto& step) { return Step::Stop{programName(step, "stop")}; }},
      {"start", [](auto&, auto& step) { return Step::Start{programName(step, "start")}; }},
      {"report", [](auto& self, auto& step) { return self.report(step); }},
      {"write", [](auto& self, auto& step) { return self.write(step); }},
      {"delete", [](auto&, auto& step) { return Step::Delete{treeFile(step, "delete")}; }},
      {"tree", [](auto& self, auto& step) { return self.tree(step); }},
      {"run", [](auto& self, auto& step) { return self.run(step); }},
      {"pause", [](auto&, auto& step) { return Step::Pause{step.seconds("pause")}; }},
      {"idle", [](auto& self, auto& step) { return self.idle(step); }},
      {"remember",
       [](auto&, auto& step) {
         if (!step.boolean("remember")) step.refuse("remember", "is not true");
         return Step::Remember{};
       }},
      {"expect", [](auto& self, auto& step) { return self.expect(step); }}};
  return verbs;
}

Step::Action StepReader::action(JsonObject& step) const {
  Verb const* found = nullptr;
  for (Verb const& verb : verbs()) {
    if (!step.has(verb.name)) continue;
    if (found != nullptr) step.refuse(verb.name, std::string("stands beside ") + found->name);
    found = &verb;
  }
  if (found == nullptr) {
    std::string list;
    for (Verb const& verb : verbs()) list.append(list.empty() ? "" : ", ").append(verb.name);
    refuseWhole(step, "is none of " + list);
  }
  return found->read(*this, step);
}

std::string StepReader::text(json const& step) {
  std::string text;
  for (Verb const& verb : verbs()) {
    if (step.contains(verb.name)) text = fieldText(verb.name, step[verb.name]);
  }
  for (auto const& [field, value] : step.items()) {
    bool const isVerb = std::ranges::any_of(
        verbs(), [&name = field](Verb const& verb) { return name == verb.name; });
    if (!isVerb) text += ", " + fieldText(field, value);
  }
  return text;
}

Step::Action StepReader::remove(JsonObject& step) const {
  Step::Remove remove{sliceName(step, "remove"), false};
  std::string const first = stringOr(step, "first", "config");
  if (first != "config" && first != "status") step.refuse("first", "is neither config nor status");
  remove.statusFirst = first == "status";
  return remove;
}

Step::Action StepReader::reset(JsonObject& step) const {
  JsonObject request = step.object("reset");
  Step::Reset reset;
  reset.target = target(request);
  reset.who = stringOr(request, "who", "oru-sim");
  reset.cause = stringOr(request, "cause", "scenario");
  if (request.has("reason")) {
    reset.reason = static_cast<unsigned>(request.integer("reason", 0, UINT32_MAX));
  }
  reset.age = secondsOr(request, "age", 0);
  request.finish();
  return reset;
}

Step::Action StepReader::feature(JsonObject& step) const {
  Step::Feature feature{name(step, "feature"), std::nullopt};
  std::string const& is = step.string("is");
  if (is != "on" && is != "off" && is != "removed")
    step.refuse("is", "is none of on, off, removed");
  if (is != "removed") feature.enabled = is == "on";
  return feature;
}

AgentBehaviour StepReader::describedBehaviour(AgentName const& agent) const {
  if (device_ == nullptr) return {};
  if (agent.kind == "slice") return device_->slice(agent.name)->agent;
  if (agent.kind == "chip") return device_->chip(agent.name)->agent;
  return device_->agents;
}

Step::Action StepReader::behave(JsonObject& step) const {
  JsonObject object = step.object("behave");
  Step::Behave behave{agentName(object), {}};
  behave.behaviour = behaviourOf(object, describedBehaviour(behave.agent));
  object.finish();
  return behave;
}

Step::Action StepReader::kill(JsonObject& step) const {
  Step::Kill kill;
  kill.signal = signalOf(step);
  if (step.value("kill").is_string()) {
    kill.victim = programName(step, "kill");
  } else {
    JsonObject object = step.object("kill");
    kill.victim = agentName(object);
    object.finish();
  }
  return kill;
}

Step::Action StepReader::report(JsonObject& step) const {
  constexpr std::array words{"configured", "older", "newer"};
  Step::Report report;
  report.chip = chipName(step, "report");
  std::string const word = stringOr(step, "generation", "configured");
  auto const at = std::ranges::find(words, word);
  if (at == words.end()) step.refuse("generation", "is none of configured, older, newer");
  report.generation = static_cast<Step::Report::Generation>(at - words.begin());
  return report;
}

Step::Action StepReader::write(JsonObject& step) const {
  using What = Step::Write::What;
  Step::Write write{treeFile(step, "write"), What::text, {}};
  if (step.has("times")) write.times = static_cast<unsigned>(step.integer("times", 1, mostWrites));
  std::string const what = onlyOne(step, {"text", "json", "size", "link", "directory"});
  if (what == "text") {
    write.text = step.string("text");
  } else if (what == "json") {
    write.text = step.value("json").dump() + '\n';
  } else if (what == "size") {
    write.text.assign(static_cast<std::size_t>(step.integer("size", 0, largestFile)), ' ');
  } else if (what == "link") {
    write.what = What::link;
    write.text = name(step, "link");
  } else if (step.boolean("directory")) {
    write.what = What::directory;
  } else {
    step.refuse("directory", "is not true");
  }
  return write;
}

Step::Action StepReader::run(JsonObject& step) const {
  Step::Run run;
  run.argv = strings(step, "run");
  if (run.argv.empty()) step.refuse("run", "names no program");
  if (step.has("exits")) run.exits = static_cast<int>(step.integer("exits", 0, 255));
  run.says = stringOr(step, "says", "");
  return run;
}

Step::Action StepReader::tree(JsonObject& step) const {
  constexpr std::array words{"away", "back", "remove", "make"};
  auto const at = std::ranges::find(words, step.string("tree"));
  if (at == words.end()) step.refuse("tree", "is none of away, back, remove, make");
  return Step::Tree{static_cast<Step::Tree::Move>(at - words.begin())};
}

Step::Action StepReader::idle(JsonObject& step) const {
  Step::Idle idle;
  idle.programs = strings(step, "idle");
  if (idle.programs.empty()) step.refuse("idle", "names no program");
  for (std::string const& program : idle.programs) checkProgram(step, "idle", program);
  idle.time = secondsOr(step, "for", idle.time);
  idle.within = secondsOr(step, "within", idle.within);
  return idle;
}

Step::Action StepReader::expect(JsonObject& step) const {
  Step::Expect expect;
  expect.condition = ConditionReader(*this).condition(step.object("expect"));
  expect.within = secondsOr(step, "within", expect.within);
  expect.hold = secondsOr(step, "hold", 0);
  return expect;
}

std::string StepReader::sliceName(JsonObject& object, char const* field) const {
  std::string slice = name(object, field);
  if (device_ != nullptr && device_->slice(slice) == nullptr) {
    object.refuse(field, "names no slice of the device: " + slice);
  }
  return slice;
}

std::string StepReader::chipName(JsonObject& object, char const* field) const {
  std::string chip = name(object, field);
  checkChip(object, field, chip);
  return chip;
}

void StepReader::checkChip(JsonObject const& object, char const* field,
                           std::string const& chip) const {
  if (device_ != nullptr && device_->chip(chip) == nullptr) {
    object.refuse(field, "names no chip of the device: " + chip);
  }
}

AgentName StepReader::agentName(JsonObject& object) const {
  std::string const kind = onlyOne(object, {"chip", "slice", "feature"});
  if (kind == "chip") return {kind, chipName(object, "chip")};
  if (kind == "slice") return {kind, sliceName(object, "slice")};
  return {kind, name(object, "feature")};
}

ResetTarget StepReader::target(JsonObject& object) const {
  using Type = ResetTarget::Type;
  std::string const kind = onlyOne(object, {"chip", "slice", "all", "features"});
  if (kind == "chip") {
    std::string const chip = name(object, "chip");
    if (object.has("of")) return {Type::chip, name(object, "of"), chip};
    checkChip(object, "chip", chip);
    return {Type::chip, device_ == nullptr ? "" : device_->sliceOf(chip)->name, chip};
  }
  if (kind == "slice") return {Type::slice, name(object, "slice"), {}};
  if (!object.boolean(kind.c_str())) object.refuse(kind, "is not true");
  return {kind == "all" ? Type::all : Type::features, {}, {}};
}

void refuseWhole(JsonObject const& object, std::string reason) {
  std::string place = object.placeOf("");
  if (place.ends_with('.')) place.pop_back();
  throw JsonError(std::move(place), std::move(reason));
}

std::string programName(JsonObject& object, char const* field) {
  std::string const& program = object.string(field);
  checkProgram(object, field, program);
  return program;
}

void checkProgram(JsonObject const& object, std::string const& field, std::string const& program) {
  if (program == "oru-agent" || program == "oru-launcher") return;
  object.refuse(field, "is neither oru-agent nor oru-launcher");
}

std::vector<std::string> strings(JsonObject& object, char const* field) {
  if (object.value(field).is_string()) return {object.string(field)};
  std::vector<std::string> list;
  for (json const& element : object.array(field)) {
    if (!element.is_string()) {
      throw JsonError(object.placeOf(field) + '[' + std::to_string(list.size()) + ']',
                      "is not a string");
    }
    list.push_back(element.get<std::string>());
  }
  return list;
}

std::string treeFile(JsonObject& object, char const* field) {
  std::filesystem::path const path = object.string(field);
  bool const climbs = std::ranges::find(path, std::filesystem::path("..")) != path.end();
  if (path.empty() || path.is_absolute() || climbs) {
    object.refuse(field, "is not a place inside the tree");
  }
  return path.lexically_normal().string();
}

}  // namespace Oru::Sim
