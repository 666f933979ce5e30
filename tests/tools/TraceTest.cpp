#include "tools/Trace.h"

#include <memory>

#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/TraceFile.h"
#include "tests/agent/ProgramRun.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/tools/ToolFixture.h"
#include "tools/TraceRecords.h"
#include "tools/TraceUnit.h"

namespace {

using Json = nlohmann::json;
using OruTest::TestMessage;
using namespace Oru::Tools;

Ringlog::Record record(unsigned level, std::string const& file, std::string const& function,
                       std::string const& text, std::vector<Ringlog::Argument> const& arguments) {
  return {1'000'000'001'500, 5, level, 88, file, function, text, arguments};
}

class TraceTest : public OruTest::ToolFixture {
 protected:
  TraceTest() { makeFile(); }

  void makeFile() {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = 64 * 1024;
    file_.reset();
    file_ = std::make_unique<Ringlog::TraceFile>(path_, sizes);
  }
  void write(unsigned level, int value) { message_.write(*file_, level, value); }
  std::vector<std::string> lines() const {
    std::vector<std::string> found;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) found.push_back(line);
    return found;
  }

  std::string const path_ = folder / "trace";
  TestMessage message_{"value"};
  std::unique_ptr<Ringlog::TraceFile> file_;
};

TEST_F(TraceTest, ARecordIsALineWithTimeLevelAndPlace) {
  auto const found = record(3, "central/X.cpp", "run", "Chip C\033[2J is up", {});
  EXPECT_EQ("1970-01-01T00:16:40.000001500Z 3 central/X.cpp:88 run: Chip C\\x1B[2J is up",
            lineOf(found, Style(false)));
}

TEST_F(TraceTest, ARecordIsAnObjectWithItsArguments) {
  auto const found = record(3, "central/X.cpp", "run", "t",
                            {std::string("a"), 12.5, std::uint64_t{7}, std::int64_t{-7}, true});
  EXPECT_EQ(Json::parse(R"({"schema": "oructl.trace", "version": 1,
                            "time": "1970-01-01T00:16:40.000001500Z", "nanoseconds": 1000000001500,
                            "level": 3, "file": "central/X.cpp", "line": 88, "function": "run",
                            "text": "t", "arguments": ["a", 12.5, 7, -7, true]})"),
            Json::parse(jsonOf(found).dump()));
}

TEST_F(TraceTest, RecordsAreDecodedInTheOrderOfTime) {
  write(1, 10);
  write(3, 11);
  write(2, 12);
  EXPECT_EQ(0, runPlain({"trace", path_}));
  auto const found = lines();
  ASSERT_EQ(3u, found.size());
  EXPECT_EQ("1 tests/X.cpp:7 test: value 10", found[0].substr(found[0].find(' ') + 1));
  EXPECT_EQ("3 tests/X.cpp:7 test: value 11", found[1].substr(found[1].find(' ') + 1));
  EXPECT_EQ("2 tests/X.cpp:7 test: value 12", found[2].substr(found[2].find(' ') + 1));
  EXPECT_EQ("", err);
}

TEST_F(TraceTest, OnlyTheWantedLevelsAreShown) {
  for (int level = 1; level <= 5; ++level) write(static_cast<unsigned>(level), level);
  EXPECT_EQ(0, runPlain({"trace", path_, "--level", "1,4-5", "--json"}));
  std::vector<int> levels;
  for (auto const& line : lines()) levels.push_back(Json::parse(line).at("level"));
  EXPECT_EQ((std::vector<int>{1, 4, 5}), levels);
  EXPECT_EQ(2, runPlain({"trace", path_, "--level", "1-x"}));
  EXPECT_NE(std::string::npos, err.find("--level"));
}

