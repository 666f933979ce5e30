#include "mount/FileBackend.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/mount/LoopTurns.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace Oru::Mount;
namespace fs = std::filesystem;
using Kind = Backend::Kind;

// Records what a watch tells, as texts: "status/Slice1/Chip1.json", "status/", "lost", "back".
class Recorder final : public Backend::Observer {
 public:
  void changed(std::vector<Backend::Change> const& changes) override {
    for (auto const& [path, kind, wasGone] : changes)
      told.push_back(kind == Kind::value ? path.valueText()
                                         : path.text() + (wasGone ? "/ anew" : "/"));
  }
  void rootLost(std::string const&) override { told.push_back("lost"); }
  void rootBack() override { told.push_back("back"); }
  void wordLost() override { told.push_back("word lost"); }
  void watchLost(TreePath const& path, std::string const&) override {
    told.push_back("watch lost " + path.text());
  }
  void watchBack(TreePath const& path) override { told.push_back("watch back " + path.text()); }

  bool has(std::string const& text) const { return std::ranges::count(told, text) > 0; }

  std::vector<std::string> told;
};

class FileBackendTest : public testing::Test {
 protected:
  FileBackendTest() { fs::create_directories(root); }

  // As another program would: complete, under its name at once.
  void othersPut(std::string const& path, std::string const& text) {
    fs::create_directories(fs::path(root + '/' + path).parent_path());
    std::string const temporary = folder / "temporary";
    std::ofstream(temporary) << text;
    fs::rename(temporary, root + '/' + path);
  }
  bool awaits(std::string const& text) {
    return OruTest::turnUntil(loop, [&] { return recorder.has(text); });
  }
  std::vector<std::string> take() { return std::exchange(recorder.told, {}); }

  OruTest::TemporaryFolder const folder;
  std::string const root = folder / "tree";
  EventLoop loop;
  Recorder recorder;
};

// With a watch of d/, which is there.
class WatchedDirectory : public FileBackendTest {
 protected:
  WatchedDirectory() { fs::create_directories(root + "/d"); }

  FileBackend backend{loop, root};
  std::unique_ptr<Backend::Watch> watch;
  void SetUp() override { watch = backend.watch({"d"}, recorder); }
};

using Told = std::vector<std::string>;

TEST_F(WatchedDirectory, TellsOfValuesThatAreRenamedIntoPlaceChangedAndRemoved) {
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
  take();
  othersPut("d/a.json", "2");
  EXPECT_TRUE(awaits("d/a.json"));
  take();
  fs::remove(root + "/d/a.json");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(WatchedDirectory, TellsOfAValueThatIsWrittenInPlaceWhenItsWriterClosesIt) {
  {
    std::ofstream file(root + "/d/a.json");
    file << "{" << std::flush;
    OruTest::settle(loop);
    EXPECT_EQ(Told{}, take());
    file << "}";
  }
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(FileBackendTest, TellsOfALinkAndOfASecondLinkToACompleteFile) {
  fs::create_directories(root + "/d");
  std::ofstream(folder / "file") << "{}";
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  fs::create_symlink(folder / "file", root + "/d/a.json");
  fs::create_hard_link(folder / "file", root + "/d/b.json");
  EXPECT_TRUE(awaits("d/a.json"));
  EXPECT_TRUE(awaits("d/b.json"));
}

// In one go, so that the file has one name again when the first word of it is read.
TEST_F(WatchedDirectory, TellsOfAFileThatIsLinkedIntoPlaceWhenItsHiddenNameGoes) {
  std::ofstream(root + "/d/.tmp") << "{}";
  fs::create_hard_link(root + "/d/.tmp", root + "/d/a.json");
  fs::remove(root + "/d/.tmp");
  OruTest::settle(loop);  // now, not after a while
  EXPECT_EQ(Told{"d/a.json"}, take());
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(300)));
}

