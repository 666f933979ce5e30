#include "sim/TreePicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#include "tests/mount/LoopTurns.h"
#include "tests/support/TemporaryFolder.h"

namespace Oru::Sim {
namespace {

namespace fs = std::filesystem;
using Mount::TreePath;
using nlohmann::json;
using Lines = std::vector<std::string>;

class TreePictureTest : public testing::Test {
 protected:
  TreePictureTest() { EXPECT_FALSE(others.makeRoot()); }

  void start() {
    picture.emplace(backend, [this](std::vector<TreePicture::Difference> const& differences) {
      if (differences.empty()) told.push_back(picture->rootIsThere() ? "root back" : "root lost");
      for (auto const& each : differences)
        told.push_back(each.path.text() + (each.directory ? "/ " : " ") + each.before.dump() +
                       " -> " + each.after.dump());
    });
  }
  void put(TreePath const& path, std::string const& text) { EXPECT_FALSE(others.put(path, text)); }
  // What is told until this line, with it.
  Lines until(std::string const& line) {
    EXPECT_TRUE(OruTest::turnUntil(loop, [&] {
      return std::ranges::find(told, line) != told.end();
    })) << testing::PrintToString(told);
    return std::exchange(told, {});
  }

  OruTest::TemporaryFolder const folder;
  std::string const root = folder / "tree";
  Mount::FileTree const others{root};
  Mount::EventLoop loop;
  Mount::FileBackend backend{loop, root};
  Lines told;
  std::optional<TreePicture> picture;
};

TEST_F(TreePictureTest, WhatStandsThereIsToldAtTheBeginning) {
  put({"a", "b"}, "[1]");
  start();
  EXPECT_EQ((Lines{"a/ false -> true", "a/b null -> [1]"}), told);
  EXPECT_EQ(json::array({1}), picture->value({"a", "b"}));
  EXPECT_TRUE(picture->hasDirectory({"a"}));
  EXPECT_TRUE(picture->rootIsThere());
}

TEST_F(TreePictureTest, AFileIsToldWithWhatItWasAndIs) {
  start();
  put({"a"}, "1");
  EXPECT_EQ(Lines{"a null -> 1"}, until("a null -> 1"));
  put({"a"}, R"({"x": 2})");
  EXPECT_EQ(Lines{R"(a 1 -> {"x":2})"}, until(R"(a 1 -> {"x":2})"));
  EXPECT_FALSE(others.remove({"a"}));
  EXPECT_EQ(Lines{R"(a {"x":2} -> null)"}, until(R"(a {"x":2} -> null)"));
  EXPECT_TRUE(picture->value({"a"}).is_null());
}

TEST_F(TreePictureTest, WhatMeansTheSameIsNoNewsAndWhatIsNotJsonIsNothing) {
  put({"a"}, R"({"x": 1})");
  start();
  told.clear();
  put({"a"}, R"({ "x" : 1 })");
  put({"b"}, "1");
  EXPECT_EQ(Lines{"b null -> 1"}, until("b null -> 1"));
  put({"a"}, "{");
  EXPECT_EQ(Lines{R"(a {"x":1} -> null)"}, until(R"(a {"x":1} -> null)"));
  fs::create_symlink("b.json", root + "/c.json");
  put({"d"}, "1");
  EXPECT_EQ(Lines{"d null -> 1"}, until("d null -> 1"));
}

TEST_F(TreePictureTest, ADirectoryThatGoesTakesEverythingInItWithIt) {
  put({"a", "b", "c"}, "1");
  put({"a", "d"}, "2");
  put({"e"}, "3");
  start();
  told.clear();
  EXPECT_FALSE(others.removeDirectory({"a"}));
  until("a/b/ true -> false");
  OruTest::settle(loop);
  EXPECT_TRUE(picture->value({"a", "b", "c"}).is_null());
  EXPECT_TRUE(picture->value({"a", "d"}).is_null());
  EXPECT_FALSE(picture->hasDirectory({"a"}));
  EXPECT_EQ(json(3), picture->value({"e"}));
}

TEST_F(TreePictureTest, MembersAreListedByDirectory) {
  put({"a", "x"}, "1");
  put({"a", "y"}, "2");
  put({"a", "b", "z"}, "3");
  put({"ab", "z"}, "4");
  ASSERT_FALSE(others.makeDirectory({"a", "c"}));
  start();
  EXPECT_EQ((Lines{"x", "y"}), picture->names({"a"}));
  EXPECT_EQ((std::vector<TreePath>{{"a", "b"}, {"a", "c"}}), picture->directories({"a"}));
  EXPECT_EQ(Lines{}, picture->names({"none"}));
}

// Of it no watch tells.
TEST_F(TreePictureTest, WhatThisProgramWritesIsSeenByLooking) {
  start();
  EXPECT_FALSE(backend.put({"a"}, "1"));
  picture->look();
  EXPECT_EQ(Lines{"a null -> 1"}, told);
  picture->look();
  EXPECT_EQ(Lines{"a null -> 1"}, told);
}

TEST_F(TreePictureTest, WhetherTheRootIsThereIsTold) {
  put({"a"}, "1");
  start();
  told.clear();
  fs::rename(root, folder / "away");
  EXPECT_EQ("root lost", until("root lost").front());
  EXPECT_FALSE(picture->rootIsThere());
  fs::remove(folder / "away/a.json");
  fs::rename(folder / "away", root);
  until("root back");
  EXPECT_TRUE(picture->rootIsThere());
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return picture->value({"a"}).is_null(); }));
}

}  // namespace
}  // namespace Oru::Sim
