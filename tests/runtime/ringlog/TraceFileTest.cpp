#include "runtime/ringlog/TraceFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <system_error>

#include "runtime/ringlog/MsgDesc.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using OruTest::recordsOf;
using OruTest::TemporaryFolder;
using OruTest::TestMessage;
using Ringlog::TraceFile;
using Ringlog::TraceFileSizes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TraceFileSizes smallest() {
  TraceFileSizes sizes;
  sizes.ringBytes = 64 * 1024;
  return sizes;
}

std::string errorOf(std::string const& path, TraceFileSizes const& sizes = {}) {
  try {
    TraceFile const file(path, sizes);
  } catch (std::exception const& error) {
    return error.what();
  }
  return "no error";
}

TEST(TraceFile, NewFileHoldsNoRecordAndNoDamage) {
  TemporaryFolder const folder;
  TraceFile const file(folder / "trace");
  Ringlog::Reader reader(folder / "trace");
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  EXPECT_THAT(reader.damage(), IsEmpty());
  EXPECT_EQ(reader.processId(), static_cast<std::uint32_t>(getpid()));
}

TEST(TraceFile, SizeOutOfRangeIsNamedInTheError) {
  TemporaryFolder const folder;
  auto const errorWith = [&](auto change) {
    TraceFileSizes sizes;
    change(sizes);
    return errorOf(folder / "trace", sizes);
  };
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.ringBytes = 100000; }),
              HasSubstr("100000 is out of range for ringBytes"));
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.ringBytes = 32768; }),
              HasSubstr("32768 is out of range for ringBytes"));
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.ringBytes = 1 << 25; }),
              HasSubstr("33554432 is out of range for ringBytes"));
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.messages = 0; }),
              HasSubstr("0 is out of range for messages"));
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.messages = 65537; }),
              HasSubstr("65537 is out of range for messages"));
  EXPECT_THAT(errorWith([](auto& sizes) { sizes.descriptionBytes = 4095; }),
              HasSubstr("4095 is out of range for descriptionBytes"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(TraceFile, PathThatCannotBeMadeIsNamedInTheError) {
  TemporaryFolder const folder;
  std::string const path = folder / "missing/trace";
  EXPECT_EQ(errorOf(path), "trace file \"" + path + "\": cannot create: No such file or directory");
}

TEST(TraceFile, FullDiskIsAnErrorWhenTheFileIsMadeAndLeavesNothing) {
  TemporaryFolder const folder;
  // A limit on the size of files stands for the full disk.
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  auto* const handlerBefore = std::signal(SIGXFSZ, SIG_IGN);
  rlimit const small{64 * 1024, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  std::string const error = errorOf(folder / "trace");
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handlerBefore);
  EXPECT_EQ(error,
            "trace file \"" + (folder / "trace") + "\": cannot allocate its space: File too large");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(TraceFile, FileOfThatNameIsKeptAsThePreviousOne) {
  TemporaryFolder const folder;
  {
    TraceFile file(folder / "trace");
    TestMessage("first").write(file, 3, 1);
  }
  {
    TraceFile file(folder / "trace");
    TestMessage("second").write(file, 3, 2);
  }
  EXPECT_THAT(OruTest::textsOf(recordsOf(folder / "trace")), ElementsAre("3 second 2"));
  EXPECT_THAT(OruTest::textsOf(recordsOf(folder / "trace.previous")), ElementsAre("3 first 1"));
  std::size_t files = 0;
  for ([[maybe_unused]] auto const& entry : std::filesystem::directory_iterator(folder.path())) {
    ++files;
  }
  EXPECT_EQ(files, 2u);
}

TEST(TraceFile, WhatIsNoFileStaysWhereItIs) {
  TemporaryFolder const folder;
  std::filesystem::create_directory(folder / "folder");
  ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
  EXPECT_EQ(errorOf(folder / "folder"), "trace file \"" + (folder / "folder") +
                                            "\": cannot set aside what is no file: Is a directory");
  EXPECT_EQ(errorOf(folder / "pipe"), "trace file \"" + (folder / "pipe") +
                                          "\": cannot set aside what is no file: File exists");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "folder"));
  EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
  EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

TEST(TraceFile, FileStillBeingWrittenIsNotDisturbedByANewOne) {
  TemporaryFolder const folder;
  TraceFile old(folder / "trace");
  TestMessage message("value");
  message.write(old, 3, 1);
  TraceFile const next(folder / "trace");
  message.write(old, 3, 2);
  EXPECT_THAT(OruTest::textsOf(recordsOf(folder / "trace.previous")),
              ElementsAre("3 value 1", "3 value 2"));
  EXPECT_THAT(recordsOf(folder / "trace"), IsEmpty());
}

TEST(TraceFile, RingHasAnAddressThatNoOtherRingEverHas) {
  TemporaryFolder const folder;
  std::set<Ringlog::Ring const*> seen;
  for (int i = 0; i < 20; ++i) {
    TraceFile file(folder / "trace", smallest());
    for (unsigned level = 1; level <= Ringlog::levels; ++level) {
      EXPECT_TRUE(seen.insert(&file.ring(level)).second);
    }
  }
}

TEST(TraceFileDeathTest, WritingToAClosedFileFaults) {
  TemporaryFolder const folder;
  Ringlog::Ring* ring = nullptr;
  {
    TraceFile file(folder / "trace", smallest());
    ring = &file.ring(1);
  }
  EXPECT_DEATH(ring->startMsg(1, 0).endMsg(), "");
}

TEST(TraceFileDeathTest, LevelOutOfRangeAborts) {
  TemporaryFolder const folder;
  TraceFile file(folder / "trace", smallest());
  EXPECT_DEATH(file.ring(0), "level >= 1 && level <= levels");
  EXPECT_DEATH(file.ring(17), "level >= 1 && level <= levels");
}

TEST(TraceFile, IdIsRegisteredWhenNotZeroInsideTheTableAndSet) {
  TemporaryFolder const folder;
  TraceFileSizes sizes = smallest();
  sizes.messages = 8;
  TraceFile file(folder / "trace", sizes);
  Ringlog::MsgId id(7);
  EXPECT_FALSE(file.isRegistered(7));
  EXPECT_TRUE(Ringlog::MsgDesc(file, id, "f", 1).finish());
  EXPECT_TRUE(file.isRegistered(7));
  EXPECT_FALSE(file.isRegistered(0));
  EXPECT_FALSE(file.isRegistered(6));
  EXPECT_FALSE(file.isRegistered(8));
  EXPECT_FALSE(file.isRegistered(-1));
  EXPECT_FALSE(file.isRegistered(INT32_MAX));
}

// Runs `child` in a process of its own that then kills itself.
template <typename Child>
void runAndKill(Child child, int signal) {
  pid_t const pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    child();
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(WTERMSIG(status), signal);
}

TEST(TraceFile, RecordsSurviveTheProcessBeingKilled) {
  for (int const signal : {SIGKILL, SIGSEGV}) {
    TemporaryFolder const folder;
    runAndKill(
        [&folder] {
          auto* const file = new TraceFile(folder / "trace");
          TestMessage message("value");
          message.write(*file, 3, 1);
          message.write(*file, 3, 2);
        },
        signal);
    Ringlog::Reader reader(folder / "trace");
    EXPECT_THAT(OruTest::textsOf(recordsOf(reader)), ElementsAre("3 value 1", "3 value 2"));
    EXPECT_THAT(reader.damage(), IsEmpty());
  }
}

TEST(TraceFile, RecordTornByAKillIsLeftOut) {
  TemporaryFolder const folder;
  runAndKill(
      [&folder] {
        auto* const file = new TraceFile(folder / "trace");
        TestMessage message("value");
        message.write(*file, 3, 1);
        file->ring(3).startMsg(message.id(), 8).put(std::int64_t{2});  // and never ends
      },
      SIGKILL);
  Ringlog::Reader reader(folder / "trace");
  EXPECT_THAT(OruTest::textsOf(recordsOf(reader)), ElementsAre("3 value 1"));
  ASSERT_EQ(reader.damage().size(), 1u);
  EXPECT_EQ(reader.damage()[0].bytes, 24u);
}

TEST(TraceFile, RecordsFindTheirPagesThere) {
  TemporaryFolder const folder;
  TraceFileSizes sizes;
  sizes.ringBytes = 1024 * 1024;
  TraceFile file(folder / "trace", sizes);
  auto const faults = [] {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt + usage.ru_majflt;
  };
  constexpr int records = 1024 * 1024 / 16;  // each its header alone: once round a ring
  auto const fill = [&](unsigned level) {
    for (int i = 0; i < records; ++i) file.ring(level).startMsg(1, 0).endMsg();
  };
  fill(2);  // what the code itself needs, under a sanitizer too, is there afterwards
  auto const before = faults();
  fill(3);
  // The ring has 256 pages; some may have been written back meanwhile, and are then met anew.
  EXPECT_LT(faults() - before, 128);
}

TEST(TraceFile, RecordsCarryWallClockTime) {
  auto const wallNow = [] {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
  };
  TemporaryFolder const folder;
  std::int64_t const before = wallNow();
  {
    TraceFile file(folder / "trace");
    TestMessage message("value");
    for (int i = 0; i < 100; ++i) message.write(file, 3, i);
  }
  std::int64_t const after = wallNow();
  // The line through the clock pairs may miss by what a reading of the clocks may be interrupted.
  constexpr std::int64_t tolerance = 1000000;
  std::int64_t last = before - tolerance;
  for (auto const& record : recordsOf(folder / "trace")) {
    EXPECT_LE(last, record.wallNanoseconds);
    EXPECT_LE(record.wallNanoseconds, after + tolerance);
    last = record.wallNanoseconds;
  }
}

TEST(TraceFile, CalibratingAgainKeepsTheTimes) {
  TemporaryFolder const folder;
  TraceFile file(folder / "trace");
  TestMessage("value").write(file, 3, 1);
  std::int64_t const first = recordsOf(folder / "trace").at(0).wallNanoseconds;
  for (int i = 0; i < 5; ++i) file.calibrate();
  file.flush();
  EXPECT_NEAR(static_cast<double>(recordsOf(folder / "trace").at(0).wallNanoseconds - first), 0,
              1e6);
}

}  // namespace
