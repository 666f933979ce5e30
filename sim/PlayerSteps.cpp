// What each step of a scenario does.

#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "sim/ConditionCheck.h"
#include "sim/Player.h"

namespace Oru::Sim {

namespace {

constexpr double startTime = 20;  // seconds that a program gets to become ready
constexpr double runTime = 60;    // seconds that another program gets to end

}  // namespace

void Player::add(Step const& step) {
  std::visit([this](auto const& action) { addStep(action); }, step.action);
}

void Player::addAction(std::function<void()> act) {
  Task task;
  task.act = std::move(act);
  tasks_.add(std::move(task));
}

void Player::addPause(double seconds) {
  Task task;
  task.hold = seconds;
  tasks_.add(std::move(task));
}

std::vector<std::string> Player::notReady(std::string const& name) {
  if (stage_->program(name).state() == Program::State::running) return {};
  return {name + " does not become ready"};
}

Task Player::taskStarting(std::string const& name) {
  Task task;
  task.act = [this, name] {
    if (stage_->program(name).state() != Program::State::ended) {
      throw std::runtime_error(name + " runs already");
    }
    stage_->startProgram(name);
  };
  task.unmet = [this, name] { return notReady(name); };
  task.within = startTime;
  task.met = [this, name](double) {
    say({Event::Tone::good,
         name + " is ready, pid " + std::to_string(stage_->program(name).pid())});
  };
  return task;
}

void Player::addStep(Step::Insert const& step) {
  addAction([this, step] { stage_->insert(step.slice); });
}

void Player::addStep(Step::Remove const& step) {
  if (!step.statusFirst) return addAction([this, step] { stage_->pull(step.slice); });
  AgentName const agent{"slice", step.slice};
  Task ejected;
  ejected.act = [this, agent] { stage_->behave(agent, {AgentBehaviour::Mode::leave, 0, 0}); };
  ejected.unmet = [this, step]() -> std::vector<std::string> {
    if (!stage_->situation().tree().hasDirectory({"status", step.slice})) return {};
    return {"slice " + step.slice + " does not withdraw its status"};
  };
  tasks_.add(std::move(ejected));
  addAction([this, step, agent] {
    stage_->pull(step.slice);
    stage_->behaveAsDescribed(agent);
  });
}

void Player::addStep(Step::Swap const& step) {
  if (step.away > 0) {
    addAction([this, step] { stage_->pull(step.slice); });
    addPause(step.away);
  }
  addStep(Step::Insert{step.slice});
}

void Player::addStep(Step::Reset const& step) {
  addAction([this, step] { stage_->reset(step); });
}

void Player::addStep(Step::Withdraw const& step) {
  addAction([this, step] { stage_->withdraw(step); });
}

void Player::addStep(Step::Feature const& step) {
  addAction([this, step] { stage_->feature(step); });
}

void Player::addStep(Step::Behave const& step) {
  addAction([this, step] { stage_->behave(step.agent, step.behaviour); });
}

void Player::addStep(Step::Kill const& step) {
  auto const* program = std::get_if<std::string>(&step.victim);
  bool const ends = step.signal != SIGSTOP && step.signal != SIGCONT;
  Task task;
  task.act = [this, step] { stage_->kill(step); };
  if (program != nullptr && ends) {
    task.unmet = [this, name = *program]() -> std::vector<std::string> {
      if (stage_->program(name).state() == Program::State::ended) return {};
      return {name + " does not end"};
    };
  }
  tasks_.add(std::move(task));
}

void Player::addStep(Step::Stop const& step) {
  Task task;
  task.act = [this, step] {
    stage_->program(step.program).expectEnd();
    stage_->program(step.program).signal(SIGTERM);
  };
  task.unmet = [this, step]() -> std::vector<std::string> {
    Program const& program = stage_->program(step.program);
    if (program.state() != Program::State::ended) return {step.program + " does not end"};
    if (program.end() != "exited with status 0") return {step.program + ' ' + program.end()};
    return {};
  };
  tasks_.add(std::move(task));
}

void Player::addStep(Step::Start const& step) { tasks_.add(taskStarting(step.program)); }

void Player::addStep(Step::Report const& step) {
  addAction([this, step] { stage_->report(step); });
}

void Player::addStep(Step::Write const& step) {
  addAction([this, step] { stage_->write(step); });
}

void Player::addStep(Step::Delete const& step) {
  addAction([this, step] { stage_->remove(step.file); });
}

void Player::addStep(Step::Tree const& step) {
  addAction([this, step] { stage_->tree(step.move); });
}

void Player::addStep(Step::Run const& step) {
  Task task;
  task.act = [this, step] { stage_->run(step); };
  task.unmet = [this, step]() -> std::vector<std::string> {
    if (!stage_->runs()) return {};
    return {step.argv[0] + " does not end"};
  };
  task.within = runTime;
  task.met = [this, step](double) {
    stage_->checkRun(step);
    ++numbers_.expectations;
  };
  tasks_.add(std::move(task));
}

void Player::addStep(Step::Pause const& step) { addPause(step.time); }

void Player::addStep(Step::Idle const& step) { addIdle(step, time()); }

// Looks at the start and at the end of the time only: whoever looks in between may wake somebody.
void Player::addIdle(Step::Idle const& step, double since) {
  auto const before = std::make_shared<std::vector<std::uint64_t>>();
  Task task;
  task.act = [this, step, before] {
    for (auto const& name : step.programs) before->push_back(stage_->program(name).sleeps());
  };
  task.hold = step.time;
  task.met = [this, step, before, since](double) {
    std::string awake;
    for (std::size_t i = 0; i < step.programs.size(); ++i) {
      auto const times = stage_->program(step.programs[i]).sleeps() - before->at(i);
      if (times > 0) awake += step.programs[i] + " woke up " + std::to_string(times) + " times; ";
    }
    if (awake.empty()) return heldAfter(time() - since);
    if (time() - since > step.within) throw std::runtime_error(awake + "nothing was to be done");
    addIdle(step, since);
  };
  tasks_.add(std::move(task));
}

void Player::addStep(Step::Remember const&) {
  addAction([this] { stage_->remember(); });
}

void Player::addStep(Step::Expect const& step) {
  Task task;
  task.unmet = [this, step] { return unmet(step.condition, stage_->situation()); };
  task.within = step.within;
  task.hold = step.hold;
  task.met = [this](double took) { heldAfter(took); };
  tasks_.add(std::move(task));
}

void Player::heldAfter(double took) {
  ++numbers_.expectations;
  char text[48];
  std::snprintf(text, sizeof text, "   held after %.3f s", took);
  say({Event::Tone::good, text});
}

}  // namespace Oru::Sim
