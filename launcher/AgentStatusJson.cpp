#include "launcher/AgentStatusJson.h"

#include <array>
#include <limits>
#include <nlohmann/json.hpp>

#include "mount/Json.h"

namespace Oru::Launcher {

namespace {

using Mount::JsonObject;
using nlohmann::ordered_json;

constexpr std::array stateWords{std::string_view("gone"), std::string_view("running"),
                                std::string_view("stopping"), std::string_view("backoff"),
                                std::string_view("failed")};
constexpr std::int64_t anyNumber = std::numeric_limits<std::int64_t>::max();

ordered_json jsonOf(AgentStatus::Exit const& exit) {
  ordered_json json{{"time", exit.time}};
  if (exit.end.how == ProcessEnd::How::exited) json["code"] = exit.end.value;
  if (exit.end.how == ProcessEnd::How::killed) json["signal"] = exit.end.value;
  json["reason"] = exit.end.reason();
  return json;
}

AgentState stateOf(JsonObject& object) {
  std::string const& word = object.string("state");
  for (std::size_t i = 1; i < stateWords.size(); ++i) {
    if (stateWords[i] == word) return static_cast<AgentState>(i);
  }
  object.refuse("state", "is not a state of an agent");
}

std::uint64_t countOf(JsonObject& object, char const* field) {
  return static_cast<std::uint64_t>(object.integer(field, 0, anyNumber));
}

std::optional<ProcessIdentity> processOf(JsonObject& object) {
  if (!object.has("pid")) return std::nullopt;
  // The group of the first process would be everybody: kill(-1, ...).
  auto const pid = object.integer("pid", 2, std::numeric_limits<pid_t>::max());
  return ProcessIdentity{static_cast<pid_t>(pid), countOf(object, "startTicks"),
                         object.string("bootId")};
}

AgentStatus::Exit exitOf(JsonObject object) {
  AgentStatus::Exit exit;
  exit.time = object.seconds("time");
  for (auto const& [field, how] :
       {std::pair("code", ProcessEnd::How::exited), std::pair("signal", ProcessEnd::How::killed)}) {
    if (object.has(field)) exit.end = {how, static_cast<int>(object.integer(field, 0, 255))};
  }
  object.string("reason");
  object.finish();
  return exit;
}

void readRestarts(JsonObject object, AgentStatus& status) {
  status.wantedRestarts = countOf(object, "wanted");
  status.crashes = countOf(object, "crashes");
  object.finish();
}

}  // namespace

std::string_view toString(AgentState state) { return stateWords[static_cast<std::size_t>(state)]; }

std::string jsonOf(AgentStatus const& status) {
  ordered_json json{{"state", toString(status.state)}, {"since", status.since}};
  if (status.process) {
    json["pid"] = status.process->pid;
    json["startTicks"] = status.process->startTicks;
    json["bootId"] = status.process->bootId;
  }
  if (status.starts > 0) json["startTime"] = status.startTime;
  json["starts"] = status.starts;
  json["restarts"] = {{"wanted", status.wantedRestarts}, {"crashes", status.crashes}};
  if (status.restart) json["restart"] = *status.restart;
  if (status.lastExit) json["lastExit"] = jsonOf(*status.lastExit);
  if (status.nextStart) json["nextStart"] = *status.nextStart;
  if (!status.problem.empty()) json["problem"] = status.problem;
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

AgentStatus agentStatusOf(std::string_view json) {
  nlohmann::json const parsed = Mount::parsedJson(json);
  JsonObject object(parsed);
  AgentStatus status;
  status.state = stateOf(object);
  status.since = object.seconds("since");
  status.process = processOf(object);
  if (object.has("startTime")) status.startTime = object.seconds("startTime");
  status.starts = countOf(object, "starts");
  readRestarts(object.object("restarts"), status);
  if (object.has("restart")) status.restart = object.seconds("restart");
  if (object.has("lastExit")) status.lastExit = exitOf(object.object("lastExit"));
  if (object.has("nextStart")) status.nextStart = object.seconds("nextStart");
  if (object.has("problem")) status.problem = object.string("problem");
  object.finish();
  return status;
}

}  // namespace Oru::Launcher
