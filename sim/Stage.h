#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "sim/Device.h"
#include "sim/Program.h"
#include "sim/Scenario.h"
#include "sim/ServiceSocket.h"
#include "sim/Situation.h"
#include "sim/TreePicture.h"

namespace Oru::Sim {

// Where a run takes place: the folder with the state tree, the programs, and what can be done to
// them. Everything done raises std::system_error, or std::runtime_error, when it is not possible.
class Stage {
 public:
  struct Setting {
    std::string folder;                // of the run; there, empty
    std::string tree;                  // of the state tree; made if it is missing
    std::string sim, agent, launcher;  // the programs' files
  };
  struct Listener {
    std::function<void(std::vector<TreePicture::Difference> const&)> treeChanged;
    std::function<void()> programChanged;
  };

  // `device` must outlive this.
  Stage(Mount::EventLoop& loop, Device const& device, Setting setting, Listener listener);

  Situation const& situation() const { return situation_; }
  void remember() { situation_.remember(); }
  Program& program(std::string const& name);
  void startProgram(std::string const& name) { program(name).start(); }
  // One of them has ended, and nobody wanted it to; empty when that is not so.
  std::string surprise() const;

  // The platform.
  void insert(std::string const& slice);
  void pull(std::string const& slice);
  // Operators and requesters.
  void reset(Step::Reset const& reset);
  void withdraw(Step::Withdraw const& withdraw);
  void feature(Step::Feature const& feature);
  // Agents.
  void behave(AgentName const& agent, AgentBehaviour const& behaviour);
  void behaveAsDescribed(AgentName const& agent);
  void report(Step::Report const& report);
  void kill(Step::Kill const& kill);
  // Another program, to its end.
  void run(Step::Run const& run);
  bool runs() const { return other_->state() != Program::State::ended; }
  // Raises std::runtime_error unless it ended as it should.
  void checkRun(Step::Run const& run) const;
  // The tree itself.
  void write(Step::Write const& write);
  void remove(TreeFile const& file);
  void tree(Step::Tree::Move move);

  // No agent is to run any more; oru-agent must have ended.
  void removeLauncherEntries();
  // Kills what is left of the agents, and of what they started.
  void killOrphans();

 private:
  std::unique_ptr<Program> makeProgram(std::string const& name, std::string const& file,
                                       std::vector<std::string> arguments);
  void prepareTree();
  std::string withFolders(std::string text) const;
  std::string outputFile() const { return setting_.folder + "/run.out"; }
  void reapOrphans();
  std::vector<pid_t> orphans() const;
  void put(Mount::TreePath const& file, std::string const& text);
  std::string placeOf(TreeFile const& file) const { return tree_.root() + '/' + file; }
  double now();

  Device const& device_;
  Setting const setting_;
  Listener const listener_;
  Mount::EventLoop& loop_;
  Mount::FileTree const tree_;
  Mount::FileTree const control_;
  ServiceSocket socket_;
  std::map<std::string, std::unique_ptr<Program>> programs_;
  Mount::FileBackend watched_;
  TreePicture picture_;
  Situation situation_;
  std::unique_ptr<Program> other_;
  Mount::EventSource childEnded_;
  double latest_ = 0;
};

}  // namespace Oru::Sim
