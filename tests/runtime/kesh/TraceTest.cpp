#include "runtime/kesh/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/RingTrace.h"
#include "tests/support/TraceCapture.h"

namespace Oru::TraceTest {

using OruTest::RingTrace;
using OruTest::TraceCapture;
using Ringlog::Argument;
using testing::ElementsAre;
using testing::IsEmpty;

inline Kesh::TraceHandle& _defaultTraceHandle() {
  static constinit Kesh::TraceHandle handle("TraceTest");
  return handle;
}

// A value of a type of its own, with a text for each channel; both are counted.
struct Key {
  Vunda::String type;
  Vunda::String chip;
};
int streps = 0;
int ringTexts = 0;

std::string valueToStrep(Key const& key) {
  ++streps;
  return "Key(" + std::string(key.type.view()) + " " + std::string(key.chip.view()) + ")";
}
std::string ringText(Key const& key) {
  ++ringTexts;
  return std::string(key.type.view()) + "," + std::string(key.chip.view());
}

// A value that has the generic text alone.
struct Generic {};
std::string valueToStrep(Generic const&) { return "generic"; }

// A value that counts how often it is formatted for a message.
struct Formatted {};
int formats = 0;
std::string ringText(Formatted const&) { return "ring"; }

}  // namespace Oru::TraceTest

template <>
struct fmt::formatter<Oru::TraceTest::Formatted> : fmt::formatter<int> {
  template <typename Context>
  auto format(Oru::TraceTest::Formatted const&, Context& context) const {
    return fmt::formatter<int>::format(++Oru::TraceTest::formats, context);
  }
};

namespace Oru::TraceTest {

class Machine {
 public:
  void handleChipResetRequest(Vunda::String const& sliceName, Vunda::String const& chipName,
                              Kesh::Seconds genTime) {
    static_cast<void>(sliceName);
    ORU_TRACE_ENTRY_AS("chipName %s genTime %s", chipName, genTime);
  }
  void handleInitialized() { ORU_TRACE_ENTRY(); }
  void handleDel(Oru::TraceTest::Key const& key) { ORU_TRACE_ENTRY(key); }
  void doReset(bool enabled) { ORU_TRACE_ENTRY_AS("%s enabled %s", name_, enabled); }
  void two() { ORU_TRACE_ENTRY(name_, 7); }

 private:
  Vunda::String name_{"Slice1"};
};

TEST(Trace, MessageFeedsBothChannels) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  ORU_TRACE(3, "Chip is initialized {} genTime {}", Vunda::String("Chip1"), Kesh::Seconds(12.5));
  unsigned const line = __LINE__ - 1;

  ASSERT_EQ(text.lines().size(), 1u);
  EXPECT_EQ(text.lines()[0].level, 3u);
  EXPECT_EQ(text.lines()[0].file, "tests/runtime/kesh/TraceTest.cpp");
  EXPECT_EQ(text.lines()[0].line, line);
  EXPECT_EQ(text.lines()[0].function, "TestBody");
  EXPECT_EQ(text.lines()[0].text, "Chip is initialized Chip1 genTime 12.5");

  auto const records = ring.records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].level, 3u);
  EXPECT_EQ(records[0].file, "tests/runtime/kesh/TraceTest.cpp");
  EXPECT_EQ(records[0].line, line);
  EXPECT_EQ(records[0].function, "TestBody");
  EXPECT_EQ(records[0].text, "Chip is initialized Chip1 genTime 12.5");
  EXPECT_THAT(records[0].arguments, ElementsAre(Argument("Chip1"), Argument(12.5)));
}

TEST(Trace, WithEveryTextLevelOffRingRecordsAreStillWritten) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle(), 0);
  ORU_TRACE(3, "Starting slice agent {}", Vunda::String("Slice1"));
  Machine().handleInitialized();
  EXPECT_THAT(text.lines(), IsEmpty());
  EXPECT_THAT(ring.texts(), ElementsAre("3 Starting slice agent Slice1",
                                        "2 void Oru::TraceTest::Machine::handleInitialized(): "));
}

TEST(Trace, WithoutRingHandleTextWorksUnchanged) {
  TraceCapture const text(_defaultTraceHandle());
  ORU_TRACE(3, "Starting slice agent {}", Vunda::String("Slice1"));
  Machine().handleInitialized();
  EXPECT_THAT(text.texts(), ElementsAre("3 Starting slice agent Slice1",
                                        "2 void Oru::TraceTest::Machine::handleInitialized(): "));
}

