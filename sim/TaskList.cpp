#include "sim/TaskList.h"

#include <exception>
#include <utility>

namespace Oru::Sim {

namespace {

std::chrono::microseconds microseconds(double seconds) {
  return std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

void TaskList::add(Task task) {
  tasks_.push_back(std::move(task));
  if (phase_ == Phase::idle) startSoon();
}

void TaskList::clear() {
  tasks_.clear();
  phase_ = Phase::idle;
  next_.reset();
  timer_.reset();
  change_.reset();
}

void TaskList::changed() {
  if (phase_ == Phase::idle || change_) return;
  change_ = loop_.endOfTurn([this] {
    change_.reset();
    check();
  });
}

void TaskList::startSoon() {
  if (!next_) next_ = loop_.endOfTurn([this] { start(); });
}

void TaskList::start() {
  next_.reset();
  if (tasks_.empty()) return listener_.done();
  Task const& task = tasks_.front();
  begin_ = std::chrono::steady_clock::now();
  phase_ = Phase::waiting;
  try {
    if (task.act) task.act();
  } catch (std::exception const& error) {
    return fail({error.what()});
  }
  timer_ = loop_.timer(microseconds(task.within), [this] {
    check();
    if (phase_ == Phase::waiting) fail(tasks_.front().unmet());
  });
  check();
}

void TaskList::check() {
  if (phase_ == Phase::idle) return;
  Task const& task = tasks_.front();
  auto const missing = task.unmet ? task.unmet() : std::vector<std::string>();
  if (phase_ == Phase::holding && !missing.empty()) return fail(missing);
  if (phase_ == Phase::holding || !missing.empty()) return;
  if (task.hold <= 0) return finish();
  phase_ = Phase::holding;
  timer_ = loop_.timer(microseconds(task.hold), [this] { finish(); });
}

void TaskList::finish() {
  Task const task = std::move(tasks_.front());
  tasks_.pop_front();
  phase_ = Phase::idle;
  timer_.reset();
  try {
    if (task.met) task.met(elapsed());
  } catch (std::exception const& error) {
    return fail({error.what()});
  }
  startSoon();
}

void TaskList::fail(std::vector<std::string> const& reasons) {
  if (phase_ != Phase::idle && tasks_.front().otherwise) {
    tasks_.front().met = nullptr;
    auto const otherwise = std::move(tasks_.front().otherwise);
    finish();
    return otherwise();
  }
  clear();
  listener_.failed(reasons);
}

double TaskList::elapsed() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
}

}  // namespace Oru::Sim
