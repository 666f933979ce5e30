#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/agent/AgentFixture.h"
#include "tests/support/Sanitized.h"

namespace {

namespace fs = std::filesystem;
using OruTest::ProgramRun;
using OruTest::TreePath;

class Fault : public OruTest::AgentFixture {
 protected:
  // The agent still does its work.
  void expectAlive() {
    EXPECT_TRUE(agent->runs());
    bringUp("Alive", 5.0, {60});
  }
};

TEST_F(Fault, BadInputIsRefusedWithItsPlaceAndSettledByCorrection) {
  startAgent();
  bringUp("S1", 5.0, {1});
  auto const good = tree.read({"hw", "config", "S1"}).text;
  auto const before = content();
  struct Case {
    char const* text;
    char const* problem;
  };
  for (auto const& [text, problem] : {
           Case{"", "hw/config/S1.json  is empty"},
           Case{"nonsense", "hw/config/S1.json  is not JSON: line 1, column 2"},
           Case{R"({"genTime":6})", "hw/config/S1.json chips is missing"},
           Case{R"({"genTime":"6","chips":{}})", "hw/config/S1.json genTime is not a number"},
           Case{R"({"genTime":6,"chips":{},"x":1})", "hw/config/S1.json x is not a field"},
           Case{R"({"genTime":6,"chips":{"C1":{"deviceId":65,"ports":{}}}})",
                "hw/config/S1.json chips.C1.deviceId is not a whole number from 0 to 64"},
           Case{R"({"genTime":6,"chips":{"C1":{"deviceId":1,"po)",
                "hw/config/S1.json  is not JSON"},
       }) {
    putText({"hw", "config", "S1"}, text);
    EXPECT_TRUE(awaitsProblem(problem)) << text;
  }
  EXPECT_TRUE(agent->awaitsError("warning: cannot read hw/config/S1.json"));
  putText({"hw", "config", "S1"}, good);
  EXPECT_TRUE(awaitsNoProblem());
  EXPECT_TRUE(agent->awaitsError("settled: cannot read hw/config/S1.json"));
  EXPECT_EQ(before, content());
  expectAlive();
}

TEST_F(Fault, WhatIsNoFileIsRefused) {
  startAgent();
  bringUp("S1", 5.0, {1});
  auto const good = tree.read({"hw", "config", "S1"}).text;
  std::string const path = root + "/hw/config/S1.json";
  std::ofstream(folder / "outside") << good;

  fs::remove(path);
  fs::create_symlink(folder / "outside", path);
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  is a symbolic link"));
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  is a directory where a file belongs"));
  fs::remove(path);
  ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  is a pipe"));
  fs::remove(path);
  std::ofstream(path) << std::string(Oru::Mount::FileTree::sizeLimit + 1, ' ');
  EXPECT_TRUE(awaitsProblem("hw/config/S1.json  is larger than"));
  std::ofstream(root + "/hw/config/a%2fb.json") << good;
  EXPECT_TRUE(awaitsProblem("hw/config/a%2fb.json  is not the encoding of a name"));
  fs::remove(root + "/hw/config/a%2fb.json");
  expectAlive();
}

TEST_F(Fault, ADirectoryWhosePlaceAFileTookIsMadeAgainWhenTheFileGoes) {
  startAgent();
  std::string const features = root + "/features";
  std::string const file = folder / "file";
  std::ofstream(file) << "x";
  ASSERT_EQ(0, ::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, features.c_str(), RENAME_EXCHANGE));
  EXPECT_TRUE(awaitsProblem("features  is not a directory"));
  fs::remove(features);
  EXPECT_TRUE(awaits([&] { return fs::is_directory(features); }));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