TEST(Trace, WithBothChannelsOffNothingIsEvaluated) {
  TraceCapture const text(_defaultTraceHandle(), 0);
  int evaluated = 0;
  // The first passage enrols the handle's gate; the ones behind it see the gate closed.
  for (int i = 0; i < 3; ++i) {
    if (i == 1) evaluated = 0;
    ORU_TRACE(3, "{}", ++evaluated);
    ORU_TRACE_STREAM(3, "%s", ++evaluated);
  }
  EXPECT_EQ(evaluated, 0);
}

TEST(Trace, ArgumentsAreEvaluatedOnceForBothChannels) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  int evaluated = 0;
  ORU_TRACE(3, "{}", ++evaluated);
  ORU_TRACE_STREAM(3, "%s", ++evaluated);
  EXPECT_EQ(evaluated, 2);
  EXPECT_THAT(text.texts(), ElementsAre("3 1", "3 2"));
  EXPECT_THAT(ring.texts(), ElementsAre("3 1", "3 2"));
}

TEST(Trace, NothingIsFormattedWhileTheLevelIsOff) {
  RingTrace const ring;
  TraceCapture text(_defaultTraceHandle(), 1u << 2 | 1u << 4);
  formats = 0;
  streps = 0;
  ORU_TRACE(3, "{}", Formatted());
  ORU_TRACE_STREAM(3, "%s", Key());
  EXPECT_EQ(formats, 0);
  EXPECT_EQ(streps, 0);
  ORU_TRACE(4, "{}", Formatted());
  ORU_TRACE_STREAM(2, "%s", Key());
  EXPECT_EQ(formats, 1);
  EXPECT_EQ(streps, 1);
  EXPECT_THAT(text.lines(), testing::SizeIs(2));
}

TEST(Trace, RingTextIsMadeOnceARecordAndNotWithoutATraceFile) {
  TraceCapture const text(_defaultTraceHandle(), 1u << 3);
  ringTexts = 0;
  ORU_TRACE_STREAM(3, "%s", Key());
  EXPECT_EQ(ringTexts, 0);
  RingTrace const ring;
  ORU_TRACE_STREAM(3, "%s", Key());
  EXPECT_EQ(ringTexts, 1);
}

TEST(Trace, LevelGoesToTheRingBelowItsNumber) {
  RingTrace const ring;
  ORU_TRACE(1, "one");
  ORU_TRACE(2, "two");
  ORU_TRACE(3, "three");
  ORU_TRACE(5, "five");
  ORU_TRACE(9, "nine");
  ORU_TRACE(16, "sixteen");
  EXPECT_THAT(ring.texts(),
              ElementsAre("1 one", "2 two", "3 three", "5 five", "9 nine", "16 sixteen"));
}

TEST(Trace, EveryKindOfArgumentReachesBothChannels) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  std::uint16_t const bytes[] = {7, 64, 255};
  std::string const standard = "standard";
  ORU_TRACE(3, "byte {} config {} status {}", bytes[0], bytes[1], bytes[2]);
  ORU_TRACE(3, "{} {} {} {}", "literal", standard, std::string_view("view"), 'c');
  ORU_TRACE(3, "{} {} {} {}", true, -1, std::int8_t{-2}, 1.5f);
  EXPECT_THAT(text.texts(), ElementsAre("3 byte 7 config 64 status 255",
                                        "3 literal standard view c", "3 true -1 -2 1.5"));
  EXPECT_EQ(ring.texts(), text.texts());
  auto const records = ring.records();
  EXPECT_THAT(records[0].arguments,
              ElementsAre(Argument(std::uint64_t{7}), std::uint64_t{64}, std::uint64_t{255}));
  EXPECT_THAT(records[2].arguments,
              ElementsAre(Argument(true), std::int64_t{-1}, std::int64_t{-2}, Argument(1.5)));
}

TEST(Trace, SixteenArgumentsFit) {
  RingTrace const ring;
  ORU_TRACE(3, "{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}", 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4, 5, 6);
  EXPECT_THAT(ring.texts(), ElementsAre("3 1234567890123456"));
}

TEST(Trace, DoubledBracesAreBraces) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  ORU_TRACE(3, "{{{}}} }}{{", 1);
  EXPECT_THAT(text.texts(), ElementsAre("3 {1} }{"));
  EXPECT_EQ(ring.texts(), text.texts());
}

TEST(Trace, SiteInsideALambdaTraces) {
  RingTrace const ring;
  auto const lambda = [](int value) { ORU_TRACE(3, "{}", value); };
  lambda(1);
  lambda(2);
  EXPECT_THAT(ring.texts(), ElementsAre("3 1", "3 2"));
}

