#include "runtime/ringlog/Ring.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/TraceFile.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using OruTest::recordsOf;
using Ringlog::Argument;
using Ringlog::TypeCode;
using testing::ElementsAre;
using testing::IsEmpty;

class RingTest : public testing::Test {
 protected:
  static constexpr std::uint64_t ringBytes = 64 * 1024;

  // A message with a number and a text, of id `sequence_`.
  void SetUp() override {
    Ringlog::MsgDesc message(file_, sequence_, "tests/X.cpp", 1);
    message.formatString().put(TypeCode::Unsigned).put(TypeCode::String);
    message.textIs(Ringlog::TextStyle::Braces, "{} {}");
    ASSERT_TRUE(message.finish());
  }

  void write(unsigned level, std::uint64_t number, std::string_view text) {
    Ringlog::Msg msg = file_.ring(level).startMsg(
        sequence_.value(), Ringlog::encodedBytes(number) + Ringlog::encodedBytes(text));
    msg.put(number);
    msg.put(text);
    msg.endMsg();
  }

  // A text of a length that differs from record to record.
  static std::string textOf(std::uint64_t number) {
    return std::string(number * 37 % 301, static_cast<char>('a' + number % 26));
  }

  static Ringlog::TraceFileSizes sizes() {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = ringBytes;
    return sizes;
  }

  OruTest::TemporaryFolder folder_;
  Ringlog::TraceFile file_{folder_ / "trace", sizes()};
  Ringlog::MsgId sequence_;
};

TEST_F(RingTest, OldestRecordsGiveWay) {
  // After each of several laps: the newest records without a gap, whole, about a ring full.
  for (std::uint64_t number = 1; number <= 3000; ++number) {
    write(3, number, textOf(number));
    if (number % 500 != 0) continue;
    Ringlog::Reader reader(folder_ / "trace");
    auto const records = recordsOf(reader);
    EXPECT_THAT(reader.damage(), IsEmpty());
    ASSERT_FALSE(records.empty());
    std::uint64_t expected = number - records.size() + 1;
    std::uint64_t bytes = 0;
    for (auto const& record : records) {
      EXPECT_THAT(record.arguments, ElementsAre(Argument(expected), Argument(textOf(expected))));
      bytes += (16 + 8 + 2 + textOf(expected).size() + 7) / 8 * 8;
      ++expected;
    }
    std::uint64_t const largest = 336;
    EXPECT_LE(bytes, ringBytes);
    EXPECT_GT(bytes, ringBytes - largest);
  }
}

TEST_F(RingTest, RecordMayRunOverTheEndOfTheRing) {
  // 65512 bytes in the first record's place leave 24 at the end; the second one needs more.
  std::uint64_t written = 0;
  std::uint64_t number = 0;
  std::string const filler(998, 'x');  // makes 1024
  while (written + 1024 <= ringBytes - 24) {
    write(3, ++number, filler);
    written += 1024;
  }
  write(3, ++number, std::string(ringBytes - 24 - written - 26, 'y'));
  std::string const across = "this text lies on both sides of the end of the ring";
  write(3, ++number, across);
  auto const records = recordsOf(folder_ / "trace");
  ASSERT_FALSE(records.empty());
  EXPECT_THAT(records.back().arguments, ElementsAre(Argument(number), Argument(across)));
}

TEST_F(RingTest, EachLevelHasItsOwnRing) {
  write(1, 1, "kept");
  for (std::uint64_t number = 0; number < 5000; ++number) write(2, number, "flood");
  write(16, 2, "kept");
  auto const records = recordsOf(folder_ / "trace");
  EXPECT_EQ(records.front().text, "1 kept");
  EXPECT_EQ(records.front().level, 1u);
  EXPECT_EQ(records.back().text, "2 kept");
  EXPECT_EQ(records.back().level, 16u);
}

TEST_F(RingTest, LongTextLosesItsTail) {
  std::string const text = std::string(2048, 'a') + "tail";
  write(3, 1, text);
  write(3, 2, "next");
  auto const records = recordsOf(folder_ / "trace");
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].arguments[1], Argument(std::string(2048, 'a')));
  EXPECT_EQ(records[1].text, "2 next");
}

TEST_F(RingTest, EmptyTextIsARecordToo) {
  write(3, 1, "");
  EXPECT_THAT(recordsOf(folder_ / "trace").at(0).arguments,
              ElementsAre(Argument(std::uint64_t{1}), Argument("")));
}

TEST_F(RingTest, TextMayHoldAnyBytes) {
  std::string const bytes("\0\n\xff{}%s", 7);
  write(3, 1, bytes);
  EXPECT_EQ(recordsOf(folder_ / "trace").at(0).arguments[1], Argument(bytes));
}

TEST_F(RingTest, LargestRecordFits) {
  Ringlog::MsgId id;
  Ringlog::MsgDesc message(file_, id, "tests/X.cpp", 1);
  for (std::size_t i = 0; i < Ringlog::maxArguments; ++i) {
    message.formatString().put(TypeCode::String);
  }
  ASSERT_TRUE(message.finish());
  std::string const text(Ringlog::maxStringBytes, 'z');
  for (int lap = 0; lap < 5; ++lap) {
    Ringlog::Msg msg = file_.ring(3).startMsg(
        id.value(), Ringlog::maxArguments * Ringlog::encodedBytes(std::string_view(text)));
    for (std::size_t i = 0; i < Ringlog::maxArguments; ++i) msg.put(std::string_view(text));
    msg.endMsg();
  }
  auto const records = recordsOf(folder_ / "trace");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_THAT(records[0].arguments, testing::Each(Argument(text)));
}

TEST_F(RingTest, RecordWithoutArgumentsIsItsHeaderAlone) {
  Ringlog::MsgId id;
  Ringlog::MsgDesc message(file_, id, "tests/X.cpp", 1);
  message.textIs(Ringlog::TextStyle::Braces, "plain");
  ASSERT_TRUE(message.finish());
  for (int i = 0; i < 10000; ++i) file_.ring(3).startMsg(id.value(), 0).endMsg();
  EXPECT_EQ(recordsOf(folder_ / "trace").size(), ringBytes / 16);
}

TEST_F(RingTest, PositionsMayPassTheTagsLowerBits) {
  // As after 281 terabytes: the position carries into the id's bits of the tag.
  struct Control {
    std::uint64_t position;
    std::uint64_t mask;
  };
  auto* const control = reinterpret_cast<Control*>(&file_.ring(3));
  control->position = (std::uint64_t{1} << 48) - 48;
  for (std::uint64_t number = 0; number < 4; ++number) write(3, number, "");
  auto const records = recordsOf(folder_ / "trace");
  ASSERT_EQ(records.size(), 4u);
  for (std::uint64_t number = 0; number < 4; ++number) {
    EXPECT_EQ(records[number].arguments[0], Argument(number));
  }
}

}  // namespace
