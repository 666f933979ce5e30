#include "sim/TaskList.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "tests/mount/LoopTurns.h"

namespace Oru::Sim {
namespace {

using Lines = std::vector<std::string>;

class TaskListTest : public testing::Test {
 protected:
  // A task that writes down that it is begun and, after `missing` is empty, met.
  Task task(std::string const& name) {
    Task task;
    task.act = [this, name] { journal.push_back(name); };
    task.unmet = [this] { return missing; };
    task.met = [this, name](double) { journal.push_back(name + " met"); };
    task.within = 1000;
    return task;
  }
  Lines settled() {
    OruTest::settle(loop);
    return std::exchange(journal, {});
  }
  Lines until(std::string const& line) {
    EXPECT_TRUE(
        OruTest::turnUntil(loop, [&] { return !journal.empty() && journal.back() == line; }));
    return std::exchange(journal, {});
  }

  Mount::EventLoop loop;
  Lines missing, journal;
  TaskList tasks{loop,
                 {[this] { journal.push_back("done"); },
                  [this](Lines const& reasons) {
                    std::string line = "failed:";
                    for (auto const& reason : reasons) line += ' ' + reason;
                    journal.push_back(line);
                  }}};
};

TEST_F(TaskListTest, TasksAreCarriedOutInOrderAndTheEndIsTold) {
  tasks.add(task("a"));
  tasks.add(task("b"));
  EXPECT_EQ(Lines{}, journal) << "not from within add()";
  EXPECT_EQ((Lines{"a", "a met", "b", "b met", "done"}), settled());
  tasks.add(task("c"));
  EXPECT_EQ((Lines{"c", "c met", "done"}), settled());
}

TEST_F(TaskListTest, ATaskOfNothingIsMetAtOnce) {
  tasks.add({});
  EXPECT_EQ(Lines{"done"}, settled());
}

TEST_F(TaskListTest, TheNextTaskWaitsUntilNothingIsMissing) {
  missing = {"x"};
  tasks.add(task("a"));
  tasks.add(task("b"));
  EXPECT_EQ(Lines{"a"}, settled());
  tasks.changed();
  EXPECT_EQ(Lines{}, settled());
  missing.clear();
  EXPECT_EQ(Lines{}, settled()) << "nobody has said that something changed";
  tasks.changed();
  EXPECT_EQ((Lines{"a met", "b", "b met", "done"}), settled());
}

TEST_F(TaskListTest, WhatIsStillMissingWhenTheTimeIsOverFailsAndTheRestIsDropped) {
  missing = {"x", "y"};
  auto first = task("a");
  first.within = 0.01;
  tasks.add(std::move(first));
  tasks.add(task("b"));
  EXPECT_EQ((Lines{"a", "failed: x y"}), until("failed: x y"));
  tasks.changed();
  EXPECT_EQ(Lines{}, settled());
  missing.clear();
  tasks.add(task("c"));
  EXPECT_EQ((Lines{"c", "c met", "done"}), settled());
}

TEST_F(TaskListTest, WhatHoldsAtTheLastMomentIsMet) {
  missing = {"x"};
  auto last = task("a");
  last.within = 0.01;
  last.unmet = [this] { return std::exchange(missing, {}); };
  tasks.add(std::move(last));
  EXPECT_EQ((Lines{"a", "a met", "done"}), until("done"));
}

TEST_F(TaskListTest, WhatHasToHoldIsMetOnlyAfterItsTime) {
  auto holding = task("a");
  holding.hold = 0.05;
  std::optional<double> took;
  holding.met = [&](double seconds) {
    took = seconds;
    journal.push_back("a met");
  };
  tasks.add(std::move(holding));
  EXPECT_EQ(Lines{"a"}, until("a"));
  tasks.changed();
  EXPECT_EQ((Lines{"a met", "done"}), until("done"));
  ASSERT_TRUE(took);
  EXPECT_GE(*took, 0.05);
}

TEST_F(TaskListTest, WhatDoesNotGoOnHoldingFails) {
  auto holding = task("a");
  holding.hold = 1000;
  tasks.add(std::move(holding));
  EXPECT_EQ(Lines{"a"}, settled());
  missing = {"x"};
  tasks.changed();
  EXPECT_EQ(Lines{"failed: x"}, settled());
}

TEST_F(TaskListTest, WhatIsRaisedIsTheReasonOfAFailure) {
  auto act = task("a");
  act.act = [] { throw std::runtime_error("cannot act"); };
  tasks.add(std::move(act));
  EXPECT_EQ(Lines{"failed: cannot act"}, settled());
  auto met = task("b");
  met.met = [](double) { throw std::runtime_error("met, but"); };
  tasks.add(std::move(met));
  tasks.add(task("c"));
  EXPECT_EQ((Lines{"b", "failed: met, but"}), settled());
}

TEST_F(TaskListTest, OtherwiseTakesThePlaceOfAFailureAndTheNextTaskFollows) {
  missing = {"x"};
  auto tried = task("a");
  tried.within = 0.01;
  tried.otherwise = [this] {
    journal.push_back("a not met");
    missing.clear();
  };
  tasks.add(std::move(tried));
  tasks.add(task("b"));
  EXPECT_EQ((Lines{"a", "a not met", "b", "b met", "done"}), until("done"));
}

TEST_F(TaskListTest, WhatIsClearedIsNotHeardOfAgain) {
  auto holding = task("a");
  holding.hold = 0.01;
  tasks.add(std::move(holding));
  EXPECT_EQ(Lines{"a"}, until("a"));
  tasks.clear();
  tasks.changed();
  tasks.add(task("b"));
  EXPECT_EQ((Lines{"b", "b met", "done"}), until("done"));
}

}  // namespace
}  // namespace Oru::Sim
