#include "mount/TreeLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Oru::Mount::LockedError;
using Oru::Mount::TreeLock;
using Oru::Mount::UniqueFd;

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

// A lock whose holder was killed while it started another process, which has it as long as the test
// likes.
class OrphanedTreeLock : public TreeLockTest {
 protected:
  OrphanedTreeLock() {
    pid_t const dead = ::fork();
    if (dead == 0) ::_exit(0);
    ::waitpid(dead, nullptr, 0);
    std::ofstream(root + "/.a.lock") << dead << '\n';
    file = UniqueFd(::open((root + "/.a.lock").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(0, ::flock(file.get(), LOCK_EX));
  }

  UniqueFd file;
};

TEST_F(OrphanedTreeLock, IsWaitedFor) {
  pid_t const started = ::fork();
  if (started == 0) {
    ::poll(nullptr, 0, 100);
    ::_exit(0);
  }
  file = UniqueFd();
  EXPECT_NO_THROW(TreeLock(root, "a"));
  ::waitpid(started, nullptr, 0);
}

TEST_F(OrphanedTreeLock, IsRefusedWhenItIsNotGivenBack) {
  auto const before = std::chrono::steady_clock::now();
  EXPECT_THROW(TreeLock(root, "a"), LockedError);
  EXPECT_GE(std::chrono::steady_clock::now() - before, TreeLock::patience);
}

TEST_F(TreeLockTest, ALinkIsNoLock) {
  std::ofstream(folder / "file") << "x";
  fs::create_symlink(folder / "file", root + "/.a.lock");
  EXPECT_THROW(TreeLock(root, "a"), std::system_error);
  EXPECT_THROW(TreeLock(folder / "none", "a"), std::system_error);
  EXPECT_EQ(1u, fs::file_size(folder / "file"));
}

}  // namespace
