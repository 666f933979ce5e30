#include "mount/TreePath.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {

using namespace Oru::Mount;

TEST(TreePath, OrdinaryNamesAreTheirOwnFileNames) {
  EXPECT_EQ("Slice1", encodedName("Slice1"));
  EXPECT_EQ("Ethernet3-1_1.x,y+z=@:", encodedName("Ethernet3-1_1.x,y+z=@:"));
}

TEST(TreePath, WhatAFileNameMayNotHoldIsEncoded) {
  EXPECT_EQ("Line%20Card%203%2F1", encodedName("Line Card 3/1"));
  EXPECT_EQ("100%25", encodedName("100%"));
  EXPECT_EQ("%C3%A4", encodedName("\xC3\xA4"));
}

TEST(TreePath, NoNameHidesClimbsOrLooksLikeAValue) {
  EXPECT_EQ("%2E", encodedName("."));
  EXPECT_EQ("%2E.", encodedName(".."));
  EXPECT_EQ("%2Ehidden", encodedName(".hidden"));
  EXPECT_EQ("x%2Ejson", encodedName("x.json"));
  EXPECT_EQ("%2Ejson", encodedName(".json"));
}

TEST(TreePath, OnlyTheOneEncodingIsReadBack) {
  EXPECT_EQ("a/b", decodedName("a%2Fb"));
  for (auto const* wrong : {"a%2fb", "%41", "a b", "a%2", "a%", "a%GG", ".a", "x.json", "", "a%00b",
                            "%C3%28", "..", "a/b"})
    EXPECT_EQ(std::nullopt, decodedName(wrong)) << wrong;
}

RC_GTEST_PROP(TreePath, EveryNameComesBack, ()) {
  auto const name =
      *rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::inRange<char>(1, 127)));
  auto const fileName = encodedName(name);
  RC_ASSERT(fileName.find('/') == std::string::npos);
  RC_ASSERT(fileName.front() != '.');
  RC_ASSERT(decodedName(fileName) == name);
}

RC_GTEST_PROP(TreePath, AFileNameThatIsReadIsTheNamesOwn, (std::string const& fileName)) {
  auto const name = decodedName(fileName);
  bool const isItsOwn = !name || encodedName(*name) == fileName;
  RC_ASSERT(isItsOwn);
}

TEST(TreePath, TextIsTheWayFromTheRoot) {
  TreePath const path{"status", "Line 1", "Chip1"};
  EXPECT_EQ("status/Line%201/Chip1", path.text());
  EXPECT_EQ("status/Line%201/Chip1.json", path.valueText());
  EXPECT_EQ("", TreePath().text());
  EXPECT_EQ(path, TreePath({"status"}) / "Line 1" / "Chip1");
  EXPECT_EQ((TreePath{"status", "Line 1"}), path.parent());
}

TEST(TreePath, KnowsWhatLiesWithin) {
  TreePath const path{"a", "b"};
  EXPECT_TRUE(path.isWithin({}));
  EXPECT_TRUE(path.isWithin({"a"}));
  EXPECT_TRUE(path.isWithin(path));
  EXPECT_FALSE(path.isWithin({"a", "b", "c"}));
  EXPECT_FALSE(path.isWithin({"b"}));
}

TEST(TreePath, WhatLiesWithinFollowsItsDirectoryInTheOrder) {
  EXPECT_LT((TreePath{"a"}), (TreePath{"a", "b"}));
  EXPECT_LT((TreePath{"a", "z"}), (TreePath{"a!"}));
}

}  // namespace
