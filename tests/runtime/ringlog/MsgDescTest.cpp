#include "runtime/ringlog/MsgDesc.h"

#include <gtest/gtest.h>

#include <string>

#include "runtime/ringlog/TraceFile.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using Ringlog::MsgDesc;
using Ringlog::MsgId;
using Ringlog::TypeCode;

class MsgDescTest : public testing::Test {
 protected:
  static Ringlog::TraceFileSizes sizes() {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = 64 * 1024;
    sizes.descriptionBytes = 4096;
    return sizes;
  }

  OruTest::TemporaryFolder folder_;
  Ringlog::TraceFile file_{folder_ / "trace", sizes()};
};

TEST_F(MsgDescTest, FinishGivesTheSiteAnIdOfItsOwn) {
  MsgId first;
  MsgId second;
  EXPECT_EQ(first.value(), 0);
  EXPECT_TRUE(MsgDesc(file_, first, "f", 1).finish());
  EXPECT_TRUE(MsgDesc(file_, second, "f", 2).finish());
  EXPECT_GT(first.value(), 0);
  EXPECT_GT(second.value(), 0);
  EXPECT_NE(first.value(), second.value());
}

TEST_F(MsgDescTest, SiteKeepsItsIdInAnotherFile) {
  Ringlog::TraceFile other(folder_ / "other", sizes());
  MsgId id;
  EXPECT_TRUE(MsgDesc(file_, id, "f", 1).finish());
  std::int32_t const before = id.value();
  EXPECT_FALSE(other.isRegistered(before));
  EXPECT_TRUE(MsgDesc(other, id, "f", 1).finish());
  EXPECT_EQ(id.value(), before);
  EXPECT_TRUE(other.isRegistered(before));
}

TEST_F(MsgDescTest, DescriptionCarriesPlaceCodesAndText) {
  MsgId id;
  MsgDesc message(file_, id, "central/X.cpp", 42);
  message.formatString().put(TypeCode::String).put(TypeCode::Double).put(TypeCode::Bool);
  EXPECT_EQ(message.formatString().text(), "pdb");
  message.functionIs("handleX");
  message.textIs(Ringlog::TextStyle::Percent, "a %s b %s c %s");
  ASSERT_TRUE(message.finish());
  Ringlog::Msg msg = file_.ring(2).startMsg(id.value(), 2 + 1 + 8 + 1);
  msg.put(std::string_view("x"));
  msg.put(12.5);
  msg.put(true);
  msg.endMsg();
  auto const record = OruTest::recordsOf(folder_ / "trace").at(0);
  EXPECT_EQ(record.file, "central/X.cpp");
  EXPECT_EQ(record.line, 42u);
  EXPECT_EQ(record.function, "handleX");
  EXPECT_EQ(record.text, "a x b 12.5 c true");
}

TEST_F(MsgDescTest, FullTextAreaRefusesAndKeepsWhatIsThere) {
  OruTest::TestMessage early("early");
  early.write(file_, 3, 1);
  int described = 0;
  for (bool room = true; room;) {
    MsgId id;
    MsgDesc message(file_, id, "f", 1);
    message.textIs(Ringlog::TextStyle::Braces, std::string(100, 't'));
    room = message.finish();
    described += room ? 1 : 0;
  }
  EXPECT_GT(described, 30);
  EXPECT_LT(described, 40);
  early.write(file_, 3, 2);
  EXPECT_EQ(OruTest::recordsOf(folder_ / "trace").size(), 2u);
}

TEST_F(MsgDescTest, NamesAndTextsAreCutToWhatAReaderAccepts) {
  Ringlog::TraceFile roomy(folder_ / "roomy");
  MsgId id;
  MsgDesc message(roomy, id, std::string(5000, 'f'), 1);
  message.functionIs(std::string(5000, 'g'));
  message.textIs(Ringlog::TextStyle::Braces, std::string(70000, 't'));
  ASSERT_TRUE(message.finish());
  roomy.ring(1).startMsg(id.value(), 0).endMsg();
  auto const record = OruTest::recordsOf(folder_ / "roomy").at(0);
  EXPECT_EQ(record.file, std::string(1024, 'f'));
  EXPECT_EQ(record.function, std::string(1024, 'g'));
  EXPECT_EQ(record.text, std::string(4096, 't'));
}

TEST_F(MsgDescTest, SiteRegisteredAgainIsDescribedOnce) {
  MsgId id;
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(MsgDesc(file_, id, "f", 1).finish());
}

TEST(MsgIdDeathTest, ReadingANegativeIdAborts) {
  MsgId const id(-1);
  EXPECT_DEATH(id.value(), "Assertion `msgId_ >= 0' failed");
}

TEST(MsgFormatStringDeathTest, SeventeenthCodeAborts) {
  Ringlog::MsgFormatString codes;
  for (std::size_t i = 0; i < Ringlog::maxArguments; ++i) codes.put(TypeCode::Bool);
  EXPECT_DEATH(codes.put(TypeCode::Bool), "count_ < maxArguments");
}

}  // namespace
