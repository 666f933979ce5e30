#include "mount/TreeReader.h"

#include <gtest/gtest.h>

#include "mount/JsonError.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace {

using namespace Oru::Mount;
using Told = std::vector<std::string>;

// Records what it is told; refuses some texts.
class Recorder final : public TreeReader::Consumer {
 public:
  void directoryIs(TreePath const& path) override { told.push_back("+" + path.text() + "/"); }
  void directoryRead(TreePath const& path) override { told.push_back("=" + path.text() + "/"); }
  void directoryGone(TreePath const& path) override { told.push_back("-" + path.text() + "/"); }
  void valueIs(TreePath const& path, std::string const& text) override {
    if (text.starts_with(refuses)) throw JsonError("field", "is " + text);
    told.push_back(path.text() + "=" + text);
  }
  void valueUnreadable(TreePath const& path) override {
    told.push_back("unreadable " + path.text());
  }
  void valueGone(TreePath const& path) override { told.push_back("-" + path.text()); }
  void baseMissing() override { told.push_back("missing"); }

  Told take() { return std::exchange(told, {}); }

  std::string refuses = "bad";
  Told told;
};

class TreeReaderTest : public testing::Test {
 protected:
  void start(TreeReader::Shape shape) {
    OruTest::settle(loop);
    reader.emplace(loop, backend, problems, TreePath{"d"}, shape, recorder);
    reader->start();
  }
  Told takeAfterTurn() {
    OruTest::settle(loop);
    return recorder.take();
  }
  Told problemTexts() const {
    Told texts;
    for (auto const& problem : problems.problems()) texts.push_back(textOf(problem));
    return texts;
  }

  EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  ProblemList problems;
  Recorder recorder;
  std::optional<TreeReader> reader;
};

TEST_F(TreeReaderTest, TellsWhatIsThereAndWhatChanges) {
  backend.othersPut({"d", "a"}, "1");
  start(TreeReader::Shape::values);
  EXPECT_EQ(Told{"d/a=1"}, recorder.take());
  backend.othersPut({"d", "b"}, "2");
  backend.othersPut({"d", "a"}, "3");
  EXPECT_EQ((Told{"d/b=2", "d/a=3"}), takeAfterTurn());
  backend.othersRemove({"d", "a"});
  EXPECT_EQ(Told{"-d/a"}, takeAfterTurn());
}

TEST_F(TreeReaderTest, SaysThatTheDirectoryIsMissing) {
  start(TreeReader::Shape::values);
  EXPECT_EQ(Told{"missing"}, recorder.take());
}

TEST_F(TreeReaderTest, ARefusedValueIsAProblemUntilItIsCorrected) {
  backend.othersPut({"d", "a"}, "1");
  start(TreeReader::Shape::values);
  recorder.take();
  backend.othersPut({"d", "a"}, "bad");
  EXPECT_EQ(Told{}, takeAfterTurn());
  EXPECT_EQ(Told{"cannot read d/a.json: field is bad"}, problemTexts());
  EXPECT_TRUE(reader->stands({"d", "a"}));
  EXPECT_FALSE(reader->accepted({"d", "a"}));
  backend.othersPut({"d", "a"}, "1");
  EXPECT_EQ(Told{"d/a=1"}, takeAfterTurn());
  EXPECT_TRUE(problems.empty());
  EXPECT_TRUE(reader->accepted({"d", "a"}));
}

TEST_F(TreeReaderTest, RemovingARefusedValueClearsTheProblem) {
  backend.othersPut({"d", "a"}, "bad");
  start(TreeReader::Shape::values);
  EXPECT_FALSE(problems.empty());
  backend.othersRemove({"d", "a"});
  EXPECT_EQ(Told{"-d/a"}, takeAfterTurn());
  EXPECT_TRUE(problems.empty());
}

TEST_F(TreeReaderTest, AValueThatCannotBeReadKeepsItsLastText) {
  backend.othersPut({"d", "a"}, "1");
  start(TreeReader::Shape::values);
  recorder.take();
  backend.refuse({"d", "a"}, "is a symbolic link");
  EXPECT_EQ(Told{"unreadable d/a"}, takeAfterTurn());
  EXPECT_EQ(Told{"cannot read d/a.json: is a symbolic link"}, problemTexts());
  backend.refuseNoMore({"d", "a"});
  EXPECT_EQ(Told{"d/a=1"}, takeAfterTurn());
  EXPECT_TRUE(problems.empty());
}

TEST_F(TreeReaderTest, AValueWhoseReadingFailedIsTriedAgain) {
  backend.othersPut({"d", "a"}, "1");
  backend.readsFail(true);
  start(TreeReader::Shape::values);
  EXPECT_EQ(Told{"unreadable d/a"}, recorder.take());
  EXPECT_EQ(Told{"cannot read d/a.json: Input/output error"}, problemTexts());
  backend.readsFail(false);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return problems.empty(); }));
  EXPECT_EQ(Told{"d/a=1"}, recorder.take());
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(250)));  // nothing is tried any more
}

TEST_F(TreeReaderTest, ADirectoryWhoseListingFailedIsTriedAgain) {
  backend.othersPut({"d", "s1", "a"}, "1");
  backend.listsFail({"d", "s1"}, true);
  start(TreeReader::Shape::directories);
  EXPECT_EQ(Told{"cannot read d/s1: Input/output error"}, problemTexts());
  backend.listsFail({"d", "s1"}, false);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return problems.empty(); }));
  EXPECT_EQ((Told{"+d/s1/", "d/s1/a=1", "=d/s1/"}), recorder.take());
  backend.listsFail({"d"}, true);
  backend.tellAll();
  OruTest::settle(loop);
  EXPECT_EQ(Told{"cannot read d: Input/output error"}, problemTexts());
  backend.listsFail({"d"}, false);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return problems.empty(); }));
}