TEST_F(WatchedDirectory, TellsOfAFileThatHadNoNameAndIsLinkedIntoPlaceAfterAWhile) {
  {
    UniqueFd const file(::open((root + "/d").c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    ASSERT_EQ(2, ::write(file.get(), "{}", 2));
    std::string const nameless = "/proc/self/fd/" + std::to_string(file.get());
    ASSERT_EQ(0, ::linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, (root + "/d/a.json").c_str(),
                          AT_SYMLINK_FOLLOW));
    OruTest::settle(loop);
  }
  EXPECT_TRUE(awaits("d/a.json"));
  take();
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(300)));
}

TEST_F(WatchedDirectory, AFileThatIsClosedSoonIsToldOnce) {
  std::ofstream(root + "/d/a.json") << "{}";
  EXPECT_TRUE(awaits("d/a.json"));
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(300)));
  EXPECT_EQ(Told{"d/a.json"}, take());
}

TEST_F(WatchedDirectory, ChangesOfOneTurnAreToldOnceEach) {
  for (int i = 0; i < 5; ++i) {
    othersPut("d/a.json", std::to_string(i));
    othersPut("d/b.json", std::to_string(i));
  }
  EXPECT_TRUE(awaits("d/b.json"));
  EXPECT_EQ((Told{"d/a.json", "d/b.json"}), take());
}

TEST_F(FileBackendTest, FollowsDirectoriesAsDeepAsATreeHasThem) {
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  fs::create_directories(root + "/d/e/f");
  EXPECT_TRUE(awaits("d/"));
  OruTest::settle(loop);
  take();
  othersPut("d/e/f/a.json", "1");
  EXPECT_TRUE(awaits("d/e/f/a.json"));
  take();
  fs::remove_all(root + "/d/e");
  EXPECT_TRUE(awaits("d/e/ anew"));
}

TEST_F(FileBackendTest, WhatLiesDeeperThanATreeIsToldWhenItAppearsAndNotFollowed) {
  fs::create_directories(root + "/d/e/f");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  fs::create_directories(root + "/d/e/f/deep/er");
  EXPECT_TRUE(awaits("d/e/f/deep/"));
  OruTest::settle(loop);
  take();
  othersPut("d/e/f/deep/er/a.json", "1");
  othersPut("d/end.json", "1");
  EXPECT_TRUE(awaits("d/end.json"));
  EXPECT_EQ(Told{"d/end.json"}, take());
}

TEST_F(WatchedDirectory, ADirectoryThatIsMovedInIsFollowed) {
  fs::create_directories(folder / "new/sub");
  fs::rename(folder / "new", root + "/d/new");
  EXPECT_TRUE(awaits("d/new/"));
  OruTest::settle(loop);
  take();
  othersPut("d/new/sub/a.json", "1");
  EXPECT_TRUE(awaits("d/new/sub/a.json"));
}

TEST_F(FileBackendTest, ADirectoryThatIsRemovedAndPutBackIsFollowedAgain) {
  fs::create_directories(root + "/d/e");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  fs::remove_all(root + "/d/e");
  fs::create_directories(root + "/d/e");
  EXPECT_TRUE(awaits("d/e/ anew"));
  OruTest::settle(loop);
  take();
  othersPut("d/e/a.json", "1");
  EXPECT_TRUE(awaits("d/e/a.json"));
}

TEST_F(FileBackendTest, OwnWritesAreNotTold) {
  FileBackend backend(loop, root);
  ASSERT_FALSE(backend.makeDirectory({"d"}));
  auto const watch = backend.watch({"d"}, recorder);
  EXPECT_FALSE(backend.put({"d", "a"}, "1"));
  EXPECT_FALSE(backend.put({"d", "a"}, "2"));
  EXPECT_FALSE(backend.put({"d", "b"}, "1"));
  EXPECT_FALSE(backend.remove({"d", "b"}));
  othersPut("d/end.json", "1");
  EXPECT_TRUE(awaits("d/end.json"));
  EXPECT_EQ(Told{"d/end.json"}, take());
}

