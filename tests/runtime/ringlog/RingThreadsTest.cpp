// Writers and readers at the same time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/Reader.h"
#include "tests/support/RingTrace.h"
#include "tests/support/ThreadSafeMode.h"

namespace {

using OruTest::recordsOf;
using Ringlog::Argument;
using Ringlog::TypeCode;
using testing::IsEmpty;

class RingThreadsTest : public testing::Test {
 protected:
  void makeFile(std::uint64_t ringBytes) {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = ringBytes;
    file_ = std::make_unique<Ringlog::TraceFile>(path(), sizes);
    Ringlog::MsgDesc message(*file_, id_, "tests/X.cpp", 1);
    message.formatString().put(TypeCode::Unsigned).put(TypeCode::Unsigned).put(TypeCode::String);
    message.textIs(Ringlog::TextStyle::Braces, "{} {} {}");
    ASSERT_TRUE(message.finish());
  }

  std::string path() const { return folder_ / "trace"; }

  static std::string textOf(std::uint64_t thread, std::uint64_t number) {
    return std::string((thread * 31 + number * 7) % 60, static_cast<char>('a' + number % 26));
  }
  static constexpr std::size_t largestRecord = 104;

  void write(std::uint64_t thread, std::uint64_t number) {
    std::string const text = textOf(thread, number);
    Ringlog::Msg msg =
        file_->ring(3).startMsg(id_.value(), 16 + Ringlog::encodedBytes(std::string_view(text)));
    msg.put(thread);
    msg.put(number);
    msg.put(std::string_view(text));
    msg.endMsg();
  }

  // Checks one record and returns its thread and number.
  static std::pair<std::uint64_t, std::uint64_t> checked(Ringlog::Record const& record) {
    auto const thread = std::get<std::uint64_t>(record.arguments.at(0));
    auto const number = std::get<std::uint64_t>(record.arguments.at(1));
    EXPECT_EQ(record.arguments.at(2), Argument(textOf(thread, number)));
    return {thread, number};
  }

  OruTest::TemporaryFolder folder_;
  std::unique_ptr<Ringlog::TraceFile> file_;
  Ringlog::MsgId id_;
};

TEST_F(RingThreadsTest, ConcurrentWritersLoseNoRecordAndCorruptNone) {
  constexpr std::uint64_t threads = 4;
  constexpr std::uint64_t perThread = 20000;
  makeFile(16 * 1024 * 1024);
  OruTest::ThreadSafeMode const threadSafe;
  std::vector<std::jthread> writers;
  for (std::uint64_t thread = 0; thread < threads; ++thread) {
    writers.emplace_back([this, thread] {
      for (std::uint64_t number = 0; number < perThread; ++number) write(thread, number);
    });
  }
  writers.clear();

  Ringlog::Reader reader(path());
  std::vector<std::uint64_t> next(threads);
  std::uint64_t count = 0;
  for (auto const& record : recordsOf(reader)) {
    auto const [thread, number] = checked(record);
    ASSERT_LT(thread, threads);
    EXPECT_EQ(number, next[thread]++);
    ++count;
  }
  EXPECT_EQ(count, threads * perThread);
  EXPECT_THAT(reader.damage(), IsEmpty());
}

TEST_F(RingThreadsTest, ConcurrentWritersMayGoRoundTheRing) {
  constexpr std::uint64_t threads = 4;
  constexpr std::uint64_t rounds = 40;
  constexpr std::uint64_t ringBytes = 64 * 1024;
  constexpr std::uint64_t perRound = ringBytes / threads / largestRecord;
  makeFile(ringBytes);
  OruTest::ThreadSafeMode const threadSafe;
  // No thread falls a whole ring behind the others.
  std::barrier everybody(static_cast<std::ptrdiff_t>(threads));
  std::vector<std::jthread> writers;
  for (std::uint64_t thread = 0; thread < threads; ++thread) {
    writers.emplace_back([this, thread, &everybody] {
      for (std::uint64_t round = 0; round < rounds; ++round) {
        for (std::uint64_t i = 0; i < perRound; ++i) write(thread, round * perRound + i);
        everybody.arrive_and_wait();
      }
    });
  }
  writers.clear();

  Ringlog::Reader reader(path());
  std::vector<std::uint64_t> last(threads, 0);
  for (auto const& record : recordsOf(reader)) {
    auto const [thread, number] = checked(record);
    ASSERT_LT(thread, threads);
    if (last[thread] != 0) {
      EXPECT_EQ(number, last[thread] + 1);
    }
    last[thread] = number;
  }
  EXPECT_EQ(last, std::vector<std::uint64_t>(threads, rounds * perRound - 1));
  EXPECT_THAT(reader.damage(), IsEmpty());
}

TEST_F(RingThreadsTest, ReaderOfALiveFileSeesWholeRecordsInOrder) {
  constexpr std::uint64_t records = 200000;
  makeFile(64 * 1024);
  std::atomic<bool> done = false;
  std::jthread writer([this, &done] {
    for (std::uint64_t number = 1; number <= records; ++number) write(0, number);
    done = true;
  });
  Ringlog::Reader reader(path());
  std::uint64_t last = 0;
  std::uint64_t missedBefore = 0;
  auto const take = [&] {
    // A gap is allowed where bytes were missed, and before the first record.
    bool gapAllowed = last == 0 || reader.bytesMissed() > missedBefore;
    for (auto const& record : recordsOf(reader)) {
      std::uint64_t const number = checked(record).second;
      EXPECT_GT(number, last);
      EXPECT_TRUE(gapAllowed || number == last + 1) << number << " after " << last;
      gapAllowed = false;
      last = number;
      missedBefore = reader.bytesMissed();
    }
  };
  take();  // what it found when it was made; a refresh keeps to that until it is taken
  for (bool lastLook = false; !lastLook;) {
    lastLook = done;
    reader.refresh();
    take();
  }
  EXPECT_EQ(last, records);
}

TEST_F(RingThreadsTest, ReaderOfALiveFileWithManyWritersMissesNothingThatIsThere) {
  constexpr std::uint64_t threads = 3;
  constexpr std::uint64_t perThread = 20000;
  makeFile(16 * 1024 * 1024);
  OruTest::ThreadSafeMode const threadSafe;
  std::atomic<std::uint64_t> done = 0;
  std::vector<std::jthread> writers;
  for (std::uint64_t thread = 0; thread < threads; ++thread) {
    writers.emplace_back([this, thread, &done] {
      for (std::uint64_t number = 0; number < perThread; ++number) write(thread, number);
      ++done;
    });
  }
  Ringlog::Reader reader(path());
  std::vector<std::vector<bool>> seen(threads, std::vector<bool>(perThread));
  std::uint64_t count = 0;
  auto const take = [&] {
    for (auto const& record : recordsOf(reader)) {
      auto const [thread, number] = checked(record);
      ASSERT_LT(thread, threads);
      EXPECT_FALSE(seen[thread][number]);
      seen[thread][number] = true;
      ++count;
    }
  };
  take();  // what it found when it was made; a refresh keeps to that until it is taken
  for (bool lastLook = false; !lastLook;) {
    lastLook = done == threads;
    reader.refresh();
    take();
  }
  EXPECT_EQ(count, threads * perThread);
  EXPECT_THAT(reader.damage(), IsEmpty());
}

}  // namespace
