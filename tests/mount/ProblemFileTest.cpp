#include "mount/ProblemFile.h"

#include <gtest/gtest.h>

#include "mount/JsonError.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace {

using namespace Oru::Mount;
using Activity = ProblemList::Activity;

class ProblemFileTest : public testing::Test {
 protected:
  std::string text() const {
    auto const* const found = backend.text({"problems", "test"});
    return found ? *found : "none";
  }

  std::string const noProblems = "{\n  \"problems\": []\n}\n";
  EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  ProblemList problems;
  WriteQueue queue{loop, backend, problems};
  std::vector<std::string> log;
  ProblemFile file{problems, backend, queue, "test", [this](auto const& problem, bool present) {
                     log.push_back((present ? "+" : "-") + textOf(problem));
                   }};
};

TEST_F(ProblemFileTest, ReplacesThatOfAnEarlierRunAndFollowsTheList) {
  backend.othersPut({"problems", "test"}, "old");
  file.start();
  OruTest::settle(loop);
  EXPECT_EQ(noProblems, text());
  problems.report(Activity::read, "a.json", "b.c", "is missing");
  problems.report(Activity::read, "a.json", "b.c", "is missing");
  OruTest::settle(loop);
  EXPECT_NE(std::string::npos, text().find("\"file\": \"a.json\"")) << text();
  EXPECT_NE(std::string::npos, text().find("\"place\": \"b.c\"")) << text();
  EXPECT_NE(std::string::npos, text().find("\"activity\": \"read\"")) << text();
  problems.clear(Activity::read, "a.json");
  problems.clear(Activity::read, "a.json");
  OruTest::settle(loop);
  EXPECT_EQ(noProblems, text());
  EXPECT_EQ((std::vector<std::string>{"+cannot read a.json: b.c is missing",
                                      "-cannot read a.json: b.c is missing"}),
            log);
}

TEST_F(ProblemFileTest, LostWordIsToldAndNoStandingProblem) {
  problems.wordLost();
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ(0u, log[0].find("+cannot watch the tree: more changed at once")) << log[0];
  EXPECT_EQ('-', log[1].front());
  EXPECT_TRUE(problems.empty());
}

TEST_F(ProblemFileTest, AProblemWithItsOwnWritingIsSettledByWriting) {
  file.start();
  backend.writesFailWith(EROFS);
  queue.put({"a"}, "1");
  EXPECT_FALSE(queue.flush());
  backend.writesFailWith(0);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return queue.empty(); }));
  EXPECT_EQ(noProblems, text());
}

TEST_F(ProblemFileTest, WhatOthersChangeOrRemoveIsPutRightAndNothingElseIsWritten) {
  file.start();
  OruTest::settle(loop);
  backend.othersRemove({"problems", "test"});
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return text() == noProblems; }));
  backend.othersPut({"problems", "test"}, "other");
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return text() == noProblems; }));
  backend.othersRemoveDirectory({"problems"});
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return text() == noProblems; }));
  backend.takeWrites();
  backend.othersPut({"problems", "elsewhere"}, "other");
  backend.othersPut({"problems", "test"}, noProblems);
  OruTest::settle(loop);
  EXPECT_EQ(std::vector<std::string>{}, backend.takeWrites());
}

TEST_F(ProblemFileTest, ItsTextTellsTheProblems) {
  file.start();
  problems.report(Activity::write, "a.json", {}, "No space left on device");
  problems.report(Activity::read, "b.json", "c.d", "is missing");
  problems.report(Activity::watch, {}, {}, "is gone");
  OruTest::settle(loop);
  auto const told = problemReportOf(text()).problems;
  auto const expected = problems.problems();
  ASSERT_EQ(expected.size(), told.size());
  for (std::size_t i = 0; i < told.size(); ++i) {
    EXPECT_EQ(textOf(expected[i]), textOf(told[i]));
    EXPECT_EQ(expected[i].since, told[i].since);
  }
}

TEST_F(ProblemFileTest, OfTooManyProblemsTheFirstAreWrittenAndTheOthersCounted) {
  file.start();
  constexpr std::size_t count = 300;
  // The worst that a name can be: each of its bytes becomes six.
  auto const name = [](std::size_t i) {
    return std::to_string(1000 + i) + std::string(2000, '\1');
  };
  for (std::size_t i = 0; i < count; ++i) problems.report(Activity::read, name(i), {}, "is a pipe");
  OruTest::settle(loop);
  EXPECT_LT(text().size(), 2 * problemFileRoom);
  auto const cut = problemReportOf(text());
  EXPECT_GT(cut.more, 0u);
  ASSERT_EQ(count, cut.problems.size() + cut.more);
  for (std::size_t i = 0; i < cut.problems.size(); ++i) EXPECT_EQ(name(i), cut.problems[i].file);
  for (std::size_t i = 20; i < count; ++i) problems.clear(Activity::read, name(i));
  OruTest::settle(loop);
  EXPECT_EQ(20u, problemReportOf(text()).problems.size());
  EXPECT_EQ(std::string::npos, text().find("more"));
}

TEST_F(ProblemFileTest, WhatIsNoSuchTextIsRefused) {
  auto const refusal = [](std::string const& problem) {
    try {
      problemReportOf(R"({"problems":[)" + problem + "]}");
    } catch (JsonError const& error) {
      return std::string(error.what());
    }
    return std::string("accepted");
  };
  EXPECT_EQ("accepted", refusal(""));
  EXPECT_EQ("problems.0 is not an object", refusal("1"));
  EXPECT_EQ("problems.0.activity is none of read, write, watch",
            refusal(R"({"file":"a","activity":"look","place":"","reason":"b","since":1})"));
  EXPECT_EQ("problems.0.since is missing",
            refusal(R"({"file":"a","activity":"read","place":"","reason":"b"})"));
}

}  // namespace
