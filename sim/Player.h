#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "sim/Device.h"
#include "sim/Narrator.h"
#include "sim/Scenario.h"
#include "sim/Stage.h"
#include "sim/TaskList.h"
#include "sim/View.h"

namespace Oru::Sim {

// How a run ends; stated in --help.
enum ExitCode : int {
  exitOk = 0,
  exitUnmet = 1,  // an expectation of the scenario did not hold
  exitUsage = 2,  // wrong command line, wrong description
  exitBroken =
      3,  // the run was not possible: a program did not start or ended, a file could not be written
  exitInterrupted = 130,
};

// Plays a device and a scenario with the real programs: starts them, inserts the boards that are
// present, carries out the steps one after the other, and stops everything, whatever happens.
class Player {
 public:
  struct Options {
    Stage::Setting setting;
    std::optional<double>
        time;  // to go on after the scenario; nothing: not at all, or for ever without a scenario
    bool live = false;  // a picture on the terminal
    bool verbose = false;
  };

  // `device` must outlive this.
  Player(Options options, Device const& device, std::optional<Scenario> scenario);

  // Until everything has stopped again; an ExitCode.
  int run();

 private:
  struct Numbers {
    std::size_t steps = 0, expectations = 0, published = 0, withdrawn = 0, processes = 0,
                crashes = 0, answers = 0;
  };

  void boot();
  void play();
  void playStep();
  void goOn();
  void stop();
  void stopProgram(std::string const& name);
  void stopAgents();
  void stopped();
  void broken(std::string const& what);
  void interrupted(int signal);
  void failed(std::vector<std::string> const& reasons);
  void treeChanged(std::vector<TreePicture::Difference> const& differences);
  void count(TreePicture::Difference const& difference);
  void programChanged();
  void refreshSoon();
  void say(Event event);
  void summarize() const;
  double time() const;

  Task taskStarting(std::string const& program);
  std::vector<std::string> notReady(std::string const& program);
  void add(Step const& step);
  void addStep(Step::Say const&) {}
  void addStep(Step::Insert const& step);
  void addStep(Step::Remove const& step);
  void addStep(Step::Swap const& step);
  void addStep(Step::Reset const& step);
  void addStep(Step::Withdraw const& step);
  void addStep(Step::Feature const& step);
  void addStep(Step::Behave const& step);
  void addStep(Step::Kill const& step);
  void addStep(Step::Stop const& step);
  void addStep(Step::Start const& step);
  void addStep(Step::Report const& step);
  void addStep(Step::Write const& step);
  void addStep(Step::Delete const& step);
  void addStep(Step::Tree const& step);
  void addStep(Step::Run const& step);
  void addStep(Step::Pause const& step);
  void addStep(Step::Idle const& step);
  void addStep(Step::Remember const& step);
  void addStep(Step::Expect const& step);
  void addAction(std::function<void()> act);
  void addPause(double seconds);
  void addIdle(Step::Idle const& step, double since);
  void heldAfter(double took);

  Options const options_;
  Device const& device_;
  std::optional<Scenario> const scenario_;
  std::chrono::steady_clock::time_point const start_ = std::chrono::steady_clock::now();
  Narrator const narrator_;
  Mount::EventLoop loop_;
  TaskList tasks_;
  std::unique_ptr<View> view_;
  std::unique_ptr<Stage> stage_;
  std::vector<Mount::EventSource> signals_;
  Mount::EventSource refresh_;
  std::function<void()> whenDone_;
  std::size_t nextStep_ = 0;
  Numbers numbers_;
  int result_ = exitOk;
  bool stopping_ = false;
  std::vector<std::string> stopped_;  // programs that ran at the end and were asked to stop
};

}  // namespace Oru::Sim