TEST_F(TraceTest, TheFileMayComeFromTheEnvironment) {
  EXPECT_EQ(2, runPlain({"trace"}));
  EXPECT_EQ(
      "oructl: which trace file? Give its name, or set ORU_RINGLOG in the environment.\n"
      "oru-agent writes one when it is started with --ringlog FILE.\n",
      err);
  write(1, 10);
  ::setenv("ORU_RINGLOG", path_.c_str(), 1);
  EXPECT_EQ(0, runPlain({"trace"}));
  EXPECT_EQ(1u, lines().size());
}

TEST_F(TraceTest, AFileThatIsNoTraceIsTold) {
  EXPECT_EQ(3, runPlain({"trace", folder / "none"}));
  EXPECT_EQ(0u, err.find("oructl: trace file \"" + (folder / "none") + "\""));
  std::ofstream(folder / "text") << "no trace";
  EXPECT_EQ(3, runPlain({"trace", folder / "text"}));
  EXPECT_EQ("", out);
}

TEST_F(TraceTest, WhatIsMissingFromTheTraceIsTold) {
  for (int i = 0; i < 10'000; ++i) write(1, i);
  EXPECT_EQ(0, runPlain({"trace", path_}));
  EXPECT_EQ("", err) << "an old lap is no gap for who comes later";
  file_.reset();
  std::fstream file(path_, std::ios::in | std::ios::out);
  file.seekp(56);
  file.put(3);  // recordsDropped
  file.close();
  EXPECT_EQ(0, runPlain({"trace", path_}));
  EXPECT_EQ("oructl: the trace is not whole: 3 records had no room for their description\n", err);
}

TEST_F(TraceTest, WhatIsWrittenLaterIsHandedOutLater) {
  write(1, 10);
  TraceRecords records(path_, ~0U);
  std::vector<std::string> texts;
  auto const each = [&](Ringlog::Record const& found) { texts.push_back(found.text); };
  records.handOut(each);
  write(2, 11);
  records.handOut(each);
  EXPECT_EQ((std::vector<std::string>{"value 10", "value 11"}), texts);
}

TEST_F(TraceTest, FollowingGoesOnWithTheNextProcessesFile) {
  write(1, 10);
  TraceRecords records(path_, ~0U);
  std::vector<std::string> texts;
  auto const each = [&](Ringlog::Record const& found) { texts.push_back(found.text); };
  records.handOut(each);
  write(1, 11);
  std::filesystem::rename(path_, path_ + ".previous");
  records.handOut(each);
  makeFile();
  write(1, 12);
  records.handOut(each);
  write(1, 13);
  records.handOut(each);
  EXPECT_EQ((std::vector<std::string>{"value 10", "value 11", "value 12", "value 13"}), texts);
}

TEST_F(TraceTest, TheProgramFollowsUntilItIsStopped) {
  OruTest::ProgramRun program({ORUCTL, "trace", path_, "--follow", "--json"});
  write(1, 10);
  EXPECT_TRUE(program.awaitsOutput("value 10"));
  write(2, 11);
  EXPECT_TRUE(program.awaitsOutput("value 11"));
  program.signal(SIGTERM);
  EXPECT_EQ(0, program.wait());
}

// Units of records as the supervision library writes them.
TEST_F(TraceTest, UnitsAreTheMachinesThatRecordsAreAbout) {
  TraceUnit unit;
  EXPECT_EQ("central", unit.of(record(2, "central/CentralSm.cpp", "handleInitialized",
                                      "void Oru::Central::CentralSm::handleInitialized(): ", {})));
  EXPECT_EQ("chips", unit.of(record(3, "central/CentralChipSm.cpp", "handleRunning",
                                    "config genTime 1 status genTime 0", {1.0, 0.0})));
  EXPECT_EQ("chip C1", unit.of(record(2, "central/CentralChipSm.cpp", "handleRunning",
                                      "void Oru::Central::CentralChipSm::handleRunning(): C1",
                                      {std::string("C1")})));
  EXPECT_EQ("slice S1", unit.of(record(2, "central/CentralSliceSm.cpp", "doReset",
                                       "void Oru::Central::CentralSliceSm::doReset(bool): S1 1",
                                       {std::string("S1"), true})));
  EXPECT_EQ("slice S1", unit.of(record(3, "central/CentralSliceSm.cpp", "createChipSms",
                                       "Create chipSm for C2", {std::string("C2")})));
  EXPECT_EQ("chip C1", unit.of(record(3, "central/CentralChipSm.cpp", "handleRunning",
                                      "config genTime 1 status genTime 0", {1.0, 0.0})));
  EXPECT_EQ("resets", unit.of(record(1, "central/NestedSm_ResetSm.cpp", "x", "Reset chip C1",
                                     {std::string("C1")})));
  EXPECT_EQ("Other", unit.of(record(1, "other/Other.cpp", "x", "t", {})));
}

TEST_F(TraceTest, TheTimelineHasATrackForEachUnitAndWhatItWasDoing) {
  auto const chipMessage = [this](Ringlog::MsgId& id, char const* text) {
    Ringlog::MsgDesc message(*file_, id, "central/CentralChipSm.cpp", 88);
    message.formatString().put(Ringlog::TypeCode::String);
    message.functionIs("doReset");
    message.textIs(Ringlog::TextStyle::Braces, text);
    ASSERT_TRUE(message.finish());
    auto msg = file_->ring(2).startMsg(id.value(), Ringlog::encodedBytes(std::string_view("C1")));
    msg.put(std::string_view("C1"));
    msg.endMsg();
  };
  Ringlog::MsgId entry, reset, up;
  chipMessage(entry, "void Oru::Central::CentralChipSm::doReset(bool): {}");
  chipMessage(reset, "Reset chip {}");
  chipMessage(up, "Chip is initialized {}");
  write(1, 10);
  EXPECT_EQ(0, runPlain({"trace", path_, "--chrome", folder / "timeline.json"}));
  auto const events = Json::parse(fileText(folder / "timeline.json")).at("traceEvents");
  std::map<std::string, int> tracks;
  std::vector<std::string> spans, instants;
  double last = 0;
  for (auto const& event : events) {
    EXPECT_EQ(::getpid(), event.at("pid"));
    auto const name = event.at("name").get<std::string>();
    if (name == "thread_name") tracks[event.at("args").at("name")] = event.at("tid");
    if (event.at("ph") == "X") {
      spans.push_back(name);
      EXPECT_EQ(tracks.at("chip C1"), event.at("tid"));
      EXPECT_GE(event.at("dur"), 0.0);
    }
    if (event.at("ph") == "i") {
      instants.push_back(name);
      EXPECT_EQ(tracks.at(name == "value 10" ? "X" : "chip C1"), event.at("tid"));
      EXPECT_GE(event.at("ts"), last);
      last = event.at("ts");
    }
  }
  EXPECT_EQ(2u, tracks.size());
  EXPECT_EQ((std::vector<std::string>{"starting", "up"}), spans);
  EXPECT_EQ((std::vector<std::string>{"void Oru::Central::CentralChipSm::doReset(bool): C1",
                                      "Reset chip C1", "Chip is initialized C1", "value 10"}),
            instants);
}

TEST_F(TraceTest, ATimelineThatCannotBeWrittenIsTold) {
  EXPECT_EQ(3, runPlain({"trace", path_, "--chrome", folder / "none/timeline.json"}));
  EXPECT_EQ(
      "oructl: cannot write " + (folder / "none/timeline.json") + ": No such file or directory\n",
      err);
  EXPECT_EQ(2, runPlain({"trace", path_, "--chrome", folder / "x", "--follow"}));
  EXPECT_FALSE(std::filesystem::exists(folder / "x"));
}

TEST_F(TraceTest, ATimelineDoesNotTakeTheTracesPlace) {
  std::string const before = fileText(path_);
  EXPECT_EQ(2, runPlain({"trace", path_, "--chrome", path_}));
  EXPECT_EQ("oructl: --chrome names the trace itself\n", err);
  EXPECT_EQ(before, fileText(path_));
}

}  // namespace
