#include "mount/WriteQueue.h"

#include <gtest/gtest.h>

#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace {

using namespace Oru::Mount;
using OruTest::settle;
using Writes = std::vector<std::string>;

class WriteQueueTest : public testing::Test {
 protected:
  EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  ProblemList problems;
  WriteQueue queue{loop, backend, problems,
                   [](TreePath const& path) { return path[0] == "last" ? 1 : 0; }};
};

TEST_F(WriteQueueTest, WritesEachPlaceOnceAtTheEndOfTheTurn) {
  queue.put({"a"}, "1");
  queue.put({"b"}, "1");
  queue.put({"a"}, "2");
  EXPECT_EQ(Writes{}, backend.takeWrites());
  settle(loop);
  EXPECT_EQ((Writes{"put b", "put a"}), backend.takeWrites());
  EXPECT_EQ("2", *backend.text({"a"}));
  EXPECT_TRUE(queue.empty());
}

TEST_F(WriteQueueTest, TheLastWishForAPlaceCounts) {
  queue.put({"a"}, "1");
  queue.remove({"a"});
  queue.makeDirectory({"d"});
  queue.removeDirectory({"d"});
  settle(loop);
  EXPECT_EQ((Writes{"remove a", "clear d"}), backend.takeWrites());
}

TEST_F(WriteQueueTest, HigherRanksComeLater) {
  queue.put({"last", "a"}, "1");
  queue.put({"first", "a"}, "1");
  settle(loop);
  EXPECT_EQ((Writes{"put first/a", "put last/a"}), backend.takeWrites());
}

TEST_F(WriteQueueTest, WhatFailsIsReportedAndTriedAgainUntilItSucceeds) {
  backend.writesFailWith(ENOSPC);
  queue.put({"a"}, "1");
  settle(loop);
  ASSERT_EQ(1u, problems.problems().size());
  EXPECT_EQ("cannot write a.json: No space left on device", textOf(problems.problems()[0]));
  queue.put({"a"}, "2");
  settle(loop);
  backend.writesFailWith(0);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return queue.empty(); }));
  EXPECT_EQ("2", *backend.text({"a"}));
  EXPECT_TRUE(problems.empty());
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(250)));  // nothing is tried any more
}

TEST_F(WriteQueueTest, AHigherRankWaitsForWhatFailedBelowIt) {
  backend.writesFailAt({"first", "a"});
  queue.put({"first", "a"}, "1");
  queue.put({"first", "b"}, "1");
  queue.put({"last", "a"}, "1");
  settle(loop);
  EXPECT_EQ(Writes{"put first/b"}, backend.takeWrites());
  backend.writesFailAt({"elsewhere"});
  EXPECT_TRUE(queue.flush());
  EXPECT_EQ((Writes{"put first/a", "put last/a"}), backend.takeWrites());
}

TEST_F(WriteQueueTest, NobodyWaitsForAPlaceWhereSomethingStandsInTheWay) {
  for (int const error : {EISDIR, ENOTDIR, ELOOP, EFBIG}) {
    backend.writesFailAt({"first", "a"}, error);
    queue.put({"first", "a"}, "1");
    queue.put({"last", "a"}, "1");
    settle(loop);
    EXPECT_EQ(Writes{"put last/a"}, backend.takeWrites());
    EXPECT_EQ(1u, problems.problems().size());
    backend.writesFailAt({"elsewhere"});
    EXPECT_TRUE(queue.flush());
    EXPECT_EQ(Writes{"put first/a"}, backend.takeWrites());
  }
}

}  // namespace
