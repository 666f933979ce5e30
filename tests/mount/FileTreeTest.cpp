#include "mount/FileTree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace {

using namespace Oru::Mount;
namespace fs = std::filesystem;
using Kind = Backend::Kind;
using ListState = Backend::Listing::State;
using ReadState = Backend::Reading::State;

class FileTreeTest : public testing::Test {
 protected:
  void write(std::string const& path, std::string const& text) {
    fs::create_directories(fs::path(folder / path).parent_path());
    std::ofstream(folder / path) << text;
  }
  mode_t modeOf(std::string const& path) {
    struct ::stat status {};
    EXPECT_EQ(0, ::lstat((folder / path).c_str(), &status)) << path;
    return status.st_mode & 07777;
  }

  OruTest::TemporaryFolder const folder;
  FileTree const tree{folder.path().string()};
};

TEST_F(FileTreeTest, PutMakesTheFileAndTheDirectoriesOnTheWay) {
  mode_t const mask = ::umask(077);
  EXPECT_FALSE(tree.put({"config", "Slice 1", "Chip1"}, "{}"));
  ::umask(mask);
  EXPECT_EQ("{}", tree.read({"config", "Slice 1", "Chip1"}).text);
  EXPECT_EQ(0640u, modeOf("config/Slice%201/Chip1.json"));
  EXPECT_EQ(0750u, modeOf("config/Slice%201"));
  EXPECT_EQ(0750u, modeOf("config"));
}

// Whoever watches the directory looks once, at a file that nobody writes to any more.
TEST_F(FileTreeTest, AFileThatIsPutIsToldOnceUnderItsName) {
  UniqueFd const inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_LE(0, ::inotify_add_watch(inotify.get(), folder.path().c_str(), IN_ALL_EVENTS));
  EXPECT_FALSE(tree.put({"a"}, "{}"));
  alignas(inotify_event) char events[4096];
  auto const length = ::read(inotify.get(), events, sizeof events);
  std::vector<std::uint32_t> told;
  for (char const* at = events; at < events + length;) {
    auto const& event = *reinterpret_cast<inotify_event const*>(at);
    at += sizeof event + event.len;
    if (event.len > 0 && std::string_view(event.name) == "a.json") told.push_back(event.mask);
  }
  EXPECT_EQ(std::vector<std::uint32_t>{IN_MOVED_TO}, told);
}

TEST_F(FileTreeTest, TheStampTellsOneStateOfAFileFromAnother) {
  EXPECT_EQ(FileStamp(), tree.stamp({"a"}));
  FileStamp first;
  EXPECT_FALSE(tree.put({"a"}, "1", &first));
  EXPECT_EQ(first, tree.stamp({"a"}));
  FileStamp second;
  EXPECT_FALSE(tree.put({"a"}, "22", &second));
  EXPECT_NE(first, second);
  EXPECT_EQ(second, tree.stamp({"a"}));
}