TEST_F(FileBackendTest, WhatOthersWriteOverAnOwnWriteIsTold) {
  FileBackend backend(loop, root);
  ASSERT_FALSE(backend.makeDirectory({"d"}));
  auto const watch = backend.watch({"d"}, recorder);
  EXPECT_FALSE(backend.put({"d", "a"}, "1"));
  othersPut("d/a.json", "2");
  EXPECT_TRUE(awaits("d/a.json"));
}

// However soon after, and of whatever size.
TEST_F(FileBackendTest, WhatOthersWriteIntoAnOwnFileIsTold) {
  FileBackend backend(loop, root);
  ASSERT_FALSE(backend.makeDirectory({"d"}));
  auto const watch = backend.watch({"d"}, recorder);
  EXPECT_FALSE(backend.put({"d", "a"}, "1"));
  std::ofstream(root + "/d/a.json") << "2";
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(FileBackendTest, WhatOthersMakeWhereAnOwnFileWasRemovedIsTold) {
  FileBackend backend(loop, root);
  ASSERT_FALSE(backend.makeDirectory({"d"}));
  auto const watch = backend.watch({"d"}, recorder);
  EXPECT_FALSE(backend.put({"d", "a"}, "1"));
  EXPECT_FALSE(backend.remove({"d", "a"}));
  OruTest::settle(loop);
  EXPECT_EQ(Told{}, take());
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(WatchedDirectory, HiddenNamesAreNobodys) {
  othersPut("d/.hidden.json", "1");
  fs::create_directories(root + "/d/.dir");
  othersPut("d/end.json", "1");
  EXPECT_TRUE(awaits("d/end.json"));
  EXPECT_EQ(Told{"d/end.json"}, take());
}

TEST_F(WatchedDirectory, AStrayFileIsToldAsAChangeOfItsDirectory) {
  othersPut("d/README", "1");
  EXPECT_TRUE(awaits("d/"));
}

TEST_F(WatchedDirectory, AFileInItsPlaceIsToldWhenItComesAndWhenItGoes) {
  fs::rename(root + "/d", root + "/.away");
  othersPut("d", "1");
  EXPECT_TRUE(awaits("d/ anew"));
  OruTest::settle(loop);
  take();
  othersPut("e", "1");
  fs::remove(root + "/d");
  EXPECT_TRUE(awaits("d/"));
  EXPECT_EQ(Told{"d/"}, take());
}

TEST_F(FileBackendTest, AFileInPlaceOfADirectoryOnTheWayIsToldWhenItGoes) {
  othersPut("d", "1");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d", "e"}, recorder);
  fs::remove(root + "/d");
  EXPECT_TRUE(awaits("d/e/"));
}

TEST_F(WatchedDirectory, ADirectoryInPlaceOfAValueIsToldAsThatValue) {
  fs::create_directories(root + "/d/a.json");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(FileBackendTest, EachWatchIsToldOfItsOwnDirectory) {
  fs::create_directories(root + "/d");
  fs::create_directories(root + "/e");
  FileBackend backend(loop, root);
  Recorder other;
  auto const watch = backend.watch({"d"}, recorder);
  auto otherWatch = backend.watch({"e"}, other);
  othersPut("e/a.json", "1");
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
  EXPECT_EQ(Told{"d/a.json"}, take());
  EXPECT_EQ(Told{"e/a.json"}, std::exchange(other.told, {}));
  otherWatch.reset();
  othersPut("e/b.json", "1");
  othersPut("d/b.json", "1");
  EXPECT_TRUE(awaits("d/b.json"));
  EXPECT_EQ(Told{}, other.told);
}

TEST_F(FileBackendTest, AWatchMayBeEndedWhileItIsTold) {
  fs::create_directories(root + "/d");
  FileBackend backend(loop, root);
  struct Ender final : Backend::Observer {
    void changed(std::vector<Backend::Change> const&) override {
      ++calls;
      first.reset();
      second.reset();
    }
    int calls = 0;
    std::unique_ptr<Backend::Watch> first, second;
  } ender;
  ender.first = backend.watch({"d"}, ender);
  ender.second = backend.watch({"d"}, ender);
  othersPut("d/a.json", "1");
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return ender.calls > 0; }));
  OruTest::settle(loop);
  EXPECT_EQ(1, ender.calls);
}

