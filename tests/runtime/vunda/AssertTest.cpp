#include "runtime/vunda/Assert.h"

#include <gtest/gtest.h>

#include <errno.h>

#include <csignal>
#include <cstdio>
#include <regex>
#include <string>
#include <utility>

namespace OruTest {

// Spelled as the signature must read.
struct Asserting {
  void reading(int const* config, int given) const { ORU_ASSERT(config && *config >= given); }
};

}  // namespace OruTest

namespace {

using OruTest::Asserting;
using testing::KilledBySignal;

std::string literally(std::string const& text) {
  return std::regex_replace(text, std::regex(R"([.^$|()*+?\[\]{}\\])"), R"(\$&)");
}

std::string programName() { return program_invocation_short_name; }

TEST(Assert, ATrueExpressionIsEvaluatedOnceAndNothingElseHappens) {
  int evaluated = 0;
  ORU_ASSERT(++evaluated == 1);
  EXPECT_EQ(evaluated, 1);
}

TEST(Assert, TakesExpressionsWithCommasAndWhateverConvertsToBool) {
  int const value = 3;
  int const* const pointer = &value;
  ORU_ASSERT(pointer);
  ORU_ASSERT(std::pair<int, int>(1, 2).second == 2);
}

TEST(AssertDeathTest, AFalseExpressionIsReportedInTheCustomaryFormAndAborts) {
  int const three = 3;
  auto const expected = literally(programName() + ": " + __FILE__) + ":[0-9]+: " +
                        literally(
                            "void OruTest::Asserting::reading(const int*, int) const: "
                            "Assertion `config && *config >= given' failed.\n");
  EXPECT_EXIT(Asserting().reading(&three, 4), KilledBySignal(SIGABRT), "^" + expected + "$");
  EXPECT_EXIT(Asserting().reading(nullptr, 4), KilledBySignal(SIGABRT), expected);
}

TEST(AssertDeathTest, ReportsTheLineOfTheAssertion) {
  // clang-format off
  unsigned const line = __LINE__; auto const failing = [] { ORU_ASSERT(1 + 1 == 3); };
  // clang-format on
  EXPECT_EXIT(failing(), KilledBySignal(SIGABRT), ":" + std::to_string(line) + ": ");
}

TEST(AssertDeathTest, TheFlushHookRunsAfterTheReportAndBeforeTheEnd) {
  Vunda::assertFlushIs([]() noexcept { std::fputs("flushed\n", stderr); });
  EXPECT_EXIT(Vunda::assertionFailed("expr", "file.cpp", 12, "void f()"), KilledBySignal(SIGABRT),
              literally(": file.cpp:12: void f(): Assertion `expr' failed.\nflushed\n"));
  Vunda::assertFlushIs(nullptr);
}

TEST(AssertDeathTest, AFlushHookThatFailsAnAssertionItselfRunsOnce) {
  Vunda::assertFlushIs([]() noexcept { Vunda::assertionFailed("inner", "f", 2, "g"); });
  EXPECT_EXIT(Vunda::assertionFailed("outer", "f", 1, "g"), KilledBySignal(SIGABRT),
              "`outer' failed.\n.*`inner' failed.\n$");
  Vunda::assertFlushIs(nullptr);
}

TEST(Assert, SettingTheFlushHookGivesTheFormerOne) {
  Vunda::AssertFlush const hook = []() noexcept {};
  Vunda::AssertFlush const former = Vunda::assertFlushIs(hook);
  EXPECT_EQ(Vunda::assertFlushIs(nullptr), hook);
  EXPECT_EQ(Vunda::assertFlushIs(former), nullptr);
}

}  // namespace
