#include "sim/ConditionReader.h"

#include <algorithm>
#include <array>

#include "sim/StepReader.h"

namespace Oru::Sim {

namespace {

using Mount::JsonError;
using Mount::JsonObject;
using nlohmann::json;

constexpr std::int64_t largestCount = 1 << 20;

std::string elementPlace(JsonObject const& object, char const* field, std::size_t index) {
  return object.placeOf(field) + '[' + std::to_string(index) + ']';
}

// A list of objects, or a single one, or nothing; calls `read` with each.
template <class Read>
void forEachObject(JsonObject& object, char const* field, Read const& read) {
  if (!object.has(field)) return;
  json const& value = object.value(field);
  if (value.is_object()) return read(object.object(field));
  std::size_t index = 0;
  for (json const& element : object.array(field)) {
    read(JsonObject(element, elementPlace(object, field, index++)));
  }
}

// An object whose names are data, or nothing; calls `read` with it and each name.
template <class Read>
void forEachMember(JsonObject& object, char const* field, Read const& read) {
  if (!object.has(field)) return;
  JsonObject list = object.object(field);
  for (std::string const& name : list.names()) read(list, name);
}

std::string word(JsonObject& object, std::string const& field,
                 std::initializer_list<std::string_view> words) {
  std::string const& text = object.string(field.c_str());
  if (std::ranges::find(words, text) != words.end()) return text;
  std::string list;
  for (auto const each : words) list.append(list.empty() ? "" : ", ").append(each);
  object.refuse(field, "is none of " + list);
}

Condition::Since since(JsonObject& object, std::string const& field) {
  return word(object, field, {"same", "changed"}) == "same" ? Condition::Since::same
                                                            : Condition::Since::changed;
}

std::size_t count(JsonObject& object, char const* field) {
  return static_cast<std::size_t>(object.integer(field, 0, largestCount));
}

Condition::File file(JsonObject object) {
  Condition::File file;
  file.path = treeFile(object, "file");
  if (object.has("present")) file.present = object.boolean("present");
  if (object.has("fields")) {
    JsonObject fields = object.object("fields");
    for (std::string const& field : fields.names()) {
      file.fields.emplace(field, fields.value(field.c_str()));
    }
  }
  if (!file.present && !file.fields.empty())
    object.refuse("fields", "stands beside present: false");
  object.finish();
  return file;
}

Condition::Problem problem(JsonObject object) {
  Condition::Problem problem;
  problem.file = treeFile(object, "file");
  if (object.has("reason")) problem.reason = object.string("reason");
  object.finish();
  return problem;
}

}  // namespace

Condition ConditionReader::condition(JsonObject object) const {
  Condition condition;
  if (object.names().empty()) refuseWhole(object, "expects nothing");
  readChips(object, condition);
  readAgents(object, condition);
  readFiles(object, condition);
  object.finish();
  return condition;
}

void ConditionReader::readChips(JsonObject& object, Condition& condition) const {
  if (object.has("published")) condition.published = published(object);
  if (object.has("withdrawn")) condition.withdrawn = chips(object, "withdrawn");
  if (object.has("interfaces")) condition.interfaces = count(object, "interfaces");
  forEachMember(object, "generations", [&](JsonObject& list, std::string const& chip) {
    names_.checkChip(list, chip.c_str(), chip);
    condition.generations[chip] = since(list, chip);
  });
  forEachObject(object, "answered", [&](JsonObject request) {
    condition.answered.push_back(names_.target(request));
    request.finish();
  });
}

void ConditionReader::readAgents(JsonObject& object, Condition& condition) const {
  forEachMember(object, "agents", [&](JsonObject& list, std::string const& name) {
    condition.agents[agent(list, name)] =
        word(list, name, {"running", "stopping", "backoff", "failed", "gone"});
  });
  if (object.has("processes") && object.value("processes").is_string()) {
    word(object, "processes", {"same"});
    condition.allProcessesSame = true;
  } else {
    forEachMember(object, "processes", [&](JsonObject& list, std::string const& name) {
      condition.processes[agent(list, name)] = since(list, name);
    });
  }
  forEachMember(object, "crashes", [&](JsonObject& list, std::string const& name) {
    condition.crashes[agent(list, name)] = count(list, name.c_str());
  });
  forEachMember(object, "programs", [&](JsonObject& list, std::string const& program) {
    checkProgram(list, program, program);
    condition.programs[program] = word(list, program, {"running", "ended"});
  });
}

void ConditionReader::readFiles(JsonObject& object, Condition& condition) const {
  forEachObject(object, "files",
                [&](JsonObject each) { condition.files.push_back(file(std::move(each))); });
  forEachObject(object, "problems",
                [&](JsonObject each) { condition.problems.push_back(problem(std::move(each))); });
  if (object.has("noProblems")) condition.noProblems = strings(object, "noProblems");
}

Condition::Published ConditionReader::published(JsonObject& object) const {
  Condition::Published published;
  json const& value = object.value("published");
  if (value.is_number()) {
    published.count = count(object, "published");
  } else if (value == "all") {
    published.all = true;
  } else {
    published.chips = chips(object, "published");
  }
  return published;
}

std::vector<std::string> ConditionReader::chips(JsonObject& object, char const* field) const {
  std::vector<std::string> list = strings(object, field);
  for (std::string const& chip : list) names_.checkChip(object, field, chip);
  return list;
}

AgentName ConditionReader::agent(JsonObject const& object, std::string const& text) const {
  auto const blank = text.find(' ');
  AgentName const name{text.substr(0, blank),
                       blank == std::string::npos ? std::string() : text.substr(blank + 1)};
  bool const known = name.kind == "slice" || name.kind == "chip" || name.kind == "feature";
  if (!known || name.name.empty())
    object.refuse(text, "is not \"slice NAME\", \"chip NAME\" or \"feature NAME\"");
  if (name.kind == "chip") names_.checkChip(object, text.c_str(), name.name);
  return name;
}

}  // namespace Oru::Sim