TEST_F(Fault, WhenDescriptorsRunOutItGoesOnOnceThereAreSome) {
  if (OruTest::isSanitized) GTEST_SKIP() << "the sanitizer needs descriptors itself";
  startAgent();
  rlimit before{};
  ASSERT_EQ(0, ::prlimit(agent->pid(), RLIMIT_NOFILE, nullptr, &before));
  rlimit const none{0, before.rlim_max};
  ASSERT_EQ(0, ::prlimit(agent->pid(), RLIMIT_NOFILE, &none, nullptr));
  insertSlice("S1", 5.0, {1});
  EXPECT_TRUE(agent->awaitsError("Too many open files"));
  ASSERT_EQ(0, ::prlimit(agent->pid(), RLIMIT_NOFILE, &before, nullptr));
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

// One input of each kind, all kinds of damage.
struct Input {
  TreePath value;
  char const* field;   // that is missing, or of the wrong type
  char const* number;  // that is out of range, with all above it
  char const* place;   // of that number
};

class BadInput : public Fault, public testing::WithParamInterface<Input> {
 protected:
  void SetUp() override {
    startAgent();
    bringUp("S1", 5.0, {1});
    put({"features", "F1"}, {{"enabled", true}});
    requestReset("slice", 1.0, "S1");
    ASSERT_TRUE(awaitsAnswer(1.0, "slice,S1"));
    ASSERT_TRUE(awaitsFile({"launcher", "feature", "F1"}));
    good_ = json(input());
    path_ = root + '/' + input().valueText();
    before_ = content();
  }
  static TreePath const& input() { return GetParam().value; }
  // The agent sees only what stands there afterwards.
  template <class Action>
  void unseen(Action action) {
    agent->signal(SIGSTOP);
    fs::remove_all(path_);
    action();
    agent->signal(SIGCONT);
  }
  void expectRefused(std::string const& placeAndReason) {
    EXPECT_TRUE(awaitsProblem(input().valueText() + ' ' + placeAndReason)) << placeAndReason;
    EXPECT_TRUE(agent->awaitsError("cannot read " + input().valueText()));
    auto now = content();
    now[input().valueText()] = before_.at(input().valueText());
    EXPECT_EQ(before_, now);  // the last good value is in force
  }
  void correct() {
    unseen([&] { put(input(), good_); });
    EXPECT_TRUE(awaitsNoProblem());
    EXPECT_EQ(before_, content());
  }

  Json good_;
  std::string path_;

 private:
  std::map<std::string, std::string> before_;
};

TEST_P(BadInput, OfAWrongTextIsRefusedUntilItIsCorrected) {
  std::string const field = GetParam().field;
  Json missing = good_, wrong = good_, unknown = good_;
  missing.erase(field);
  wrong[field] = Json::array();
  unknown["more"] = 1;
  Json outOfRange = good_;
  outOfRange[Json::json_pointer(GetParam().number)] = 1e300;
  std::string const text = good_.dump();
  auto const half = text.size() / 2;
  struct Case {
    std::string text, problem;
  };
  for (auto const& [bad, problem] :
       {Case{"", " is empty"}, Case{"nonsense", " is not JSON: line 1, column 2"},
        Case{text.substr(0, half), " is not JSON: line 1, column " + std::to_string(half + 1)},
        Case{"[1]", " is not an object"}, Case{missing.dump(), field + " is missing"},
        Case{wrong.dump(), field + " is n"},
        Case{unknown.dump(), "more is not a field of this file"},
        Case{outOfRange.dump(), std::string(GetParam().place) + " is n"},
        Case{std::string(Oru::Mount::FileTree::sizeLimit + 1, ' '), " is larger than 1048576"}}) {
    std::string const temporary = folder / "temporary";
    std::ofstream(temporary) << bad;
    fs::rename(temporary, path_);
    expectRefused(problem);
  }
  correct();
}

TEST_P(BadInput, OfAWrongKindIsRefusedUntilItIsCorrected) {
  std::ofstream(folder / "outside") << good_.dump();
  unseen([&] { fs::create_symlink(folder / "outside", path_); });
  expectRefused(" is a symbolic link");
  correct();
  unseen([&] { fs::create_directory(path_); });
  expectRefused(" is a directory where a file belongs");
  correct();
  unseen([&] { EXPECT_EQ(0, ::mkfifo(path_.c_str(), 0600)); });
  expectRefused(" is a pipe");
  correct();
}

INSTANTIATE_TEST_SUITE_P(
    All, BadInput,
    testing::Values(
        Input{{"hw", "config", "S1"}, "chips", "/chips/C1/deviceId", "chips.C1.deviceId"},
        Input{{"status", "S1", "C1"}, "intfToPortId", "/intfToPortId/Eth1", "intfToPortId.Eth1"},
        Input{{"features", "F1"}, "enabled", "/enabled", "enabled"},
        Input{{"reset", "request", "test", "slice,S1"}, "slice", "/genTime", "genTime"}),
    [](auto const& input) { return input.param.value[0]; });

TEST_F(Fault, AStatusThatIsNewerThanItsConfigurationDoesNotEndTheAgent) {
  startAgent();
  bringUp("S1", 5.0, {1});
  report("S1", 1, configured("S1", 1) + 1.0);
  EXPECT_TRUE(awaitsProblem("status/S1/C1.json genTime is newer than the generation"));
  EXPECT_TRUE(stands({"system", "chips", "1"}));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

TEST_F(Fault, ARequestersDirectoryLeadsNowhereElse) {
  startAgent();
  bringUp("S1", 5.0, {1});
  double const before = configured("S1", 1);
  fs::create_directories(folder / "outside");
  std::ofstream(folder / "outside/allSlices.json")
      << R"({"type":"allSlices","cause":"","reason":0,"genTime":9999999999})";
  fs::create_directory_symlink(folder / "outside", root + "/reset/request/evil");
  EXPECT_TRUE(awaitsProblem("reset/request/evil  is a symbolic link"));
  fs::create_directories(root + "/reset/request/other");
  fs::create_symlink(folder / "outside/allSlices.json",
                     root + "/reset/request/other/allSlices.json");
  EXPECT_TRUE(awaitsProblem("reset/request/other/allSlices.json  is a symbolic link"));
  fs::create_directories(root + "/reset/request/other/deeper");
  EXPECT_TRUE(awaitsProblem("reset/request/other/deeper  is a directory where a file belongs"));
  EXPECT_EQ(before, configured("S1", 1));
  EXPECT_FALSE(fs::exists(root + "/reset/status/evil"));
}

TEST_F(Fault, FilesThatTheAgentOwnsArePutRight) {
  startAgent();
  bringUp("S1", 5.0, {1});
  auto const before = content();
  putText({"config", "S1", "C1"}, "{}");
  fs::remove(root + "/launcher/chip/C1.json");
  fs::rename(root + "/system", folder / "system");
  EXPECT_TRUE(awaits([&] { return content() == before; }));
}

TEST_F(Fault, TheListOfProblemsIsPutRightToo) {
  startAgent();
  put({"features", "F1"}, {{"enabled", 1}});
  ASSERT_TRUE(awaitsProblem("features/F1.json enabled is neither true nor false"));
  fs::rename(root + "/problems", folder / "problems");
  EXPECT_TRUE(awaitsProblem("features/F1.json enabled is neither true nor false"));
  putText({"problems", "oru-agent"}, R"({"problems":[]})");
  EXPECT_TRUE(awaitsProblem("features/F1.json enabled is neither true nor false"));
}

TEST_F(Fault, WhatItWritesIsForItsOwnerAndGroup) {
  for (mode_t const mask : {mode_t{0}, mode_t{077}}) {
    mode_t const before = ::umask(mask);
    startAgent();
    bringUp("S1", 5.0, {1});
    EXPECT_EQ(0, stopAgent());
    ::umask(before);
    for (auto const& entry : fs::recursive_directory_iterator(root)) {
      if (entry.path().filename().string().starts_with('.')) continue;
      auto const mode = static_cast<mode_t>(entry.status().permissions());
      EXPECT_EQ(entry.is_directory() ? 0750u : 0640u, mode) << entry.path();
    }
    fs::remove_all(root + "/hw");
    fs::remove_all(root + "/status");
    fs::remove_all(root + "/config");
    fs::remove_all(root + "/system");
    fs::remove_all(root + "/launcher");
  }
}

TEST_F(Fault, AFolderThatTakesTheTreesPlaceIsLockedAndFilled) {
  startAgent();
  bringUp("S1", 5.0, {1});
  fs::rename(root, folder / "away");
  fs::create_directories(root);
  EXPECT_TRUE(awaits([&] { return fs::exists(root + "/hw/config"); }));
  EXPECT_TRUE(awaitsNoProblem());
  ProgramRun second({ORU_AGENT, "--tree", root});
  EXPECT_EQ(4, second.wait());
  EXPECT_TRUE(agent->runs());
  // The one that was moved away is free.
  ProgramRun other({ORU_AGENT, "--tree", folder / "away"});
  EXPECT_TRUE(serviceManager.awaits("READY=1"));
}

TEST_F(Fault, AnAgentWhoseTreeIsExchangedForThatOfAnotherAgentEndsAndWritesNothingThere) {
  startAgent();
  bringUp("S1", 5.0, {1});
  ProgramRun other({ORU_AGENT, "--tree", folder / "other"});
  ASSERT_TRUE(serviceManager.awaits("READY=1"));
  agent->signal(SIGSTOP);
  fs::rename(root, folder / "away");
  fs::rename(folder / "other", root);
  auto const before = content();
  agent->signal(SIGCONT);
  EXPECT_EQ(4, agent->wait());
  EXPECT_NE(std::string::npos, agent->errors().find("another oru-agent works on " + root));
  EXPECT_EQ(before, content());
  other.signal(SIGTERM);
  EXPECT_EQ(0, other.wait());
}

TEST_F(Fault, ATreeThatIsMovedAwayAndPutBackIsTakenUpWithWhatChanged) {
  startAgent();
  bringUp("S1", 5.0, {1});
  bringUp("S2", 5.0, {2});
  auto const before = content();
  fs::rename(root, folder / "away");
  fs::remove(folder / "away/hw/config/S2.json");
  fs::remove_all(folder / "away/status/S2");
  fs::rename(folder / "away", root);
  EXPECT_TRUE(awaitsWithdrawn(2));
  EXPECT_TRUE(awaitsNoFile({"launcher", "slice", "S2"}));
  EXPECT_EQ(before.at("config/S1/C1.json"), content().at("config/S1/C1.json"));
  EXPECT_TRUE(stands({"system", "chips", "1"}));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

TEST_F(Fault, ASliceThatStandsInATreeThatWasRemovedAndMadeAgainUnseenComesUpAnew) {
  startAgent();
  bringUp("S1", 5.0, {1});
  double const before = configured("S1", 1);
  agent->signal(SIGSTOP);
  fs::remove_all(root);
  fs::create_directories(root);
  insertSlice("S1", 6.0, {1});
  agent->signal(SIGCONT);
  ASSERT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsWithdrawn(1));
  reportSlice("S1", {1});
  EXPECT_TRUE(awaits([&] {
    return stands({"config", "S1", "C1"}) && configured("S1", 1) > before &&
           json({"config", "S1", "C1"}).at("enabled").get<bool>();
  }));
  report("S1", 1, configured("S1", 1));
  EXPECT_TRUE(awaitsPublished(1));
  EXPECT_TRUE(awaitsNoProblem());
}

TEST_F(Fault, ATreeThatIsRemovedIsMadeAgainAroundWhatIsLeft) {
  startAgent();
  bringUp("S1", 5.0, {1});
  // One that runs puts its files back while they are being removed.
  agent->signal(SIGSTOP);
  fs::remove_all(root);
  fs::create_directories(root);
  agent->signal(SIGCONT);
  EXPECT_TRUE(awaits([&] { return fs::exists(root + "/hw/config"); }));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

// A small file system of its own, which only root can mount. `elsewhere` is the same tree by
// another way, on which everything is allowed.
class Disk : public Fault {
 protected:
  void SetUp() override {
    fs::create_directories(elsewhere.root());
    if (::mount("none", root.c_str(), "tmpfs", 0, "size=256k") < 0)
      GTEST_SKIP() << "may not mount a file system";
    mounted_ = true;
    ASSERT_EQ(0, ::mount(root.c_str(), elsewhere.root().c_str(), nullptr, MS_BIND, nullptr));
    watchTree();
  }
  void TearDown() override {
    agent.reset();
    if (!mounted_) return;
    ::umount2(elsewhere.root().c_str(), MNT_DETACH);
    ::umount2(root.c_str(), MNT_DETACH);
  }
  void fill() const {
    std::ofstream file(elsewhere.root() + "/filler");
    std::string const page(4096, 'x');
    while (file.write(page.data(), 4096).flush()) {
    }
  }
  // Refused while somebody writes a file, of whose end the tree's watch tells.
  void readOnlyIs(bool readOnly) {
    unsigned long const flags = MS_REMOUNT | MS_BIND | (readOnly ? 0UL + MS_RDONLY : 0UL);
    EXPECT_TRUE(awaits([&] { return ::mount("none", root.c_str(), nullptr, flags, nullptr) == 0; }))
        << std::strerror(errno);
  }

  Oru::Mount::FileTree const elsewhere{folder / "elsewhere"};

 private:
  bool mounted_ = false;
};

TEST_F(Disk, WhatAFullOneCouldNotTakeIsWrittenWhenThereIsRoom) {
  startAgent();
  bringUp("S1", 5.0, {1});
  insertSlice("S2", 0.0, {});
  ASSERT_TRUE(awaitsFile({"launcher", "slice", "S2"}));
  fill();
  // Moving a file is possible on a full disk.
  fs::rename(root + "/hw/config/S2.json", root + "/hw/config/S3.json");
  EXPECT_TRUE(agent->awaitsError("No space left on device"));
  EXPECT_FALSE(stands({"hw", "status", "S3"}));
  fs::remove(elsewhere.root() + "/filler");
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S3"}));
  EXPECT_TRUE(awaitsFile({"hw", "status", "S3"}));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

TEST_F(Disk, AReadOnlyTreeIsFollowedAndWrittenWhenItMayBe) {
  startAgent();
  bringUp("S1", 5.0, {1});
  readOnlyIs(true);
  ASSERT_FALSE(elsewhere.put({"hw", "config", "S2"}, R"({"genTime":5,"chips":{}})"));
  EXPECT_TRUE(agent->awaitsError("Read-only file system"));
  EXPECT_FALSE(stands({"launcher", "slice", "S2"}));
  readOnlyIs(false);
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S2"}));
  EXPECT_TRUE(awaitsNoProblem());
  expectAlive();
}

TEST_F(Disk, AnAgentStartsOnAReadOnlyTreeAndWritesWhenItMay) {
  startAgent();
  EXPECT_EQ(0, stopAgent());
  insertSlice("S1", 5.0, {1});
  readOnlyIs(true);
  startAgent();
  EXPECT_TRUE(agent->awaitsError("Read-only file system"));
  readOnlyIs(false);
  EXPECT_TRUE(awaitsFile({"launcher", "slice", "S1"}));
  EXPECT_TRUE(awaitsNoProblem());
}

}  // namespace
