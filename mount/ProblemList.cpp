#include "mount/ProblemList.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include "mount/Json.h"

namespace Oru::Mount {

namespace {

using nlohmann::ordered_json;

constexpr int noIndent = -1;

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

ProblemList::Activity activityOf(JsonObject& object) {
  using enum ProblemList::Activity;
  std::string const& word = object.string("activity");
  for (auto const activity : {read, write, watch})
    if (word == textOf(activity)) return activity;
  object.refuse("activity", "is none of read, write, watch");
}

ProblemList::Problem problemOf(JsonObject object) {
  ProblemList::Problem problem;
  problem.file = object.string("file");
  problem.activity = activityOf(object);
  problem.place = object.string("place");
  problem.reason = object.string("reason");
  problem.since = object.seconds("since");
  object.finish();
  return problem;
}

ordered_json jsonOf(ProblemList::Problem const& problem) {
  return {{"file", problem.file},
          {"activity", textOf(problem.activity)},
          {"place", problem.place},
          {"reason", problem.reason},
          {"since", problem.since}};
}

// Names of files are any bytes.
std::string dumped(ordered_json const& json, int indent) {
  return json.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace

void ProblemList::report(Activity activity, std::string file, std::string place,
                         std::string reason) {
  auto const [at, isNew] = problems_.try_emplace({file, activity});
  Problem& problem = at->second;
  if (!isNew && problem.place == place && problem.reason == reason) return;
  problem = {std::move(file), activity, std::move(place), std::move(reason), now()};
  if (listener_) listener_(problem, true);
}

void ProblemList::clear(Activity activity, std::string const& file) {
  auto const gone = problems_.extract({file, activity});
  if (gone && listener_) listener_(gone.mapped(), false);
}

void ProblemList::wordLost() {
  report(Activity::watch, {}, {},
         "more changed at once than the system kept word of; everything is read anew");
  clear(Activity::watch, {});
}

std::vector<ProblemList::Problem> ProblemList::problems() const {
  std::vector<Problem> all;
  for (auto const& [key, problem] : problems_) all.push_back(problem);
  return all;
}

char const* textOf(ProblemList::Activity activity) noexcept {
  switch (activity) {
    case ProblemList::Activity::read:
      return "read";
    case ProblemList::Activity::write:
      return "write";
    case ProblemList::Activity::watch:
      return "watch";
  }
  return "";
}

std::string textOf(ProblemList::Problem const& problem) {
  std::string text = std::string("cannot ") + textOf(problem.activity) + ' ' +
                     (problem.file.empty() ? "the tree" : problem.file) + ": ";
  if (!problem.place.empty()) text += problem.place + ' ';
  return text + problem.reason;
}

std::string jsonOf(std::vector<ProblemList::Problem> const& problems) {
  auto list = ordered_json::array();
  std::size_t size = 0;
  for (auto const& problem : problems) {
    ordered_json entry = jsonOf(problem);
    size += dumped(entry, noIndent).size();
    if (size > problemFileRoom) break;
    list.push_back(std::move(entry));
  }
  std::size_t const more = problems.size() - list.size();
  ordered_json file{{"problems", std::move(list)}};
  if (more > 0) file["more"] = more;
  return dumped(file, 2) + '\n';
}

ProblemReport problemReportOf(std::string const& text) {
  auto const json = parsedJson(text);
  JsonObject file(json);
  ProblemReport report;
  auto const& list = file.array("problems");
  for (std::size_t i = 0; i < list.size(); ++i)
    report.problems.push_back(problemOf(JsonObject(list[i], "problems." + std::to_string(i))));
  if (file.has("more"))
    report.more =
        static_cast<std::size_t>(file.integer("more", 0, std::numeric_limits<std::int64_t>::max()));
  file.finish();
  return report;
}

}  // namespace Oru::Mount
