#include "sim/SampleAgent.h"

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "mount/Json.h"

namespace Oru::Sim {

namespace {

using Mount::Backend;
using Mount::TreePath;

std::chrono::microseconds microseconds(double seconds) {
  return std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

// Follows the agent's behaviour file.
class SampleAgent::Control final : private Backend::Observer {
 public:
  explicit Control(SampleAgent& agent)
      : agent_(agent),
        folder_(agent.loop_, agent.options_.control),
        file_{agent.options_.name.kind, agent.options_.name.name},
        watch_(folder_.watch(file_.parent(), *this)) {
    read();
  }

 private:
  void changed(std::vector<Backend::Change> const&) override { read(); }

  void read() {
    auto const reading = folder_.read(file_);
    if (reading.state == Backend::Reading::State::absent) {
      return agent_.behaviourIs(agent_.options_.behaviour);
    }
    try {
      if (reading.state == Backend::Reading::State::refused) {
        throw Mount::JsonError({}, reading.reason);
      }
      agent_.behaviourIs(behaviourOf(reading.text));
    } catch (Mount::JsonError const& error) {
      agent_.log("its behaviour file: " + std::string(error.what()));
    }
  }

  SampleAgent& agent_;
  Mount::FileBackend folder_;
  TreePath const file_;
  std::unique_ptr<Backend::Watch> watch_;
};

SampleAgent::SampleAgent(AgentOptions options)
    : options_(std::move(options)),
      behaviour_(options_.behaviour),
      tree_(loop_, options_.tree),
      sigterm_(loop_.signal(SIGTERM, [this](auto const&) { terminate(); })),
      sigint_(loop_.signal(SIGINT, [this](auto const&) { terminate(); })),
      retry_(loop_, [this] { lookUnlessHung(); }) {
  if (!options_.control.empty()) control_ = std::make_unique<Control>(*this);
}

SampleAgent::~SampleAgent() = default;

int SampleAgent::run() {
  first_ = loop_.endOfTurn([this] { lookUnlessHung(); });
  return loop_.run();
}

void SampleAgent::watch(TreePath const& directory) {
  auto& watch = watches_[directory];
  if (!watch) watch = tree_.watch(directory, *this);
}

bool SampleAgent::readyFor(std::string const& purpose, double seconds) {
  if (purpose_ != purpose) {
    ready_ = false;
    purpose_ = purpose;
    timer_ = loop_.timer(microseconds(seconds), [this] {
      if (behaviour_.mode == AgentBehaviour::Mode::crash) crash();
      ready_ = true;
      lookUnlessHung();
    });
  }
  return ready_;
}

void SampleAgent::crash() const {
  log("crashes, as it was told to");
  rlimit const noCore{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  std::abort();
}

void SampleAgent::notReady() {
  purpose_.clear();
  ready_ = false;
  timer_.reset();
}

void SampleAgent::triedTo(char const* what, std::error_code error) {
  if (!error) return retry_.settled();
  log(std::string("cannot ") + what + ": " + error.message());
  retry_.later();
}

void SampleAgent::log(std::string const& text) const {
  std::fprintf(stderr, "%s: %s\n", options_.name.text().c_str(), text.c_str());
}

std::optional<nlohmann::json> SampleAgent::read(TreePath const& value) {
  auto const reading = tree_.read(value);
  if (reading.state == Backend::Reading::State::absent) {
    good_.erase(value);
    return std::nullopt;
  }
  try {
    if (reading.state == Backend::Reading::State::refused) {
      throw Mount::JsonError({}, reading.reason);
    }
    auto parsed = Mount::parsedJson(reading.text);
    static_cast<void>(Mount::JsonObject(parsed));
    return good_[value] = std::move(parsed);
  } catch (Mount::JsonError const& error) {
    log("cannot use " + value.valueText() + ": " + error.what());
  }
  auto const good = good_.find(value);
  return good == good_.end() ? std::nullopt : std::optional(good->second);
}

void SampleAgent::changed(std::vector<Backend::Change> const&) { lookUnlessHung(); }

// Every watch has its own word of it.
void SampleAgent::rootLost(std::string const& reason) {
  if (!std::exchange(treeIsAway_, true)) log("the tree is away: " + reason);
}

void SampleAgent::rootBack() {
  if (std::exchange(treeIsAway_, false)) log("the tree is back");
}

void SampleAgent::watchLost(TreePath const& path, std::string const& reason) {
  log(path.text() + " cannot be watched: " + reason);
}

void SampleAgent::behaviourIs(AgentBehaviour const& behaviour) {
  if (behaviour == behaviour_) return;
  log(std::string("is told to be ") + textOf(behaviour.mode));
  behaviour_ = behaviour;
  notReady();
  first_ = loop_.endOfTurn([this] { lookUnlessHung(); });
}

void SampleAgent::lookUnlessHung() {
  if (behaviour_.mode == AgentBehaviour::Mode::hang) return notReady();
  look();
}

void SampleAgent::terminate() {
  if (behaviour_.mode == AgentBehaviour::Mode::hang) return log("hangs, SIGTERM or not");
  stop();
  loop_.exit(0);
}

}  // namespace Oru::Sim
