#include "sim/Player.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "sim/ConditionCheck.h"
#include "sim/LiveView.h"
#include "sim/NumberedText.h"

namespace Oru::Sim {

namespace {

using nlohmann::json;
using Tone = Event::Tone;

constexpr double stopTime = 5;  // seconds that a program gets to end

bool expectsSomething(Step const& step) {
  return std::holds_alternative<Step::Expect>(step.action) ||
         std::holds_alternative<Step::Idle>(step.action) ||
         std::holds_alternative<Step::Run>(step.action);
}

double secondsSinceEpoch() {
  std::chrono::duration<double> const time = std::chrono::system_clock::now().time_since_epoch();
  return time.count();
}

}  // namespace

Player::Player(Options options, Device const& device, std::optional<Scenario> scenario)
    : options_(std::move(options)),
      device_(device),
      scenario_(std::move(scenario)),
      narrator_(secondsSinceEpoch()),
      tasks_(loop_, {[this] {
                       auto const done = whenDone_;  // which sets another one
                       done();
                     },
                     [this](std::vector<std::string> const& reasons) { failed(reasons); }}) {
  for (int const number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    signals_.push_back(loop_.signal(number, [this, number](auto const&) { interrupted(number); }));
  }
  stage_ = std::make_unique<Stage>(
      loop_, device_, options_.setting,
      Stage::Listener{[this](auto const& differences) { treeChanged(differences); },
                      [this] { programChanged(); }});
  if (options_.live) {
    view_ = std::make_unique<LiveView>(stdout, device_, stage_->situation());
  } else {
    view_ = std::make_unique<PlainView>(stdout, options_.verbose);
  }
}

int Player::run() {
  boot();
  loop_.run();
  view_->end();
  summarize();
  return result_;
}

// ---- the run, from start to end

void Player::boot() {
  std::string const name = device_.name.empty() ? "The device" : device_.name;
  say({Tone::plain, name + ": " + counted(device_.slices.size(), "slice") + ", " +
                        counted(device_.chipCount(), "chip") + ", " +
                        counted(device_.portCount(), "port")});
  whenDone_ = [this] { play(); };
  tasks_.add(taskStarting("oru-launcher"));
  tasks_.add(taskStarting("oru-agent"));
  addAction([this] {
    for (auto const& [feature, enabled] : device_.features) stage_->feature({feature, enabled});
    for (auto const& slice : device_.slices) {
      if (slice.present) stage_->insert(slice.name);
    }
  });
}

void Player::play() {
  if (!scenario_) return goOn();
  whenDone_ = [this] { playStep(); };
  playStep();
}

void Player::playStep() {
  if (nextStep_ == scenario_->steps.size()) return goOn();
  Step const& step = scenario_->steps[nextStep_++];
  ++numbers_.steps;
  bool const isHeadline = std::holds_alternative<Step::Say>(step.action);
  say({Tone::plain,
       isHeadline ? "== " + std::get<Step::Say>(step.action).text : "-> " + step.text});
  add(step);
  tasks_.add({});
}

void Player::goOn() {
  whenDone_ = [this] { stop(); };
  if (options_.time)
    addPause(*options_.time);
  else if (scenario_)
    stop();
}

// Of these tasks none fails: each goes on to the next.
void Player::stop() {
  if (std::exchange(stopping_, true)) return;
  say({Tone::plain, "== everything is stopped"});
  tasks_.clear();
  whenDone_ = [this] { stopped(); };
  stopProgram("oru-agent");
  stopAgents();
  stopProgram("oru-launcher");
}

void Player::stopProgram(std::string const& name) {
  Task task;
  task.act = [this, name] {
    if (stage_->program(name).state() == Program::State::running) stopped_.push_back(name);
    stage_->program(name).expectEnd();
    stage_->program(name).signal(SIGCONT);
    stage_->program(name).signal(SIGTERM);
  };
  task.unmet = [this, name]() -> std::vector<std::string> {
    if (stage_->program(name).state() == Program::State::ended) return {};
    return {name + " still runs"};
  };
  task.within = stopTime;
  task.otherwise = [this, name] {
    broken(name + " does not end and is killed");
    stage_->program(name).signal(SIGKILL);
  };
  tasks_.add(std::move(task));
}

void Player::stopAgents() {
  Task task;
  task.act = [this] { stage_->removeLauncherEntries(); };
  task.unmet = [this]() -> std::vector<std::string> {
    bool const nobodyCares = stage_->program("oru-launcher").state() == Program::State::ended ||
                             !stage_->situation().tree().rootIsThere();
    if (nobodyCares || stage_->situation().agents().empty()) return {};
    return {"agents still run"};
  };
  task.within = stopTime;
  task.otherwise = [this] { broken("agents do not end and are killed"); };
  tasks_.add(std::move(task));
}

void Player::stopped() {
  for (auto const& name : stopped_) {
    std::string const& end = stage_->program(name).end();
    if (end != Program::cleanEnd) broken(name + ' ' + end);
  }
  stage_->killOrphans();
  loop_.exit();
}

void Player::broken(std::string const& what) {
  say({Tone::bad, what});
  if (result_ == exitOk) result_ = exitBroken;
}

void Player::interrupted(int signal) {
  if (stopping_) return;
  bool const asked = !scenario_ && (signal == SIGINT || signal == SIGTERM);
  if (!asked) {
    say({Tone::bad, "interrupted"});
    result_ = exitInterrupted;
  }
  stop();
}

void Player::failed(std::vector<std::string> const& reasons) {
  bool const inStep = nextStep_ > 0 && !stopping_;
  for (std::string const& reason : reasons) say({Tone::bad, "FAILED: " + reason});
  if (inStep) {
    Step const& step = scenario_->steps[nextStep_ - 1];
    say({Tone::bad, "FAILED: " + scenario_->file + ": " + step.place + ": " + step.text});
  }
  bool const isExpectation = inStep && expectsSomething(scenario_->steps[nextStep_ - 1]);
  if (result_ == exitOk) result_ = isExpectation ? exitUnmet : exitBroken;
  stop();
}

// ---- what happens meanwhile

void Player::treeChanged(std::vector<TreePicture::Difference> const& differences) {
  for (auto const& difference : differences) {
    count(difference);
    for (Event const& event : narrator_.eventsOf(difference)) view_->event(time(), event);
  }
  tasks_.changed();
  refreshSoon();
}

void Player::count(TreePicture::Difference const& difference) {
  auto const& [path, directory, before, after] = difference;
  if (directory || path.size() < 3) return;
  if (path[0] == "system" && path[1] == "chips") {
    ++(after.is_null() ? numbers_.withdrawn : numbers_.published);
  }
  if (path[0] == "reset" && path[1] == "status" && !after.is_null()) ++numbers_.answers;
  if (path[0] != "launcher-status" || !after.is_object()) return;
  auto const number = [](json const& file, char const* place) {
    json::json_pointer const pointer(place);
    return file.is_object() && file.contains(pointer) ? file[pointer].get<std::size_t>() : 0;
  };
  auto const gained = [&number, &before = before, &after = after](char const* place) {
    auto const now = number(after, place), then = number(before, place);
    return now - std::min(now, then);
  };
  numbers_.processes += gained("/starts");
  numbers_.crashes += gained("/restarts/crashes");
}

void Player::programChanged() {
  if (std::string const surprise = stage_->surprise(); !surprise.empty() && !stopping_) {
    tasks_.clear();
    result_ = exitBroken;
    failed({surprise});
  }
  tasks_.changed();
  refreshSoon();
}

void Player::refreshSoon() {
  if (refresh_ || !view_) return;
  refresh_ = loop_.endOfTurn([this] {
    refresh_.reset();
    view_->refresh(time());
  });
}

void Player::say(Event event) {
  view_->step(time(), event);
  refreshSoon();
}

void Player::summarize() const {
  auto const times = [](std::size_t count) { return counted(count, "time"); };
  std::printf("\n%s after %.1f s: %s, %s held\n", result_ == exitOk ? "passed" : "FAILED", time(),
              counted(numbers_.steps, "step").c_str(),
              counted(numbers_.expectations, "expectation").c_str());
  std::printf(
      "chips published %s, withdrawn %s; agents started %s, ended by themselves %s; %s answered\n",
      times(numbers_.published).c_str(), times(numbers_.withdrawn).c_str(),
      times(numbers_.processes).c_str(), times(numbers_.crashes).c_str(),
      counted(numbers_.answers, "reset").c_str());
  std::fflush(stdout);
}

double Player::time() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

}  // namespace Oru::Sim
