#include "mount/TreeWriter.h"

#include <gtest/gtest.h>

#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace {

using namespace Oru::Mount;
using OruTest::settle;
using Writes = std::vector<std::string>;

class TreeWriterTest : public testing::Test {
 protected:
  Writes writes() {
    settle(loop);
    return backend.takeWrites();
  }

  EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  ProblemList problems;
  WriteQueue queue{loop, backend, problems};
  TreeWriter writer{backend, queue, problems};
  std::string text = "1";
  int encoded = 0;
  TreeWriter::Encode const encode = [this] {
    ++encoded;
    return text;
  };
};

TEST_F(TreeWriterTest, WritesTheTextOfTheEndOfTheTurnOnce) {
  writer.valueIs({"a"}, encode);
  text = "2";
  writer.valueChanged({"a"});
  text = "3";
  writer.valueChanged({"a"});
  EXPECT_EQ(Writes{"put a"}, writes());
  EXPECT_EQ("3", *backend.text({"a"}));
  EXPECT_EQ(1, encoded);
}

TEST_F(TreeWriterTest, WhatStandsAlreadyIsNotWritten) {
  writer.found({"a"}, "1");
  writer.valueIs({"a"}, encode);
  EXPECT_EQ(Writes{}, writes());
  writer.valueChanged({"a"});
  EXPECT_EQ(Writes{}, writes());
}

TEST_F(TreeWriterTest, WhatOthersChangeOrRemoveIsPutRight) {
  writer.valueIs({"a"}, encode);
  writes();
  EXPECT_TRUE(writer.found({"a"}, "other"));
  EXPECT_EQ(Writes{"put a"}, writes());
  EXPECT_TRUE(writer.found({"a"}, std::nullopt));
  EXPECT_EQ(Writes{"put a"}, writes());
  EXPECT_FALSE(writer.found({"b"}, "other"));
  EXPECT_EQ(Writes{}, writes());
}

TEST_F(TreeWriterTest, AFailedWriteIsWrittenLaterThoughTheTextIsTheSame) {
  backend.writesFailWith(ENOSPC);
  writer.valueIs({"a"}, encode);
  EXPECT_EQ(Writes{}, writes());
  backend.writesFailWith(0);
  EXPECT_TRUE(queue.flush());
  EXPECT_EQ("1", *backend.text({"a"}));
}

TEST_F(TreeWriterTest, RemovesOnlyWhatWasToStand) {
  writer.valueDel({"a"});
  writer.directoryDel({"d"});
  EXPECT_EQ(Writes{}, writes());
  writer.valueIs({"a"}, encode);
  writes();
  writer.valueDel({"a"});
  EXPECT_EQ(Writes{"remove a"}, writes());
  EXPECT_FALSE(writer.found({"a"}, std::nullopt));
}

TEST_F(TreeWriterTest, ADirectoryGoesWithItsValues) {
  writer.directoryIs({"d"});
  writer.valueIs({"d", "a"}, encode);
  writes();
  writer.valueChanged({"d", "a"});
  writer.directoryDel({"d"});
  EXPECT_EQ(Writes{"clear d"}, writes());
  EXPECT_FALSE(writer.directoryMissing({"d"}));
  EXPECT_EQ(Writes{}, writes());
}

TEST_F(TreeWriterTest, AMissingDirectoryIsMadeAndFilledAgain) {
  writer.directoryIs({"d", "empty"});
  writer.valueIs({"d", "full", "a"}, encode);
  writes();
  backend.othersRemoveDirectory({"d"});
  writer.directoryMissing({"d"});
  EXPECT_EQ((Writes{"make d/empty", "put d/full/a"}), writes());
}

TEST_F(TreeWriterTest, WhatIsWrittenOverIsNoProblemToReadAnyMore) {
  problems.report(ProblemList::Activity::read, "a.json", {}, "is not JSON");
  writer.found({"a"}, "x");
  writer.valueIs({"a"}, encode);
  writes();
  EXPECT_TRUE(problems.empty());
}

}  // namespace
