#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "mount/EventLoop.h"

namespace Oru::Sim {

// Something to do, and what is to be waited for after it.
struct Task {
  std::function<void()> act;  // may be empty
  std::function<std::vector<std::string>()>
      unmet;                             // what is still missing; empty: nothing to wait for
  double within = 10;                    // seconds until nothing is missing
  double hold = 0;                       // seconds that nothing must be missing from then on
  std::function<void(double took)> met;  // may be empty; raises what is wrong nevertheless
  std::function<void()> otherwise;       // instead of a failure; may be empty
};

// Carries out tasks one after the other, driven by changes and timers only.
class TaskList {
 public:
  struct Listener {
    std::function<void()> done;  // no task is left
    std::function<void(std::vector<std::string> const&)>
        failed;  // what was missing; the other tasks are dropped
  };

  TaskList(Mount::EventLoop& loop, Listener listener)
      : loop_(loop), listener_(std::move(listener)) {}

  // Behind those that are there.
  void add(Task task);
  // Drops all tasks.
  void clear();
  // Something has changed: looks whether the present task goes on.
  void changed();

 private:
  enum class Phase { idle, waiting, holding };

  void startSoon();
  void start();
  void check();
  void finish();
  void fail(std::vector<std::string> const& reasons);
  double elapsed() const;

  Mount::EventLoop& loop_;
  Listener const listener_;
  std::deque<Task> tasks_;
  Phase phase_ = Phase::idle;
  std::chrono::steady_clock::time_point begin_;
  Mount::EventSource next_, timer_, change_;
};

}  // namespace Oru::Sim
