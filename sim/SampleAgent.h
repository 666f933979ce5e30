#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/Retry.h"
#include "sim/AgentBehaviour.h"
#include "sim/AgentName.h"
#include "sim/StatusFolder.h"

namespace Oru::Sim {

// What an agent process is started with.
struct AgentOptions {
  AgentName name;
  std::string tree;
  std::string control;  // folder of behaviour files, `<kind>/<name>.json`; empty: none
  AgentBehaviour behaviour;
};

// What all sample agents have in common: they look at the tree whenever something changes in it,
// become ready after a while, conduct themselves as told, and end on SIGTERM.
class SampleAgent : private Mount::Backend::Observer {
 public:
  // Raises std::system_error.
  explicit SampleAgent(AgentOptions options);
  SampleAgent(SampleAgent const&) = delete;
  SampleAgent& operator=(SampleAgent const&) = delete;
  virtual ~SampleAgent();

  // Until SIGTERM or SIGINT.
  int run();

 protected:
  // Something that is watched has changed, or the behaviour, or the time to become ready is over:
  // look again.
  virtual void look() = 0;
  // SIGTERM has come.
  virtual void stop() {}

  // From now on, if it is not watched already.
  void watch(Mount::TreePath const& directory);
  Mount::FileBackend& tree() { return tree_; }
  std::string const& name() const { return options_.name.name; }
  AgentBehaviour const& behaviour() const { return behaviour_; }
  // True once so many seconds have passed since the first call with this purpose; a call with another
  // one begins afresh. Calls look() when the time is over. An agent that is to crash does so then.
  bool readyFor(std::string const& purpose, double seconds);
  // As quickly as its behaviour says.
  bool readyFor(std::string const& purpose) { return readyFor(purpose, behaviour_.readyAfter()); }
  void notReady();
  // What is to be written could not be, which is logged: looks again later. Without error: nothing is
  // left to be tried.
  void triedTo(char const* what, std::error_code error);
  // To standard error, with the agent's name.
  void log(std::string const& text) const;

  // The JSON object of a file; nothing when it is not there. While it is wrong, which is logged,
  // the last good one counts.
  std::optional<nlohmann::json> read(Mount::TreePath const& value);

 private:
  class Control;

  void changed(std::vector<Mount::Backend::Change> const& changes) override;
  void rootLost(std::string const& reason) override;
  void rootBack() override;
  void watchLost(Mount::TreePath const& path, std::string const& reason) override;
  void watchBack(Mount::TreePath const& path) override { log(path.text() + " is watched again"); }
  void behaviourIs(AgentBehaviour const& behaviour);
  void lookUnlessHung();
  [[noreturn]] void crash() const;
  void terminate();

  AgentOptions const options_;
  AgentBehaviour behaviour_;
  Mount::EventLoop loop_;
  Mount::FileBackend tree_;
  std::map<Mount::TreePath, std::unique_ptr<Mount::Backend::Watch>> watches_;
  std::map<Mount::TreePath, nlohmann::json> good_;
  std::unique_ptr<Control> control_;
  Mount::EventSource sigterm_, sigint_;
  Mount::EventSource first_;
  Mount::EventSource timer_;
  Mount::Retry retry_;
  std::string purpose_;
  bool ready_ = false;
  bool treeIsAway_ = false;
};

}  // namespace Oru::Sim
