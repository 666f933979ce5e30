#include "runtime/ringlog/Reader.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "runtime/ringlog/MsgDesc.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using OruTest::recordsOf;
using OruTest::TestMessage;
using OruTest::textsOf;
using Ringlog::TextStyle;
using Ringlog::TypeCode;
using testing::ElementsAre;
using testing::IsEmpty;

class ReaderTest : public testing::Test {
 protected:
  static Ringlog::TraceFileSizes sizes() {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = 64 * 1024;
    return sizes;
  }

  // The text that a reader makes of one double under a message.
  void writeDouble(Ringlog::MsgId& id, TextStyle style, char const* text, double value) {
    if (id.value() == 0) {
      Ringlog::MsgDesc message(file_, id, "f", 1);
      message.formatString().put(TypeCode::Double);
      message.textIs(style, text);
      ASSERT_TRUE(message.finish());
    }
    Ringlog::Msg msg = file_.ring(1).startMsg(id.value(), 8);
    msg.put(value);
    msg.endMsg();
  }

  std::string path() const { return folder_ / "trace"; }

  OruTest::TemporaryFolder folder_;
  Ringlog::TraceFile file_{path(), sizes()};
  TestMessage message_{"value"};
};

std::vector<double> manyDoubles() {
  std::vector<double> values = {0.0,
                                -0.0,
                                1,
                                -1,
                                12.5,
                                3,
                                100000,
                                1e15,
                                9999999999999998,
                                1e16,
                                1e17,
                                1e20,
                                1e22,
                                1e100,
                                1e-3,
                                1e-4,
                                9.9999e-5,
                                1e-5,
                                1e-7,
                                0.1,
                                1.0 / 3,
                                1764000000.123456,
                                5e-324,
                                std::numeric_limits<double>::max(),
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()};
  std::mt19937_64 random(1);
  for (int i = 0; i < 1000; ++i) {
    std::uint64_t const bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    values.push_back(value);
    values.push_back(std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(bits % 60) - 60));
  }
  return values;
}

TEST_F(ReaderTest, RecordsOfAllRingsComeByTime) {
  for (int i = 0; i < 50; ++i) message_.write(file_, 1 + static_cast<unsigned>(i * 7 % 16), i);
  auto const records = recordsOf(path());
  ASSERT_EQ(records.size(), 50u);
  for (std::int64_t i = 0; i < 50; ++i) {
    auto const& record = records[static_cast<std::size_t>(i)];
    EXPECT_EQ(record.level, 1 + static_cast<unsigned>(i * 7 % 16));
    EXPECT_THAT(record.arguments, ElementsAre(Ringlog::Argument(i)));
  }
}

TEST_F(ReaderTest, BracesPrintTheShortestFormAsTheFormatterDoes) {
  auto const values = manyDoubles();
  Ringlog::MsgId id;
  for (double const value : values) writeDouble(id, TextStyle::Braces, "<{}>", value);
  auto const records = recordsOf(path());
  ASSERT_EQ(records.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(records[i].text, fmt::format("<{}>", values[i]));
  }
}

TEST_F(ReaderTest, PercentsPrintSixDigitsAsAStreamDoes) {
  auto const values = manyDoubles();
  Ringlog::MsgId id;
  for (double const value : values) writeDouble(id, TextStyle::Percent, "<%s>", value);
  auto const records = recordsOf(path());
  ASSERT_EQ(records.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::ostringstream stream;
    stream << '<' << values[i] << '>';
    EXPECT_EQ(records[i].text, stream.str());
  }
}

TEST_F(ReaderTest, PlaceholderWithoutArgumentStays) {
  Ringlog::MsgId braces;
  Ringlog::MsgId percents;
  writeDouble(braces, TextStyle::Braces, "{} {} {", 1);
  writeDouble(percents, TextStyle::Percent, "%s %s %", 1);
  EXPECT_THAT(textsOf(recordsOf(path())), ElementsAre("1 1 {} {", "1 1 %s %"));
}

TEST_F(ReaderTest, WhatAPlaceholderAsksForIsIgnored) {
  Ringlog::MsgId id;
  writeDouble(id, TextStyle::Braces, "{:.3f}", 12.5);
  EXPECT_THAT(textsOf(recordsOf(path())), ElementsAre("1 12.5"));
}

