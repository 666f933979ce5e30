#include "mount/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using Oru::Mount::Log;

std::string written(Log const& log, Log::Priority priority, std::string_view text) {
  testing::internal::CaptureStderr();
  log(priority, text);
  return testing::internal::GetCapturedStderr();
}

TEST(Log, ALineHasTimeProgramAndUrgency) {
  Log const log("oru-test");
  EXPECT_THAT(written(log, Log::Priority::warning, "text"),
              testing::MatchesRegex("....-..-..T..:..:......Z oru-test: warning: text\n"));
  EXPECT_THAT(written(log, Log::Priority::error, "text"),
              testing::EndsWith(" oru-test: error: text\n"));
  EXPECT_THAT(written(log, Log::Priority::info, "text"), testing::EndsWith("Z oru-test: text\n"));
}

TEST(Log, ControlCharactersMakeNoLinesOfTheirOwn) {
  Log const log("oru-test");
  EXPECT_THAT(written(log, Log::Priority::info, "a\nb\x1b\x7f"),
              testing::EndsWith("oru-test: a\\x0ab\\x1b\\x7f\n"));
}

TEST(Log, TheJournalGetsThePriority) {
  testing::internal::CaptureStderr();
  struct ::stat status {};
  ASSERT_EQ(0, ::fstat(STDERR_FILENO, &status));
  auto const stream = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
  ::setenv("JOURNAL_STREAM", stream.c_str(), 1);
  Log const log("oru-test");
  ::unsetenv("JOURNAL_STREAM");
  log.notice("text");
  EXPECT_EQ("<5>text\n", testing::internal::GetCapturedStderr());
}

}  // namespace
