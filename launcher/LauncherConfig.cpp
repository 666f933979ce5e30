#include "launcher/LauncherConfig.h"

#include <cmath>
#include <system_error>

#include "mount/FileTree.h"
#include "mount/Json.h"

namespace Oru::Launcher {

namespace {

using Mount::JsonError;
using Mount::JsonObject;
using nlohmann::json;
using Rules = LauncherConfig::Rules;

constexpr double longest = 86400;  // seconds; what is longer is a mistake

TextTemplate text(json const& value, std::string const& place) {
  if (!value.is_string()) throw JsonError(place, "is not a string");
  auto const& text = value.get_ref<std::string const&>();
  if (text.find('\0') != std::string::npos) throw JsonError(place, "holds a NUL character");
  try {
    return TextTemplate(text);
  } catch (std::invalid_argument const& error) {
    throw JsonError(place, error.what());
  }
}

// Leaves `number` as it is when the field is not given.
void readNumber(JsonObject& object, char const* field, double low, double high, double& number) {
  if (!object.has(field)) return;
  json const& value = object.value(field);
  double const given = value.is_number() ? value.get<double>() : std::nan("");
  if (!(given >= low && given <= high)) {
    object.refuse(field, "is not a number from " + json(low).dump() + " to " + json(high).dump());
  }
  number = given;
}

void readArgv(JsonObject& object, Rules& rules) {
  if (!object.has("argv")) return;
  rules.argv.clear();
  json const& list = object.array("argv");
  for (std::size_t i = 0; i < list.size(); ++i) {
    rules.argv.push_back(text(list[i], object.placeOf("argv") + '[' + std::to_string(i) + ']'));
  }
  if (list.empty() || list[0] == "") object.refuse("argv", "names no program");
}

bool isReserved(std::string_view variable) {
  return variable == "ORU_TREE" || variable.starts_with("ORU_AGENT_");
}

void readEnvironment(JsonObject& object, Rules& rules) {
  if (!object.has("environment")) return;
  JsonObject variables = object.object("environment");
  for (std::string const& name : variables.names()) {
    if (name.empty() || name.find_first_of(std::string("=\0", 2)) != std::string::npos) {
      variables.refuse(name, "is not a name of an environment variable");
    }
    if (isReserved(name)) variables.refuse(name, "is set by the launcher itself");
    rules.environment.insert_or_assign(
        name, text(variables.value(name.c_str()), variables.placeOf(name)));
  }
}

void readBackoff(JsonObject& object, BackoffLimits& limits) {
  if (!object.has("backoff")) return;
  JsonObject backoff = object.object("backoff");
  readNumber(backoff, "initial", 0.01, longest, limits.initial);
  readNumber(backoff, "factor", 1, 100, limits.factor);
  readNumber(backoff, "max", 0.01, longest, limits.max);
  readNumber(backoff, "stable", 0, longest, limits.stable);
  if (limits.max < limits.initial) backoff.refuse("max", "is less than \"initial\"");
  backoff.finish();
}

// The fields that a kind and a single agent have in common, over those of `base`.
Rules readRules(JsonObject& object, Rules const& base) {
  Rules rules = base;
  readArgv(object, rules);
  readEnvironment(object, rules);
  if (object.has("workingDirectory")) {
    rules.workingDirectory =
        text(object.value("workingDirectory"), object.placeOf("workingDirectory"));
  }
  readNumber(object, "graceTime", 0, longest, rules.limits.graceTime);
  readBackoff(object, rules.limits.backoff);
  return rules;
}

}  // namespace

LauncherConfig LauncherConfig::parse(std::string_view text, std::string const& file) {
  LauncherConfig config;
  config.file_ = file;
  try {
    json const parsed = Mount::parsedJson(text);
    JsonObject root(parsed);
    for (AgentKind const kind : agentKinds) config.readKind(root, kind);
    root.finish();
    if (config.kinds_.empty()) throw JsonError({}, "has none of \"slice\", \"chip\", \"feature\"");
  } catch (JsonError const& error) {
    throw ConfigError(file + ": " + error.what());
  }
  return config;
}

void LauncherConfig::readKind(Mount::JsonObject& root, AgentKind kind) {
  std::string const word(toString(kind));
  if (!root.has(word.c_str())) return;
  JsonObject object = root.object(word.c_str());
  Rules const& rules = kinds_[kind] = readRules(object, {});
  if (object.has("names"))
    readNames(object.object("names"), kind);
  else if (rules.argv.empty())
    object.refuse("argv", "is missing");
  object.finish();
}

void LauncherConfig::readNames(Mount::JsonObject names, AgentKind kind) {
  for (std::string const& name : names.names()) {
    JsonObject object = names.object(name.c_str());
    Rules const rules = readRules(object, kinds_.at(kind));
    if (rules.argv.empty()) object.refuse("argv", "is missing here and for the kind");
    object.finish();
    names_.insert_or_assign(AgentId{kind, name}, rules);
  }
}

LauncherConfig LauncherConfig::load(std::string const& file) {
  using State = Mount::Backend::Reading::State;
  auto const reading = Mount::readOrdinaryFile(file);
  if (reading.state == State::present) return parse(reading.text, file);
  std::string const reason =
      reading.state == State::refused
          ? reading.reason
          : std::make_error_code(std::errc::no_such_file_or_directory).message();
  throw ConfigError(file + ": cannot be read: " + reason);
}

Command LauncherConfig::commandFor(AgentId const& id, std::string_view tree) const {
  Rules const* rules = rulesFor(id);
  if (rules == nullptr || rules->argv.empty()) {
    throw StartError("no command for " + toString(id) + " in " + file_);
  }
  TextTemplate::Values const values{id.name, toString(id.kind), tree};
  Command command;
  for (TextTemplate const& argument : rules->argv) command.argv.push_back(argument.expand(values));
  for (auto const& [name, value] : rules->environment) {
    command.environment.emplace(name, value.expand(values));
  }
  if (rules->workingDirectory) command.workingDirectory = rules->workingDirectory->expand(values);
  return command;
}

AgentLimits LauncherConfig::limitsFor(AgentId const& id) const {
  Rules const* rules = rulesFor(id);
  return rules == nullptr ? AgentLimits{} : rules->limits;
}

LauncherConfig::Rules const* LauncherConfig::rulesFor(AgentId const& id) const {
  if (auto const at = names_.find(id); at != names_.end()) return &at->second;
  auto const at = kinds_.find(id.kind);
  return at == kinds_.end() ? nullptr : &at->second;
}

}  // namespace Oru::Launcher
