#include "runtime/kesh/TraceHandle.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <type_traits>

#include "tests/support/TraceCapture.h"

namespace {

using Kesh::traceLevels;

static_assert(std::is_trivially_destructible_v<Kesh::TraceHandle>);

std::string errorOf(char const* text) {
  try {
    traceLevels(text, "--trace");
  } catch (Kesh::TraceLevelsError const& error) {
    return error.what();
  }
  return "no error";
}

TEST(TraceLevels, NumbersAndRangesName) {
  EXPECT_EQ(traceLevels("3", ""), 1u << 3);
  EXPECT_EQ(traceLevels("1,3,5-9", ""), 0b11'1110'1010u);
  EXPECT_EQ(traceLevels("16,1", ""), 1u << 16 | 1u << 1);
  EXPECT_EQ(traceLevels("2-2", ""), 1u << 2);
  EXPECT_EQ(traceLevels("1-3,2-4", ""), 0b11110u);
}

TEST(TraceLevels, BlanksAroundNumbersAreAllowed) {
  EXPECT_EQ(traceLevels(" 1 , 3 - 4 ", ""), 0b11010u);
}

TEST(TraceLevels, WordsNameAllAndNone) {
  EXPECT_EQ(traceLevels("all", ""), 0x1fffeu);
  EXPECT_EQ(traceLevels(" all ", ""), 0x1fffeu);
  EXPECT_EQ(traceLevels("none", ""), 0u);
  EXPECT_EQ(traceLevels("", ""), 0u);
  EXPECT_EQ(traceLevels("  ", ""), 0u);
}

TEST(TraceLevels, ErrorNamesTheTextItsOriginAndTheReason) {
  EXPECT_EQ(errorOf("1,x"), "trace levels \"1,x\" from --trace: a level is missing");
  EXPECT_EQ(errorOf("0"), "trace levels \"0\" from --trace: levels are 1 to 16");
  EXPECT_EQ(errorOf("17"), "trace levels \"17\" from --trace: levels are 1 to 16");
  EXPECT_EQ(errorOf("1-99999999999"),
            "trace levels \"1-99999999999\" from --trace: levels are 1 to 16");
  EXPECT_EQ(errorOf("5-3"), "trace levels \"5-3\" from --trace: a range runs backwards");
  EXPECT_EQ(errorOf("1 2"), "trace levels \"1 2\" from --trace: a comma is missing");
  EXPECT_EQ(errorOf("1,"), "trace levels \"1,\" from --trace: a level is missing");
  EXPECT_EQ(errorOf("1-"), "trace levels \"1-\" from --trace: a level is missing");
  EXPECT_EQ(errorOf("-1"), "trace levels \"-1\" from --trace: a level is missing");
  EXPECT_EQ(errorOf("all,1"), "trace levels \"all,1\" from --trace: a level is missing");
}

TEST(TraceHandle, LevelIsEnabledWhenItsBitIsSet) {
  static constinit Kesh::TraceHandle handle("levels");
  for (unsigned level = 0; level <= 20; ++level) EXPECT_FALSE(handle.isEnabled(level)) << level;
  handle.levelsAre(1u << 2 | 1u << 16);
  for (unsigned level = 0; level <= 20; ++level) {
    EXPECT_EQ(handle.isEnabled(level), level == 2 || level == 16) << level;
  }
}

TEST(TraceHandle, BitsThatAreNoLevelsAreLeftOut) {
  static constinit Kesh::TraceHandle handle("bits");
  handle.levelsAre(0xffffffffu);
  EXPECT_EQ(handle.levels(), 0x1fffeu);
}

TEST(TraceHandle, LevelsThatCannotBeReadLeaveTheOldOnes) {
  static constinit Kesh::TraceHandle handle("text");
  handle.levelsAre("1,3", "test");
  EXPECT_EQ(handle.levels(), 0b1010u);
  EXPECT_THROW(handle.levelsAre("4,?", "test"), Kesh::TraceLevelsError);
  EXPECT_EQ(handle.levels(), 0b1010u);
}

TEST(TraceHandle, SinkGetsNamePlaceTextAndTime) {
  static constinit Kesh::TraceHandle handle("OruCentral");
  OruTest::TraceCapture capture(handle);
  std::time_t const before = std::time(nullptr);
  handle.write(3, "central/X.cpp", 42, "handleX", "text");
  std::time_t const after = std::time(nullptr);
  ASSERT_EQ(capture.lines().size(), 1u);
  auto const& line = capture.lines()[0];
  EXPECT_EQ(line.handle, "OruCentral");
  EXPECT_EQ(line.level, 3u);
  EXPECT_EQ(line.file, "central/X.cpp");
  EXPECT_EQ(line.line, 42u);
  EXPECT_EQ(line.function, "handleX");
  EXPECT_EQ(line.text, "text");
  EXPECT_LE(before, line.time.tv_sec);
  EXPECT_LE(line.time.tv_sec, after);
}

TEST(TraceLine, TextIsTimeHandleLevelPlaceAndText) {
  timespec const time{1767225599, 1999};
  EXPECT_EQ(Kesh::traceLineText({time, "OruCentral", 3, "central/X.cpp", 42, "handleX", "text"}),
            "2025-12-31T23:59:59.000001Z OruCentral 3 central/X.cpp:42 handleX: text");
}

TEST(TraceHandle, WithoutSinkLinesGoToStandardError) {
  static constinit Kesh::TraceHandle handle("OruCentral");
  testing::internal::CaptureStderr();
  handle.write(3, "central/X.cpp", 42, "handleX", "first");
  handle.write(1, "central/X.cpp", 43, "handleX", "second");
  std::string const written = testing::internal::GetCapturedStderr();
  std::size_t const newline = written.find('\n');
  ASSERT_NE(newline, std::string::npos);
  std::size_t const timeBytes = sizeof("2025-12-31T23:59:59.000001Z") - 1;
  EXPECT_EQ(written.substr(timeBytes, newline - timeBytes),
            " OruCentral 3 central/X.cpp:42 handleX: first");
  EXPECT_EQ(written.substr(newline + 1 + timeBytes),
            " OruCentral 1 central/X.cpp:43 handleX: second\n");
}

}  // namespace