TEST(TraceEntry, WithoutArgumentKeepsItsColon) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Machine().handleInitialized();
  EXPECT_THAT(text.texts(), ElementsAre("2 void Oru::TraceTest::Machine::handleInitialized(): "));
  EXPECT_EQ(ring.texts(), text.texts());
  EXPECT_EQ(text.lines()[0].function, "handleInitialized");
  EXPECT_EQ(ring.records()[0].function, "handleInitialized");
}

TEST(TraceEntry, LabelsStandInTheTextChannelAlone) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Machine().handleChipResetRequest(Vunda::String("Slice1"), Vunda::String("Chip1"),
                                   Kesh::Seconds(12.5));
  EXPECT_THAT(text.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::handleChipResetRequest(const String&, "
                          "const String&, Kesh::Seconds): chipName Chip1 genTime 12.5"));
  EXPECT_THAT(ring.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::handleChipResetRequest(const String&, "
                          "const String&, Kesh::Seconds): Chip1 12.5"));
}

TEST(TraceEntry, OtherTypesHaveATextForEachChannel) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Machine().handleDel({Vunda::String("chip"), Vunda::String("Chip1")});
  EXPECT_THAT(text.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::handleDel(const Oru::TraceTest::Key&): "
                          "Key(chip Chip1)"));
  EXPECT_THAT(ring.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::handleDel(const Oru::TraceTest::Key&): "
                          "chip,Chip1"));
}

TEST(TraceEntry, BooleansPrintAsWords) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Machine().doReset(false);
  EXPECT_THAT(text.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::doReset(bool): Slice1 enabled false"));
  EXPECT_THAT(ring.texts(),
              ElementsAre("2 void Oru::TraceTest::Machine::doReset(bool): Slice1 false"));
}

TEST(TraceEntry, SeveralArgumentsAreSeparatedByBlanks) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Machine().two();
  EXPECT_THAT(text.texts(), ElementsAre("2 void Oru::TraceTest::Machine::two(): Slice1 7"));
  EXPECT_EQ(ring.texts(), text.texts());
}

TEST(TraceStream, PrintsAsAStreamInBothChannels) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Kesh::Seconds const large(1764000000.25);
  ORU_TRACE_STREAM(2, "chipStatusExist=%s %s", true, Vunda::String("Chip1"));
  ORU_TRACE_STREAM(2, "hwConfig genTime=%s hwStatus genTime=%s", large, Kesh::Seconds(12.5));
  ORU_TRACE_STREAM(2, "count=%s flags=%x", std::size_t{3}, 0x2aU);
  EXPECT_THAT(text.texts(), ElementsAre("2 chipStatusExist=true Chip1",
                                        "2 hwConfig genTime=1.764e+09 hwStatus genTime=12.5",
                                        "2 count=3 flags=2a"));
  EXPECT_EQ(ring.texts(), text.texts());
}

TEST(TraceStream, BracesAreNoPlaceholders) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  ORU_TRACE_STREAM(2, "{} %s", 1);
  ORU_TRACE(2, "%s {}", 1);
  EXPECT_THAT(text.texts(), ElementsAre("2 {} 1", "2 %s 1"));
  EXPECT_EQ(ring.texts(), text.texts());
}

TEST(TraceStream, GenericTextServesBothChannelsWhenThereIsNoOther) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  ORU_TRACE_STREAM(2, "%s", Generic());
  EXPECT_THAT(text.texts(), ElementsAre("2 generic"));
  EXPECT_EQ(ring.texts(), text.texts());
}

TEST(Trace, ShortestFormInMessagesSixDigitsInStreams) {
  RingTrace const ring;
  TraceCapture const text(_defaultTraceHandle());
  Kesh::Seconds const time(1764000000.25);
  ORU_TRACE(3, "hw genTime {}", time);
  ORU_TRACE_STREAM(3, "hw genTime %s", time);
  EXPECT_THAT(text.texts(), ElementsAre("3 hw genTime 1764000000.25", "3 hw genTime 1.764e+09"));
  EXPECT_EQ(ring.texts(), text.texts());
}

// One call site for the tests that look at what a site keeps.
void site(int value) { ORU_TRACE(3, "value {}", value); }

