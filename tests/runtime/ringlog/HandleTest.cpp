#include "runtime/ringlog/Handle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "runtime/ringlog/Gate.h"
#include "runtime/vunda/Assert.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using OruTest::RingTrace;
using OruTest::TestMessage;
using testing::ElementsAre;

std::unique_ptr<Ringlog::Handle> handleFor(std::string const& path) {
  return std::make_unique<Ringlog::Handle>(std::make_unique<Ringlog::TraceFile>(path));
}

TEST(Handle, ProcessBeginsWithoutOne) {
  EXPECT_EQ(Ringlog::defaultRinglogHandle.load(), nullptr);
  EXPECT_EQ(Ringlog::defaultRinglogFile(), nullptr);
}

TEST(Handle, SettingOneGivesBackTheOneBefore) {
  OruTest::TemporaryFolder const folder;
  EXPECT_EQ(Ringlog::defaultRinglogHandleIs(handleFor(folder / "a")), nullptr);
  EXPECT_EQ(Ringlog::defaultRinglogFile()->path(), folder / "a");
  auto const a = Ringlog::defaultRinglogHandleIs(handleFor(folder / "b"));
  EXPECT_EQ(a->file().path(), folder / "a");
  EXPECT_EQ(Ringlog::defaultRinglogFile()->path(), folder / "b");
  EXPECT_EQ(&Ringlog::defaultRinglogHandle.load()->file(), Ringlog::defaultRinglogFile());
  Ringlog::defaultRinglogHandleIs(nullptr);
  EXPECT_EQ(Ringlog::defaultRinglogFile(), nullptr);
}

TEST(Handle, ForkedChildDoesNotTraceIntoItsParentsFile) {
  static constinit Ringlog::Gate gate;
  RingTrace const trace;
  gate.enrol();
  ASSERT_EQ(gate.ring(3), &Ringlog::defaultRinglogFile()->ring(3));
  pid_t const pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    bool const none = Ringlog::defaultRinglogFile() == nullptr && gate.ring(3) == nullptr;
    _exit(none ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(gate.ring(3), &Ringlog::defaultRinglogFile()->ring(3));
}

TEST(HandleDeathTest, FailedAssertionFlushesTheTrace) {
  OruTest::TemporaryFolder const folder;
  EXPECT_DEATH(
      {
        Ringlog::defaultRinglogHandleIs(handleFor(folder / "trace"));
        TestMessage("last words").write(*Ringlog::defaultRinglogFile(), 3, 1);
        ORU_ASSERT(folder.path().empty());
      },
      "Assertion `folder.path\\(\\).empty\\(\\)' failed");
  EXPECT_THAT(OruTest::textsOf(OruTest::recordsOf(folder / "trace")),
              ElementsAre("3 last words 1"));
}

TEST(Gate, LevelsAreOnTheLongWayUntilEnrolled) {
  static constinit Ringlog::Gate gate;
  static constinit Ringlog::Gate other;
  for (unsigned level = 1; level <= Ringlog::levels; ++level) {
    EXPECT_NE(gate.ring(level), nullptr);
    EXPECT_EQ(gate.ring(level), other.ring(level));
  }
  EXPECT_EQ(gate.ring(0), nullptr);
}

TEST(Gate, FollowsTheDefaultFileAndTheTextLevels) {
  static constinit Ringlog::Gate gate;
  static constinit Ringlog::Gate notEnrolled;
  Ringlog::Ring* const longWay = notEnrolled.ring(3);
  gate.enrol();
  gate.enrol();
  EXPECT_EQ(gate.ring(3), nullptr);
  gate.textLevelsAre(1u << 3);
  EXPECT_EQ(gate.textLevels(), 1u << 3);
  EXPECT_EQ(gate.ring(3), longWay);
  EXPECT_EQ(gate.ring(4), nullptr);
  {
    RingTrace const trace;
    EXPECT_EQ(gate.ring(3), longWay);
    EXPECT_EQ(gate.ring(4), &Ringlog::defaultRinglogFile()->ring(4));
    gate.textLevelsAre(0);
    EXPECT_EQ(gate.ring(3), &Ringlog::defaultRinglogFile()->ring(3));
  }
  EXPECT_EQ(gate.ring(3), nullptr);
  EXPECT_EQ(gate.ring(16), nullptr);
}

TEST(Gate, TextLevelsSetBeforeEnrollingCount) {
  static constinit Ringlog::Gate gate;
  gate.textLevelsAre(1u << 2);
  gate.enrol();
  EXPECT_NE(gate.ring(2), nullptr);
  EXPECT_EQ(gate.ring(3), nullptr);
}

}  // namespace
