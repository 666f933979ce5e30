#include "runtime/kesh/TraceHelper.h"

#include <gtest/gtest.h>

#include <locale>

#include "runtime/vunda/Duration.h"
#include "runtime/vunda/String.h"
#include "tests/support/TraceCapture.h"

namespace {

constinit Kesh::TraceHandle handle("helper");

TEST(TraceHelper, WritesOneLineWhenItGoesOutOfScope) {
  OruTest::TraceCapture capture(handle);
  {
    Kesh::TraceHelper helper(handle, 2, "central/X.cpp", 7, "handleX");
    helper.stream() << "slice " << Vunda::String("Slice1") << " at " << Vunda::Duration(12.5);
    EXPECT_TRUE(capture.lines().empty());
    helper.stream() << ' ' << true;
  }
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0].text, "slice Slice1 at 12.5 true");
  EXPECT_EQ(capture.lines()[0].level, 2u);
  EXPECT_EQ(capture.lines()[0].file, "central/X.cpp");
  EXPECT_EQ(capture.lines()[0].line, 7u);
  EXPECT_EQ(capture.lines()[0].function, "handleX");
}

TEST(TraceHelper, WritesNothingWhileTheLevelIsOff) {
  OruTest::TraceCapture const capture(handle, 1u << 3);
  Kesh::TraceHelper(handle, 2, "f", 1, "g").stream() << "text";
  EXPECT_TRUE(capture.lines().empty());
}

TEST(TraceHelper, PrintsNumbersAlikeInEveryLocale) {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
    char do_thousands_sep() const override { return '.'; }
  };
  std::locale const before = std::locale::global(std::locale(std::locale(), new Commas));
  OruTest::TraceCapture const capture(handle);
  Kesh::TraceHelper(handle, 2, "f", 1, "g").stream() << 12.5 << ' ' << 1000000;
  std::locale::global(before);
  EXPECT_EQ(capture.lines().at(0).text, "12.5 1000000");
}

}  // namespace