TEST_F(WatchedDirectory, ARootThatIsMovedAwayAndPutBackIsToldAndFollowedAgain) {
  fs::rename(root, folder / "away");
  EXPECT_TRUE(awaits("lost"));
  EXPECT_EQ(Told{"lost"}, take());
  fs::rename(folder / "away", root);
  EXPECT_TRUE(awaits("d/"));
  EXPECT_EQ((Told{"back", "d/"}), take());
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(WatchedDirectory, ARootThatIsRemovedAndMadeAgainIsFollowedAgain) {
  fs::remove_all(root);
  EXPECT_TRUE(awaits("lost"));
  fs::create_directories(root + "/d");
  EXPECT_TRUE(awaits("back"));
  OruTest::settle(loop);
  take();
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
}

// Such a directory lives on without a name, and does not tell.
TEST_F(FileBackendTest, ARootInWhichAFileIsOpenIsFollowedAgainAfterItsRemoval) {
  fs::create_directories(root + "/d");
  std::ofstream open(root + "/open");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  fs::remove_all(root);
  fs::create_directories(root + "/d");
  EXPECT_TRUE(awaits("back"));
  OruTest::settle(loop);
  take();
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(FileBackendTest, ADirectoryIsToldToBeAnotherOneThoughItsParentIsReadAgainToo) {
  fs::create_directories(root + "/d/e");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  OruTest::settle(loop);
  take();
  fs::remove_all(root + "/d/e");
  fs::create_directories(root + "/d/e");
  std::ofstream(root + "/d/stray") << "x";
  EXPECT_TRUE(awaits("d/"));
  EXPECT_TRUE(recorder.has("d/e/ anew"));
}

TEST_F(WatchedDirectory, ARootThatIsExchangedIsReadAgainWithoutLoss) {
  fs::create_directories(folder / "other/d");
  fs::rename(root, folder / "away");
  fs::rename(folder / "other", root);
  EXPECT_TRUE(awaits("d/"));
  OruTest::settle(loop);
  take();
  othersPut("d/a.json", "1");
  EXPECT_TRUE(awaits("d/a.json"));
}

TEST_F(FileBackendTest, ARootThatIsNotThereYetIsAwaited) {
  fs::remove_all(root);
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  EXPECT_TRUE(awaits("lost"));
  fs::create_directories(root + "/d");
  EXPECT_TRUE(awaits("d/"));
}

// The kernel drops what does not fit its queue (its length is set for the whole system).
TEST_F(FileBackendTest, AnOverflowOfTheKernelsQueueIsToldAsAChangeOfEverything) {
  std::size_t length = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> length;
  ASSERT_GT(length, 0u);
  fs::create_directories(root + "/d");
  FileBackend backend(loop, root);
  auto const watch = backend.watch({"d"}, recorder);
  for (std::size_t i = 0; i < length / 2 + 10; ++i) {
    // Two names in turn, since the kernel merges equal neighbours.
    std::string const name = root + "/d/" + (i % 2 ? "a" : "b") + ".json";
    ::close(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    fs::remove(name);
  }
  othersPut("d/end.json", "1");
  EXPECT_TRUE(awaits("d/"));
  EXPECT_TRUE(recorder.has("word lost"));
  OruTest::settle(loop);
  take();
  othersPut("d/after.json", "1");
  EXPECT_TRUE(awaits("d/after.json"));
}

TEST_F(WatchedDirectory, AnIdleWatchWakesNobody) {
  OruTest::settle(loop);
  EXPECT_FALSE(loop.turn(std::chrono::milliseconds(300)));
}

}  // namespace