TEST_F(TreeReaderTest, ADirectoryThatWasGoneInBetweenIsAnotherOne) {
  backend.othersPut({"d", "s1", "a"}, "1");
  start(TreeReader::Shape::directories);
  recorder.take();
  backend.othersReplaceDirectory({"d", "s1"});
  EXPECT_EQ((Told{"-d/s1/", "+d/s1/", "=d/s1/"}), takeAfterTurn());
}

TEST_F(TreeReaderTest, LookAgainTellsAValueOnceMore) {
  backend.othersPut({"d", "a"}, "bad");
  start(TreeReader::Shape::values);
  recorder.refuses = "worse";
  reader->lookAgain({"d", "a"});
  EXPECT_EQ(Told{"d/a=bad"}, recorder.take());
  EXPECT_EQ(Told{}, problemTexts());
  reader->lookAgain({"d", "none"});
  EXPECT_EQ(Told{}, recorder.take());
}

TEST_F(TreeReaderTest, WhatDoesNotBelongIsAProblemUntilItGoes) {
  backend.othersPut({"d", "dir", "x"}, "1");
  backend.strayIs({"d"}, {"README", "is not a .json file"});
  start(TreeReader::Shape::values);
  EXPECT_EQ((Told{"cannot read d/README: is not a .json file",
                  "cannot read d/dir: is a directory where a file belongs"}),
            problemTexts());
  EXPECT_EQ(Told{}, recorder.take());
  backend.othersRemoveDirectory({"d", "dir"});
  OruTest::settle(loop);
  EXPECT_EQ(Told{"cannot read d/README: is not a .json file"}, problemTexts());
}

TEST_F(TreeReaderTest, DirectoriesAreToldBeforeAndAfterTheirFirstValues) {
  backend.othersPut({"d", "s1", "a"}, "1");
  start(TreeReader::Shape::directories);
  EXPECT_EQ((Told{"+d/s1/", "d/s1/a=1", "=d/s1/"}), recorder.take());
  backend.othersPut({"d", "s1", "b"}, "2");
  EXPECT_EQ(Told{"d/s1/b=2"}, takeAfterTurn());
  backend.othersMakeDirectory({"d", "s2"});
  EXPECT_EQ((Told{"+d/s2/", "=d/s2/"}), takeAfterTurn());
  backend.othersRemoveDirectory({"d", "s1"});
  EXPECT_EQ(Told{"-d/s1/"}, takeAfterTurn());
}

TEST_F(TreeReaderTest, AValueOfANewDirectoryBringsItsDirectory) {
  backend.othersMakeDirectory({"d"});
  start(TreeReader::Shape::directories);
  backend.othersPut({"d", "s1", "a"}, "1");
  EXPECT_EQ((Told{"+d/s1/", "d/s1/a=1", "=d/s1/"}), takeAfterTurn());
}

TEST_F(TreeReaderTest, AFileWhereADirectoryBelongsIsAProblem) {
  backend.othersPut({"d", "s1"}, "1");
  backend.othersPut({"d", "s2", "sub", "x"}, "1");
  start(TreeReader::Shape::directories);
  EXPECT_EQ((Told{"cannot read d/s1.json: is a file where a directory belongs",
                  "cannot read d/s2/sub: is a directory where a file belongs"}),
            problemTexts());
  EXPECT_EQ((Told{"+d/s2/", "=d/s2/"}), recorder.take());
  backend.othersRemove({"d", "s1"});
  backend.othersRemoveDirectory({"d", "s2", "sub"});
  OruTest::settle(loop);
  EXPECT_TRUE(problems.empty());
}

TEST_F(TreeReaderTest, ADirectoryWhoseNameIsTakenByALinkKeepsWhatWasKnown) {
  backend.othersPut({"d", "s1", "a"}, "1");
  start(TreeReader::Shape::directories);
  recorder.take();
  backend.deafIs(true);
  backend.othersRemoveDirectory({"d", "s1"});
  backend.deafIs(false);
  backend.strayIs({"d"}, {"s1", "is a symbolic link"});
  EXPECT_EQ(Told{}, takeAfterTurn());
  EXPECT_EQ(Told{"cannot read d/s1: is a symbolic link"}, problemTexts());
}

TEST_F(TreeReaderTest, ProblemsGoWithTheirDirectory) {
  backend.othersPut({"d", "s1", "a"}, "bad");
  start(TreeReader::Shape::directories);
  EXPECT_FALSE(problems.empty());
  backend.othersRemoveDirectory({"d", "s1"});
  OruTest::settle(loop);
  EXPECT_TRUE(problems.empty());
}

TEST_F(TreeReaderTest, AfterALossTheDifferenceIsTold) {
  backend.othersPut({"d", "s1", "a"}, "1");
  backend.othersPut({"d", "s1", "b"}, "1");
  backend.othersPut({"d", "s2", "a"}, "1");
  start(TreeReader::Shape::directories);
  recorder.take();
  backend.deafIs(true);
  backend.othersRemove({"d", "s1", "a"});
  backend.othersPut({"d", "s1", "b"}, "2");
  backend.othersRemoveDirectory({"d", "s2"});
  backend.othersPut({"d", "s3", "a"}, "1");
  backend.deafIs(false);
  backend.tellAll();
  EXPECT_EQ((Told{"-d/s2/", "-d/s1/a", "d/s1/b=2", "+d/s3/", "d/s3/a=1", "=d/s3/"}),
            takeAfterTurn());
}

}  // namespace
