#include "mount/ProblemList.h"

#include <chrono>
#include <nlohmann/json.hpp>

#include "mount/Json.h"

namespace Oru::Mount {

namespace {

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
  auto list = nlohmann::ordered_json::array();
  for (auto const& problem : problems) {
    nlohmann::ordered_json entry;
    entry["file"] = problem.file;
    entry["activity"] = textOf(problem.activity);
    entry["place"] = problem.place;
    entry["reason"] = problem.reason;
    entry["since"] = problem.since;
    list.push_back(std::move(entry));
  }
  nlohmann::ordered_json file;
  file["problems"] = std::move(list);
  using Handler = nlohmann::ordered_json::error_handler_t;
  return file.dump(2, ' ', false, Handler::replace) + '\n';
}

std::vector<ProblemList::Problem> problemsOf(std::string const& text) {
  auto const json = parsedJson(text);
  JsonObject file(json);
  std::vector<ProblemList::Problem> problems;
  auto const& list = file.array("problems");
  for (std::size_t i = 0; i < list.size(); ++i)
    problems.push_back(problemOf(JsonObject(list[i], "problems." + std::to_string(i))));
  file.finish();
  return problems;
}

}  // namespace Oru::Mount