TEST(TraceSite, MessageIsRegisteredOnce) {
  RingTrace const ring;
  TraceCapture text(_defaultTraceHandle(), 0);
  for (int i = 0; i < 100; ++i) site(i);
  text.clear();
  // Each record refers to the one description: none of them was dropped for lack of room.
  Ringlog::TraceFileSizes small;
  small.descriptionBytes = 4096;
  RingTrace const other(small);
  for (int i = 0; i < 1000; ++i) site(i);
  EXPECT_EQ(other.records().size(), 1000u);
}

TEST(TraceSite, SurvivesTheSwitchToAnotherFileAndBack) {
  OruTest::TemporaryFolder const folder;
  auto const handleFor = [&folder](char const* name) {
    return std::make_unique<Ringlog::Handle>(std::make_unique<Ringlog::TraceFile>(folder / name));
  };
  Ringlog::defaultRinglogHandleIs(handleFor("a"));
  site(1);
  auto a = Ringlog::defaultRinglogHandleIs(handleFor("b"));
  ORU_TRACE(3, "registered in b first {}", 0);
  site(2);
  auto b = Ringlog::defaultRinglogHandleIs(std::move(a));
  site(3);
  ORU_TRACE(3, "registered in a now {}", 0);
  a = Ringlog::defaultRinglogHandleIs(std::move(b));
  site(4);
  Ringlog::defaultRinglogHandleIs(nullptr);
  site(5);
  EXPECT_THAT(OruTest::textsOf(OruTest::recordsOf(folder / "a")),
              ElementsAre("3 value 1", "3 value 3", "3 registered in a now 0"));
  EXPECT_THAT(OruTest::textsOf(OruTest::recordsOf(folder / "b")),
              ElementsAre("3 registered in b first 0", "3 value 2", "3 value 4"));
}

TEST(TraceSite, TextLevelSwitchedAtAnyTimeTakesEffect) {
  RingTrace const ring;
  TraceCapture text(_defaultTraceHandle(), 0);
  site(1);
  _defaultTraceHandle().levelsAre(1u << 3);
  site(2);
  _defaultTraceHandle().levelsAre(1u << 4);
  site(3);
  EXPECT_THAT(text.texts(), ElementsAre("3 value 2"));
  EXPECT_THAT(ring.texts(), ElementsAre("3 value 1", "3 value 2", "3 value 3"));
}

TEST(TraceSite, FileWithoutRoomForMoreMessagesCountsWhatIsDroppedAndTextGoesOn) {
  Ringlog::TraceFileSizes sizes;
  sizes.messages = 1;  // room for message 0, which there is not
  RingTrace const ring(sizes);
  TraceCapture const text(_defaultTraceHandle());
  site(1);
  site(2);
  EXPECT_THAT(text.texts(), ElementsAre("3 value 1", "3 value 2"));
  Ringlog::Reader reader(ring.path());
  EXPECT_THAT(OruTest::recordsOf(reader), IsEmpty());
  EXPECT_EQ(reader.recordsDropped(), 2u);
  EXPECT_EQ(Ringlog::defaultRinglogFile()->recordsDropped(), 2u);
}

TEST(TraceSiteDeathTest, ReadingANegativeMessageIdAborts) {
  static constinit Ringlog::MsgSite negative(-1);
  static constexpr Kesh::TracePlace place{&negative, 3, "file", 1, "function", nullptr};
  EXPECT_DEATH(
      {
        RingTrace const ring;
        Kesh::Impl::TraceAt(_defaultTraceHandle().gate().ring(3), _defaultTraceHandle(), place)
            .message("{}", 1);
      },
      "Assertion `msgId_ >= 0' failed");
}

TEST(TracePlaceholders, BracesAreCountedAsTheFormatterCountsThem) {
  using Kesh::Impl::bracePlaceholders;
  static_assert(bracePlaceholders("") == 0);
  static_assert(bracePlaceholders("{}") == 1);
  static_assert(bracePlaceholders("{} and {:.3f}") == 2);
  static_assert(bracePlaceholders("{{}}") == 0);
  static_assert(bracePlaceholders("{{{}}}") == 1);
  static_assert(bracePlaceholders("%s") == 0);
}

TEST(TracePlaceholders, PercentsAreCountedAsTheConverterCountsThem) {
  using Kesh::Impl::percentPlaceholders;
  static_assert(percentPlaceholders("") == 0);
  static_assert(percentPlaceholders("%s") == 1);
  static_assert(percentPlaceholders("%s%x %d %") == 2);
  static_assert(percentPlaceholders("%%s") == 1);
  static_assert(percentPlaceholders("{}") == 0);
}

}  // namespace Oru::TraceTest