TEST_F(FileTreeTest, PutReplacesTheFileAsAWholeAndLeavesNothingElse) {
  EXPECT_FALSE(tree.put({"a"}, "long text"));
  int const old = ::open((folder / "a.json").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_FALSE(tree.put({"a"}, "new"));
  char text[16];
  EXPECT_EQ(9, ::read(old, text, sizeof text));  // whoever has it open reads the old text
  ::close(old);
  EXPECT_EQ("new", tree.read({"a"}).text);
  EXPECT_EQ(1, std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
}

TEST_F(FileTreeTest, PutTakesTheTemporaryNameOverThatAnEarlierProcessLeft) {
  write(".oru-" + std::to_string(::getpid()) + ".tmp", "left over");
  EXPECT_FALSE(tree.put({"a"}, "new"));
  EXPECT_EQ("new", tree.read({"a"}).text);
}

TEST_F(FileTreeTest, NothingMakesTheRootButMakeRoot) {
  FileTree const elsewhere(folder / "not/there");
  EXPECT_EQ(std::errc::no_such_device, elsewhere.put({"a"}, "x"));
  EXPECT_EQ(std::errc::no_such_device, elsewhere.makeDirectory({"a"}));
  EXPECT_EQ("the tree is not there", elsewhere.put({"a"}, "x").message());
  EXPECT_EQ(ListState::absent, elsewhere.list({}).state);
  // Nothing is known, which is not the same as nothing being there.
  EXPECT_EQ(ListState::refused, elsewhere.list({"a"}).state);
  EXPECT_EQ(ReadState::refused, elsewhere.read({"a"}).state);
  EXPECT_TRUE(elsewhere.read({"a"}).transient);
  EXPECT_FALSE(elsewhere.makeRoot());
  EXPECT_FALSE(elsewhere.makeRoot());
  EXPECT_EQ(ListState::present, elsewhere.list({}).state);
}

TEST_F(FileTreeTest, WhatIsAbsentReadsAsAbsent) {
  EXPECT_EQ(ReadState::absent, tree.read({"a"}).state);
  EXPECT_EQ(ReadState::absent, tree.read({"a", "b"}).state);
  EXPECT_EQ(ListState::absent, tree.list({"a"}).state);
}

TEST_F(FileTreeTest, RemovingIsIdempotent) {
  EXPECT_FALSE(tree.put({"a", "b"}, "x"));
  EXPECT_FALSE(tree.remove({"a", "b"}));
  EXPECT_FALSE(tree.remove({"a", "b"}));
  EXPECT_FALSE(tree.remove({"none", "b"}));
  EXPECT_FALSE(tree.removeDirectory({"a"}));
  EXPECT_FALSE(tree.removeDirectory({"a"}));
  EXPECT_FALSE(fs::exists(folder / "a"));
}

TEST_F(FileTreeTest, RemovingADirectoryTakesItsContentButFollowsNoLink) {
  write("outside/kept.json", "{}");
  write("tree/a/b/c.json", "{}");
  fs::create_directory_symlink(folder / "outside", folder / "tree/a/link");
  FileTree const inner(folder / "tree");
  EXPECT_FALSE(inner.removeDirectory({"a"}));
  EXPECT_FALSE(fs::exists(folder / "tree/a"));
  EXPECT_TRUE(fs::exists(folder / "outside/kept.json"));
}

TEST_F(FileTreeTest, ListsMembersInOrderAndPassesHiddenNamesOver) {
  write("d/b.json", "{}");
  write("d/a.json", "{}");
  write("d/.tmp.json", "{}");
  fs::create_directories(folder / "d/sub dir");
  fs::create_directories(folder / "d/c");
  auto const listing = tree.list({"d"});
  EXPECT_EQ((std::vector<Backend::Member>{
                {"a", Kind::value}, {"b", Kind::value}, {"c", Kind::directory}}),
            listing.members);
  EXPECT_EQ((std::vector<Backend::Stray>{{"sub dir", "is not the encoding of a name"}}),
            listing.strays);
}

TEST_F(FileTreeTest, ListsWhatIsNeitherValueNorDirectoryAsStray) {
  write("d/README", "text");
  write("d/%41.json", "{}");
  fs::create_directory_symlink(folder.path(), folder / "d/Slice1");
  ASSERT_EQ(0, ::mkfifo((folder / "d/pipe").c_str(), 0600));
  EXPECT_EQ((std::vector<Backend::Stray>{{"%41.json", "is not the encoding of a name"},
                                         {"README", "is not a .json file"},
                                         {"Slice1", "is a symbolic link"},
                                         {"pipe", "is a pipe"}}),
            tree.list({"d"}).strays);
}

TEST_F(FileTreeTest, RefusesALinkInPlaceOfAValue) {
  write("secret", "{}");
  fs::create_symlink(folder / "secret", folder / "a.json");
  EXPECT_EQ("is a symbolic link", tree.read({"a"}).reason);
}

TEST_F(FileTreeTest, RefusesWhatIsNoFileInPlaceOfAValue) {
  fs::create_directories(folder / "dir.json");
  ASSERT_EQ(0, ::mkfifo((folder / "pipe.json").c_str(), 0600));
  EXPECT_EQ("is a directory where a file belongs", tree.read({"dir"}).reason);
  EXPECT_EQ("is a pipe", tree.read({"pipe"}).reason);
  EXPECT_EQ(ReadState::refused, tree.read({"pipe"}).state);
}

TEST_F(FileTreeTest, RefusesASocket) {
  UniqueFd const socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (folder / "s.json").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(0, ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
  EXPECT_EQ(ReadState::refused, tree.read({"s"}).state);
}

// Only root makes devices.
TEST_F(FileTreeTest, RefusesADevice) {
  if (::mknod((folder / "null.json").c_str(), S_IFCHR | 0600, makedev(1, 3)) < 0)
    GTEST_SKIP() << "may not make devices";
  EXPECT_EQ(ReadState::refused, tree.read({"null"}).state);
}

TEST_F(FileTreeTest, ReadsUpToTheLimitAndRefusesMore) {
  write("fits.json", std::string(FileTree::sizeLimit, ' '));
  write("large.json", std::string(FileTree::sizeLimit + 1, ' '));
  EXPECT_EQ(FileTree::sizeLimit, tree.read({"fits"}).text.size());
  EXPECT_EQ("is larger than 1048576 bytes", tree.read({"large"}).reason);
  EXPECT_EQ(std::errc::file_too_large, tree.put({"a"}, std::string(FileTree::sizeLimit + 1, 'x')));
}

TEST_F(FileTreeTest, NoStepBelowTheRootFollowsALink) {
  write("outside/a.json", "{}");
  fs::create_directories(folder / "tree");
  fs::create_directory_symlink(folder / "outside", folder / "tree/who");
  FileTree const inner(folder / "tree");
  EXPECT_EQ(ReadState::refused, inner.read({"who", "a"}).state);
  EXPECT_EQ(ListState::refused, inner.list({"who"}).state);
  EXPECT_TRUE(inner.put({"who", "b"}, "x"));
  EXPECT_TRUE(inner.remove({"who", "a"}));
  EXPECT_TRUE(inner.makeDirectory({"who", "d"}));
  EXPECT_TRUE(inner.removeDirectory({"who"}));
  EXPECT_EQ(1, std::distance(fs::directory_iterator(folder / "outside"), fs::directory_iterator()));
}

TEST_F(FileTreeTest, ALinkDeepInTheTreeIsNotFollowedEither) {
  write("outside/a.json", "{}");
  fs::create_directories(folder / "tree/one/two");
  fs::create_directory_symlink(folder / "outside", folder / "tree/one/two/who");
  fs::create_directory_symlink("one", folder / "tree/way");
  FileTree const inner(folder / "tree");
  EXPECT_EQ(ReadState::refused, inner.read({"one", "two", "who", "a"}).state);
  EXPECT_EQ(ListState::refused, inner.list({"way", "two"}).state);
}

TEST_F(FileTreeTest, ALinkOnTheWayToTheRootIsFollowed) {
  fs::create_directories(folder / "real/tree");
  fs::create_directory_symlink("real", folder / "way");
  FileTree const linked(folder / "way/tree");
  EXPECT_FALSE(linked.put({"d", "e", "a"}, "1"));
  EXPECT_FALSE(linked.put({"d", "e", "a"}, "2"));
  EXPECT_EQ("2", linked.read({"d", "e", "a"}).text);
  EXPECT_EQ(ListState::present, linked.list({}).state);
}

// From now on this process is on a kernel that cannot open several steps in one call.
bool haveAnOldKernel() {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  sock_fprog const filter{std::size(steps), steps};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
         ::syscall(SYS_openat2, AT_FDCWD, ".", nullptr, 0) < 0 && errno == ENOSYS;
}

TEST_F(FileTreeTest, AnOldKernelOpensStepByStep) {
  write("outside/a.json", "{}");
  fs::create_directories(folder / "d/e");
  fs::create_directory_symlink(folder / "outside", folder / "d/e/who");
  auto const works = [&] {
    return haveAnOldKernel() && !tree.put({"d", "e", "a"}, "1") &&
           tree.read({"d", "e", "a"}).text == "1" &&
           tree.read({"d", "e", "who", "a"}).state == ReadState::refused &&
           tree.read({"d", "none", "a"}).state == ReadState::absent;
  };
  EXPECT_EXIT(std::_Exit(works() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(FileTreeTest, ALinkInPlaceOfAValueIsReplacedByPutNotFollowed) {
  write("secret", "kept");
  fs::create_symlink(folder / "secret", folder / "a.json");
  EXPECT_FALSE(tree.put({"a"}, "new"));
  EXPECT_EQ("new", tree.read({"a"}).text);
  std::ifstream secret(folder / "secret");
  std::string text;
  secret >> text;
  EXPECT_EQ("kept", text);
}

TEST_F(FileTreeTest, ANameThatIsTooLongForAFileIsAnErrorNotACrash) {
  EXPECT_EQ(std::errc::filename_too_long, tree.put({std::string(300, 'x')}, "x"));
  EXPECT_EQ(ReadState::refused, tree.read({std::string(300, 'x')}).state);
}

TEST_F(FileTreeTest, AFailedPutLeavesTheOldTextAndNoTemporary) {
  EXPECT_FALSE(tree.put({"a"}, "old"));
  fs::create_directories(folder / "b.json/x");  // nothing can be renamed onto it
  EXPECT_TRUE(tree.put({"b"}, "new"));
  EXPECT_EQ("old", tree.read({"a"}).text);
  for (auto const& entry : fs::directory_iterator(folder.path()))
    EXPECT_NE('.', entry.path().filename().string().front());
}

TEST_F(FileTreeTest, WhatDeadWritersHaveLeftIsRemovedAndNothingElse) {
  std::string const root = folder.path().string();
  std::string const dead = ".oru-2147483647.tmp";  // of no process that a system can have
  std::string const living = ".oru-" + std::to_string(::getpid()) + ".tmp";
  fs::create_directories(root + "/config/S1");
  fs::create_directories(root + "/status/S1");
  std::set<std::string> kept{"status/S1/" + dead, "config/S1/C1.json"};
  for (auto const& name : {living, std::string(".oru-.tmp"), std::string(".oru-0.tmp"),
                           std::string(".oru-2147483647x.tmp"), std::string(".oru-2147483647.tmp2"),
                           std::string(".other-2147483647.tmp"), std::string("oru-2147483647.tmp")})
    kept.insert("config/S1/" + name);
  for (auto const& name : kept) std::ofstream(root + '/' + name) << "x";
  for (auto const* directory : {"/config/", "/config/S1/"})
    std::ofstream(root + directory + dead) << "x";
  fs::create_directories(root + "/config/S2");
  fs::create_symlink(root + "/config/S1/C1.json", root + "/config/S2/" + dead);
  kept.insert("config/S2/" + dead);
  tree.removeHalfWritten({"config"});
  tree.removeHalfWritten({"nowhere"});
  std::set<std::string> left;
  for (auto const& entry : fs::recursive_directory_iterator(root))
    if (!entry.is_directory()) left.insert(entry.path().lexically_relative(root).string());
  EXPECT_EQ(kept, left);
}

}  // namespace
