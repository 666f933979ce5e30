#include "launcher/Launcher.h"

#include <csignal>
#include <utility>

#include "launcher/AgentMark.h"

namespace Oru::Launcher {

Launcher::Launcher(Mount::EventLoop& loop, Mount::Log const& log, Options options,
                   LauncherConfig config)
    : loop_(loop),
      log_(log),
      options_(std::move(options)),
      lock_(loop_, problems_, options_.tree, "oru-launcher",
            [this](auto const& error) { otherLauncher(error); }),
      backend_(loop_, options_.tree),
      queue_(loop_, backend_, problems_),
      problemFile_(problems_, backend_, queue_, "oru-launcher",
                   [this](auto const& problem, bool present) { logProblem(problem, present); }),
      clock_(loop_),
      processes_(loop_, options_.tree),
      commands_(std::move(config), options_.tree, options_.logDirectory),
      table_(processes_, clock_, commands_,
             [this](AgentId const& id, std::string const& event) { handleChange(id, event); }),
      statusFiles_(backend_, queue_, table_, [this] { lock_.hold(); }) {}

void Launcher::start() {
  watchSignals();
  for (auto const* const written : {"launcher-status", "problems"})
    backend_.tree().removeHalfWritten({written});
  problemFile_.start();
  takeUpAgents();
  entries_.emplace(backend_, problems_, clock_, table_);
  entries_->start();
  statusFiles_.start();
  queue_.flush();
  log_.info("running the agents of " + options_.tree);
  loop_.watchdogIs(true);
  Mount::notifyServiceManager("READY=1");
  tellServiceManager();
}

// Records first: they have the counters. Marks find what was started and not recorded.
void Launcher::takeUpAgents() {
  for (auto const& [id, record] : statusFiles_.records()) table_.restore(id, record);
  for (MarkedProcess const& process : markedProcesses(options_.tree)) {
    if (!process.leadsItsGroup()) continue;
    table_.adopt(process.mark.id, process.identity, process.mark.start);
  }
}

void Launcher::watchSignals() {
  for (int const number : {SIGTERM, SIGINT}) {
    signals_.push_back(loop_.signal(number, [this](signalfd_siginfo const&) { end(); }));
  }
  signals_.push_back(loop_.signal(SIGHUP, [this](signalfd_siginfo const&) { reload(); }));
}

void Launcher::handleChange(AgentId const& id, std::string const& event) {
  if (!event.empty()) log_.info(toString(id) + ' ' + event);
  statusFiles_.tell(id);
  if (statusLine_) return;
  statusLine_ = loop_.endOfTurn([this] {
    statusLine_.reset();
    tellServiceManager();
    endIfNothingRuns();
  });
}

void Launcher::otherLauncher(Mount::LockedError const& error) {
  log_.error(std::string("another launcher serves the tree: ") + error.what());
  loop_.exit(locked);
}

void Launcher::end() {
  bool const again = std::exchange(ending_, true);
  Mount::notifyServiceManager("STOPPING=1");
  log_.info(options_.stopAgents && !again ? "stopping, and all agents"
                                          : "stopping; all agents stay");
  if (!options_.stopAgents || again) {
    queue_.flush();
    loop_.exit(table_.empty() || !options_.stopAgents ? ended : failed);
    return;
  }
  entries_.reset();
  table_.entryDelAll();
  endIfNothingRuns();
}

void Launcher::endIfNothingRuns() {
  if (!ending_ || !options_.stopAgents || !table_.empty()) return;
  queue_.flush();
  loop_.exit(ended);
}

void Launcher::reload() {
  try {
    commands_.configIs(LauncherConfig::load(options_.configFile));
  } catch (ConfigError const& error) {
    log_.error(std::string("the configuration stays as it was: ") + error.what());
    return;
  }
  log_.notice(options_.configFile + " holds for what is started from now on");
  table_.retry();
}

void Launcher::tellServiceManager() {
  ProcessTable::Counts const counts = table_.counts();
  std::string text = "STATUS=" + std::to_string(counts.running) + " running";
  for (auto const& [count, word] :
       {std::pair(counts.stopping, " stopping"), std::pair(counts.backoff, " in back-off"),
        std::pair(counts.failed, " failed")}) {
    if (count > 0) text += ", " + std::to_string(count) + word;
  }
  Mount::notifyServiceManager(text.c_str());
}

void Launcher::logProblem(Mount::ProblemList::Problem const& problem, bool present) const {
  if (present)
    log_.warning(textOf(problem));
  else
    log_.notice("settled: " + textOf(problem));
}

}  // namespace Oru::Launcher
