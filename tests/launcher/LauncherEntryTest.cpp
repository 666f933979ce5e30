#include "launcher/LauncherEntry.h"

#include <gtest/gtest.h>

#include "mount/Json.h"

namespace Oru::Launcher {
namespace {

std::string refusalOf(char const* text) {
  try {
    restartOfEntry(text);
  } catch (Mount::JsonError const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(LauncherEntry, AnEmptyEntryHasNoRestartNumber) {
  EXPECT_EQ(restartOfEntry(""), std::nullopt);
  EXPECT_EQ(restartOfEntry(" \n"), std::nullopt);
  EXPECT_EQ(restartOfEntry("{}"), std::nullopt);
}

TEST(LauncherEntry, TheRestartNumberIsRead) {
  EXPECT_EQ(restartOfEntry(R"({"restart": 3})"), 3);
  EXPECT_EQ(restartOfEntry(R"({"restart": 1790000000.25})"), 1790000000.25);
  EXPECT_EQ(restartOfEntry(R"({"restart": -1})"), -1);
}

TEST(LauncherEntry, AnythingElseIsRefused) {
  EXPECT_EQ(refusalOf("[]"), "is not an object");
  EXPECT_EQ(refusalOf(R"({"restart": "3"})"), "restart is not a number");
  EXPECT_EQ(refusalOf(R"({"restart": null})"), "restart is not a number");
  EXPECT_EQ(refusalOf(R"({"start": 3})"), "start is not a field of this file");
  EXPECT_EQ(refusalOf(R"({"restart": 3)"), "is not JSON: line 1, column 14");
}

}  // namespace
}  // namespace Oru::Launcher
