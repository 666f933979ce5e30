#include "mount/LockKeeper.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "tests/mount/LoopTurns.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using namespace Oru::Mount;

class LockKeeperTest : public testing::Test {
 protected:
  // The tree's folder goes, and the other one comes in its place.
  void exchange() {
    fs::rename(root, folder / "away");
    fs::rename(other, root);
    keeper.hold();
  }
  bool isHeld() const {
    try {
      TreeLock const second(root, "a");
      return false;
    } catch (LockedError const&) {
      return true;
    }
  }

  static std::string made(std::string const& directory) {
    fs::create_directories(directory);
    return directory;
  }

  OruTest::TemporaryFolder const folder;
  std::string const root = made(folder / "tree");
  std::string const other = folder / "other";
  EventLoop loop;
  ProblemList problems;
  int elsewhere = 0;
  LockKeeper keeper{loop, problems, root, "a", [this](auto const&) { ++elsewhere; }};
};

TEST_F(LockKeeperTest, AFolderInTheTreesPlaceIsHeld) {
  EXPECT_TRUE(isHeld());
  fs::create_directories(other);
  exchange();
  EXPECT_TRUE(isHeld());
  EXPECT_TRUE(problems.empty());
}

TEST_F(LockKeeperTest, WhatKeepsTheLockFromBeingTakenIsReportedAndTriedAgain) {
  fs::create_directories(other + "/.a.lock");
  exchange();
  ASSERT_EQ(1u, problems.problems().size());
  EXPECT_EQ("cannot write .a.lock: Is a directory", textOf(problems.problems()[0]));
  fs::remove(root + "/.a.lock");
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return problems.empty(); }));
  EXPECT_TRUE(isHeld());
  EXPECT_EQ(0, elsewhere);
}

TEST_F(LockKeeperTest, AFolderThatAnotherHoldsIsTold) {
  fs::create_directories(other);
  TreeLock const others(other, "a");
  exchange();
  EXPECT_EQ(1, elsewhere);
  EXPECT_TRUE(problems.empty());
}

TEST_F(LockKeeperTest, ALockWhoseFileIsRemovedOrReplacedIsTakenAnew) {
  fs::remove(root + "/.a.lock");
  OruTest::settle(loop);
  EXPECT_TRUE(fs::exists(root + "/.a.lock"));
  EXPECT_TRUE(isHeld());
  std::ofstream(folder / "file") << "1";
  fs::rename(folder / "file", root + "/.a.lock");
  OruTest::settle(loop);
  EXPECT_TRUE(isHeld());
  EXPECT_TRUE(problems.empty());
  EXPECT_EQ(0, elsewhere);
}

TEST_F(LockKeeperTest, ALockWhoseFileIsRemovedIsTakenAnewInAnotherFolderToo) {
  fs::create_directories(other);
  exchange();
  fs::remove(root + "/.a.lock");
  OruTest::settle(loop);
  EXPECT_TRUE(isHeld());
}

TEST_F(LockKeeperTest, WhoIsFasterWhenTheFileIsRemovedIsTold) {
  fs::remove(root + "/.a.lock");
  TreeLock const others(root, "a");
  OruTest::settle(loop);
  EXPECT_EQ(1, elsewhere);
}

TEST_F(LockKeeperTest, WhoTookTheLockInTheMeantimeIsTold) {
  fs::create_directories(other + "/.a.lock");
  exchange();
  fs::remove(root + "/.a.lock");
  TreeLock const others(root, "a");
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return elsewhere == 1; }));
}

}  // namespace
