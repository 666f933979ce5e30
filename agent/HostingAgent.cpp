#include "agent/HostingAgent.h"

#include <csignal>
#include <system_error>

#include "agent/Counted.h"
#include "agent/Leftovers.h"
#include "central/OruCentralSm.h"

namespace Oru::Agent {

HostingAgent::HostingAgent(Options const& options, Mount::Log const& log)
    : options_(options),
      log_(log),
      backend_(loop_, options.tree),
      queue_(loop_, backend_, problems_, &Mount::StateMount::writeRank),
      problemFile_(problems_, backend_, queue_, "oru-agent",
                   [this](auto const& problem, bool present) { logProblem(problem, present); }) {}

HostingAgent::~HostingAgent() { stop(); }

int HostingAgent::run() {
  auto const stopOn = [this](int signal, char const* name) {
    return loop_.signal(signal, [this, name](auto const&) {
      log_.info(std::string("stopping on ") + name + "; all agents stay");
      loop_.exit(exitOk);
    });
  };
  terminate_ = stopOn(SIGTERM, "SIGTERM");
  interrupt_ = stopOn(SIGINT, "SIGINT");
  if (auto const failure = prepareTree()) return *failure;
  start();
  int const code = loop_.run();
  Mount::notifyServiceManager("STOPPING=1");
  if (code != exitLocked) queue_.flush();
  stop();
  return code;
}

std::optional<int> HostingAgent::prepareTree() {
  std::error_code error = backend_.tree().makeRoot();
  if (!error) try {
      lock_.emplace(loop_, problems_, options_.tree, "oru-agent", [this](auto const& other) {
        tellOtherAgent(other);
        loop_.exit(exitLocked);
      });
      return std::nullopt;
    } catch (Mount::LockedError const& other) {
      tellOtherAgent(other);
      return exitLocked;
    } catch (std::system_error const& failure) {
      error = failure.code();
    }
  log_.error("cannot use " + options_.tree + ": " + error.message());
  return exitTree;
}

void HostingAgent::tellOtherAgent(Mount::LockedError const& error) const {
  log_.error("another oru-agent works on " + options_.tree + ": " + error.what());
}

void HostingAgent::start() {
  for (auto const& written : Mount::StateMount::directoriesWritten())
    backend_.tree().removeHalfWritten(written);
  backend_.tree().removeHalfWritten({"problems"});
  rootWatch_ = backend_.watch({"problems"}, *this);
  problemFile_.start();
  mount_.emplace(loop_, backend_, problems_, queue_);
  mount_->read();
  mount_->follow();
  takeOverAnewWhatIsLost(*mount_, log_);
  removeLeftovers(*mount_, log_);
  mount_->hwConfig().unknownGoneIs([this] { removeLeftovers(*mount_, log_); });
  helper_ =
      Vunda::makeNode<PlatformHelper>("oru-agent", log_, *mount_, [this] { statusChanged(); });
  root_ = Central::centralSmFactory(
      mount_->hwConfigDir(), mount_->hwStatusDir(), mount_->configDir(), mount_->statusDir(),
      mount_->systemStatus(), mount_->resetRequestDir(), mount_->resetStatusDir(),
      mount_->sliceLauncherDir(), mount_->chipLauncherDir(), mount_->featureLauncherDir(), helper_);
  queue_.flush();
  loop_.watchdogIs(true);
  log_.info("supervising " + options_.tree);
  tellStatus();
  Mount::notifyServiceManager("READY=1");
}

void HostingAgent::stop() {
  if (!root_) return;
  helper_->detach();
  mount_.reset();
  root_ = nullptr;
}

// Many chips may come in one turn.
void HostingAgent::statusChanged() {
  if (status_) return;
  status_ = loop_.endOfTurn([this] {
    status_.reset();
    tellStatus();
  });
}

void HostingAgent::tellStatus() {
  auto const status = "STATUS=" + counted(mount_->hwConfigDir()->entityPtrCount(), "slice") + ", " +
                      counted(mount_->systemStatus()->chipInfo().size(), "chip") + " running";
  Mount::notifyServiceManager(status.c_str());
}

void HostingAgent::logProblem(Mount::ProblemList::Problem const& problem, bool present) const {
  if (present)
    log_.warning(textOf(problem));
  else
    log_.info("settled: " + textOf(problem));
}

}  // namespace Oru::Agent