TEST_F(ReaderTest, RefreshTakesInWhatWasWrittenSince) {
  Ringlog::Reader reader(path());
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  message_.write(file_, 3, 1);
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  reader.refresh();
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("3 value 1"));
  TestMessage other("other");
  other.write(file_, 5, 2);
  message_.write(file_, 3, 3);
  reader.refresh();
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("5 other 2", "3 value 3"));
  reader.refresh();
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  EXPECT_EQ(reader.bytesMissed(), 0u);
}

TEST_F(ReaderTest, RefreshWaitsUntilAllThatIsAtHandWasGivenOut) {
  message_.write(file_, 3, 1);
  message_.write(file_, 3, 2);
  Ringlog::Reader reader(path());
  Ringlog::Record record;
  ASSERT_TRUE(reader.next(record));
  message_.write(file_, 3, 3);
  reader.refresh();
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("3 value 2"));
  reader.refresh();
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("3 value 3"));
}

TEST_F(ReaderTest, FollowsOverManyLaps) {
  Ringlog::Reader reader(path());
  std::int64_t next = 0;
  for (std::int64_t value = 0; value < 20000; ++value) {
    message_.write(file_, 3, value);
    if (value % 777 != 0) continue;
    reader.refresh();
    for (auto const& record : recordsOf(reader)) {
      EXPECT_EQ(record.arguments[0], Ringlog::Argument(next++));
    }
    EXPECT_EQ(next, value + 1);
  }
  EXPECT_EQ(reader.bytesMissed(), 0u);
  EXPECT_THAT(reader.damage(), IsEmpty());
}

TEST_F(ReaderTest, BytesOverwrittenBetweenTwoLooksAreCounted) {
  constexpr std::int64_t recordBytes = 24;
  constexpr std::int64_t perRing = 65536 / recordBytes;
  message_.write(file_, 3, 0);
  Ringlog::Reader reader(path());
  EXPECT_EQ(recordsOf(reader).size(), 1u);
  for (std::int64_t value = 1; value <= perRing + 100; ++value) message_.write(file_, 3, value);
  reader.refresh();
  auto const records = recordsOf(reader);
  EXPECT_EQ(records.size(), static_cast<std::size_t>(perRing));
  EXPECT_EQ(records.back().text, "value " + std::to_string(perRing + 100));
  EXPECT_GE(reader.bytesMissed(), 99u * recordBytes);
  EXPECT_LE(reader.bytesMissed(), 100u * recordBytes);
  EXPECT_THAT(reader.damage(), IsEmpty());
}

TEST_F(ReaderTest, RecordBeingWrittenComesWhenItIsComplete) {
  message_.write(file_, 3, 1);
  Ringlog::Msg msg = file_.ring(3).startMsg(message_.id(), 8);
  message_.write(file_, 3, 3);
  Ringlog::Reader reader(path());
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("3 value 1", "3 value 3"));
  EXPECT_EQ(reader.damage().size(), 1u);
  reader.refresh();
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  EXPECT_EQ(reader.damage().size(), 1u);
  msg.put(std::int64_t{2});
  msg.endMsg();
  reader.refresh();
  EXPECT_THAT(textsOf(recordsOf(reader)), ElementsAre("3 value 2"));
  EXPECT_THAT(reader.damage(), IsEmpty());
}

TEST_F(ReaderTest, RecordThatIsNeverCompletedGoesWithItsLap) {
  Ringlog::Msg const never = file_.ring(3).startMsg(message_.id(), 8);
  static_cast<void>(never);
  Ringlog::Reader reader(path());
  EXPECT_EQ(reader.damage().size(), 1u);
  for (std::int64_t value = 0; value < 4000; ++value) message_.write(file_, 3, value);
  reader.refresh();
  EXPECT_THAT(reader.damage(), IsEmpty());
  EXPECT_GE(reader.bytesMissed(), 24u);
  recordsOf(reader);
}

TEST_F(ReaderTest, MessageRegisteredAfterTheFirstLookIsKnown) {
  Ringlog::Reader reader(path());
  for (int i = 0; i < 20; ++i) {
    TestMessage message("message" + std::to_string(i));
    message.write(file_, 3, i);
    reader.refresh();
    EXPECT_THAT(textsOf(recordsOf(reader)),
                ElementsAre("3 message" + std::to_string(i) + " " + std::to_string(i)));
  }
}

}  // namespace
