#include "launcher/AgentProcess.h"

#include <csignal>
#include <utility>

namespace Oru::Launcher {

namespace {

// Times are for people too: 0.5, not 0.500000.
std::string seconds(double value) {
  std::string text = std::to_string(value);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text + " s";
}

}  // namespace

AgentProcess::AgentProcess(AgentId id, Surroundings const& around)
    : id_(std::move(id)), around_(around) {}

void AgentProcess::restore(AgentStatus const& record) {
  status_ = record;
  status_.nextStart.reset();
  status_.process.reset();
  if (!record.process) return stateIs(AgentState::backoff, {});

  auto process = around_.processes.adopt(id_, *record.process, onEnd());
  if (process == nullptr) return endedUnobserved(record);
  watch(std::move(process));
  if (record.state == AgentState::stopping) return stop("still stopping");
  around_.observer.changed(*this, "goes on as " + processText());
}

void AgentProcess::endedUnobserved(AgentStatus const& record) {
  around_.processes.killRemains(id_, *record.process);
  if (record.state == AgentState::running) ++status_.crashes;
  status_.lastExit = AgentStatus::Exit{{}, around_.clock.wallTime()};
  stateIs(AgentState::backoff, "ended while no launcher was running");
}

void AgentProcess::adopt(ProcessIdentity const& identity, std::uint64_t startNumber) {
  if (process_ != nullptr || startNumber <= status_.starts) return;
  auto process = around_.processes.adopt(id_, identity, onEnd());
  if (process == nullptr) return;
  watch(std::move(process));
  status_.starts = startNumber;
  status_.startTime = around_.clock.wallTime() - ranFor();
  restartKnown_ = false;
  stateIs(AgentState::running, "found running as " + processText());
}

void AgentProcess::entryIs(std::optional<double> restart) {
  bool const known = restartKnown_ && (hasEntry_ || status_.starts > 0);
  bool const restartWanted = known && restart && restart != status_.restart;
  bool const isNew = !std::exchange(hasEntry_, true);
  restartKnown_ = true;
  if (restart) status_.restart = restart;

  if (isNew && process_ == nullptr) return start(StartCause::entry);
  if (!restartWanted) return;
  if (status_.state == AgentState::running) return stop("restart wanted");
  if (waits()) return start(StartCause::wanted);
  around_.observer.changed(*this, "restart wanted while it stops");
}

void AgentProcess::entryRefused() {
  bool const isNew = !std::exchange(hasEntry_, true);
  if (isNew && process_ == nullptr) start(StartCause::entry);
}

void AgentProcess::entryDel(std::string const& why) {
  hasEntry_ = false;
  if (status_.state == AgentState::running) return stop(why);
  if (!waits()) return;
  timer_.reset();
  stateIs(AgentState::gone, "will not be started: " + why);
}

void AgentProcess::retry() {
  if (hasEntry_ && waits()) start(StartCause::delayOver);
}

void AgentProcess::start(StartCause cause) {
  timer_.reset();
  status_.nextStart.reset();
  if (cause == StartCause::wanted) {
    ++status_.wantedRestarts;
    backoff_.reset();
  }
  try {
    Command const command = around_.commands.commandFor(id_);
    started(around_.processes.start(id_, status_.starts + 1, command, onEnd()));
  } catch (StartError const& error) {
    startFailed(error.what());
  }
}

void AgentProcess::started(std::unique_ptr<Process> process) {
  watch(std::move(process));
  ++status_.starts;
  status_.startTime = around_.clock.wallTime();
  status_.problem.clear();
  stateIs(AgentState::running, "started as " + processText());
}

void AgentProcess::startFailed(std::string const& reason) {
  double const delay = backoff_.delayAfter(0, around_.commands.limitsFor(id_).backoff);
  status_.problem = reason;
  startAfter(delay);
  stateIs(AgentState::failed, "cannot be started: " + reason + "; next try in " + seconds(delay));
}

void AgentProcess::stop(std::string const& why) {
  process_->signalGroup(SIGTERM);
  timer_ = around_.clock.after(around_.commands.limitsFor(id_).graceTime, [this] { kill(); });
  stateIs(AgentState::stopping, "is asked to stop: " + why);
}

void AgentProcess::kill() {
  process_->signalGroup(SIGKILL);
  timer_.reset();
  around_.observer.changed(
      *this,
      "did not stop in " + seconds(around_.commands.limitsFor(id_).graceTime) + ", is killed");
}

void AgentProcess::ended(ProcessEnd const& end) {
  double const ran = ranFor();
  bool const stopped = status_.state == AgentState::stopping;
  process_.reset();
  timer_.reset();
  status_.process.reset();
  status_.lastExit = AgentStatus::Exit{end, around_.clock.wallTime()};

  if (!hasEntry_) return stateIs(AgentState::gone, end.reason());
  if (!stopped) return crashed(ran);
  around_.observer.changed(*this, end.reason());
  start(StartCause::wanted);
}

void AgentProcess::crashed(double ran) {
  double const delay = backoff_.delayAfter(ran, around_.commands.limitsFor(id_).backoff);
  ++status_.crashes;
  startAfter(delay);
  stateIs(AgentState::backoff,
          status_.lastExit->end.reason() + "; next start in " + seconds(delay));
}

void AgentProcess::startAfter(double delay) {
  status_.nextStart = around_.clock.wallTime() + delay;
  timer_ = around_.clock.after(delay, [this] { start(StartCause::delayOver); });
}

void AgentProcess::watch(std::unique_ptr<Process> process) {
  process_ = std::move(process);
  status_.process = process_->identity();
}

double AgentProcess::ranFor() const {
  return around_.clock.sinceBoot() - status_.process->startedSinceBoot();
}

std::string AgentProcess::processText() const {
  return "process " + std::to_string(status_.process->pid);
}

bool AgentProcess::waits() const {
  return status_.state == AgentState::backoff || status_.state == AgentState::failed;
}

void AgentProcess::stateIs(AgentState state, std::string const& event) {
  status_.state = state;
  status_.since = around_.clock.wallTime();
  around_.observer.changed(*this, event);
}

ProcessHost::OnEnd AgentProcess::onEnd() {
  return [this](ProcessEnd const& end) { ended(end); };
}

}  // namespace Oru::Launcher
