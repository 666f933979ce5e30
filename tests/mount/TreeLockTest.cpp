#include "mount/TreeLock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Oru::Mount::LockedError;
using Oru::Mount::TreeLock;

class TreeLockTest : public testing::Test {
 protected:
  TreeLockTest() { fs::create_directories(root); }

  OruTest::TemporaryFolder const folder;
  std::string const root = folder / "tree";
};

TEST_F(TreeLockTest, IsHeldOnceForEachProgramAndGivenBack) {
  {
    TreeLock const lock(root, "a");
    TreeLock const other(root, "b");
    try {
      TreeLock const second(root, "a");
      FAIL() << "held twice";
    } catch (LockedError const& error) {
      EXPECT_EQ("process " + std::to_string(::getpid()) + " holds " + root + "/.a.lock",
                std::string(error.what()));
    }
  }
  EXPECT_NO_THROW(TreeLock(root, "a"));
}

TEST_F(TreeLockTest, AFolderInTheTreesPlaceIsLockedAndTheOldOneReleased) {
  TreeLock lock(root, "a");
  fs::rename(root, folder / "away");
  fs::create_directories(root);
  lock.renew();
  EXPECT_THROW(TreeLock(root, "a"), LockedError);
  EXPECT_NO_THROW(TreeLock(folder / "away", "a"));
  lock.renew();
  EXPECT_THROW(TreeLock(root, "a"), LockedError);
}

TEST_F(TreeLockTest, AFolderThatSomebodyElseHoldsIsRefused) {
  TreeLock lock(root, "a");
  fs::create_directories(folder / "other");
  TreeLock const other(folder / "other", "a");
  fs::rename(root, folder / "away");
  fs::rename(folder / "other", root);
  EXPECT_THROW(lock.renew(), LockedError);
}

TEST_F(TreeLockTest, ALinkIsNoLock) {
  std::ofstream(folder / "file") << "x";
  fs::create_symlink(folder / "file", root + "/.a.lock");
  EXPECT_THROW(TreeLock(root, "a"), std::system_error);
  EXPECT_THROW(TreeLock(folder / "none", "a"), std::system_error);
  EXPECT_EQ(1u, fs::file_size(folder / "file"));
}

}  // namespace
