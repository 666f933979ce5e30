#include "mount/LauncherEntry.h"

#include <gtest/gtest.h>

#include "mount/JsonError.h"

namespace {

using namespace Oru::Mount;

std::string refusalOf(char const* text) {
  try {
    restartOfEntry(text);
  } catch (JsonError const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(LauncherEntry, TheRestartTimeMayBeLeftOut) { EXPECT_EQ(std::nullopt, restartOfEntry("{}")); }

TEST(LauncherEntry, TheRestartTimeIsRead) {
  EXPECT_EQ(0, restartOfEntry(R"({"restart": 0})"));
  EXPECT_EQ(1790000000.25, restartOfEntry(R"({"restart": 1790000000.25})"));
}

TEST(LauncherEntry, AnythingElseIsRefused) {
  std::string const range = "restart is not a number of seconds from 0 to 253402300799";
  EXPECT_EQ("is empty", refusalOf(""));
  EXPECT_EQ("is not an object", refusalOf("[]"));
  EXPECT_EQ(range, refusalOf(R"({"restart": "3"})"));
  EXPECT_EQ(range, refusalOf(R"({"restart": null})"));
  EXPECT_EQ(range, refusalOf(R"({"restart": -1})"));
  EXPECT_EQ(range, refusalOf(R"({"restart": 1e300})"));
  EXPECT_EQ("start is not a field of this file", refusalOf(R"({"start": 3})"));
  EXPECT_EQ("is not JSON: line 1, column 14", refusalOf(R"({"restart": 3)"));
}

}  // namespace
