// What the machines trace, and how.

#include <set>
#include <sstream>

#include "tests/central/CentralFixture.h"
#include "tests/support/RingTrace.h"

namespace {

using namespace OruTest;

struct Site {
  std::string function, file;
  bool operator<(Site const& other) const {
    return std::tie(function, file) < std::tie(other.function, other.file);
  }
};

// Keeps where lines come from.
struct SiteSink final : Kesh::TraceSink {
  std::set<Site> sites;
  std::set<std::string> handles;
  std::string text;
  void write(Kesh::TraceLine const& line) noexcept override {
    sites.insert({line.function, line.file});
    handles.insert(line.handle);
    text.append(line.text).append("\n");
  }
};

class TracesTest : public CentralFixture {
 protected:
  // One life of a device in which every handler runs.
  void everything() {
    requestDirAppears();
    start();
    bringUp("Slice1", {"Chip1", "Chip2"});
    helper->featureColl()->featureIs("a", true);
    helper->featureColl()->featureDel("a");
    request(ResetType::slice, "", "Slice1", 5000);
    withdraw(ResetType::slice, "", "Slice1");
    hwConfig("Slice1")->chipConfigDel("Chip2");
    hwGenTimeIs("Slice1", 6);
    sliceAgentLeaves("Slice1");
    removeSlice("Slice1");
    stop();
  }
};

TEST_F(TracesTest, EveryHandlerTracesItsSignatureAtItsEntry) {
  traces("2");
  everything();
  std::set<std::string> signatures;
  std::istringstream all(journal());
  for (std::string line; std::getline(all, line);) {
    if (line.starts_with("2 void ")) signatures.insert(line.substr(2, line.find("): ") - 1));
  }
  std::set<std::string> const expected{
      "void Oru::Central::CentralSm::handleInitialized()",
      "void Oru::Central::CentralSm::syncStateOnInit()",
      "void Oru::Central::CentralSm::handleHwConfigDir()",
      "void Oru::Central::CentralSm::handleHwConfigDir(const String&)",
      "void Oru::Central::CentralSm::handleStatusDir(const String&)",
      "void Oru::Central::CentralSm::handleResetRequestDir()",
      "void Oru::Central::CentralSm::handleResetRequestDir(const String&)",
      "void Oru::Central::CentralSliceSm::handleInitialized()",
      "void Oru::Central::CentralSliceSm::updateChipSms()",
      "void Oru::Central::CentralSliceSm::handleChipStatus(const String&)",
      "void Oru::Central::CentralSliceSm::handleHwConfigInitialized()",
      "void Oru::Central::CentralSliceSm::doReset(bool)",
      "void Oru::Central::CentralSliceSm::handleDestroyed()",
      "void Oru::Central::CentralChipSm::handleInitialized()",
      "void Oru::Central::CentralChipSm::handleRunning()",
      "void Oru::Central::CentralChipSm::doReset(bool)",
      "void Oru::Central::CentralChipSm::handleDestroyed()",
      "void Oru::Central::CentralChipSm::addToSystemStatus()",
      "void Oru::Central::CentralChipSm::removeFromSystemStatus()",
      "void "
      "Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized()",
      "void "
      "Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest()",
      "void "
      "Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleSliceResetRequest("
      "const String&, "
      "Kesh::Seconds)",
      "void "
      "Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleChipResetRequest("
      "const String&, "
      "const String&, "
      "Kesh::Seconds)",
      "void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleDel(const "
      "Oru::Central::ResetKey&)"};
  EXPECT_EQ(signatures, expected);
}

TEST_F(TracesTest, WithEveryLevelOffNoTextIsWritten) {
  traces("none");
  everything();
  std::istringstream all(journal());
  for (std::string line; std::getline(all, line);) EXPECT_TRUE(line.starts_with("helper.")) << line;
}

TEST_F(TracesTest, EachLevelIsWrittenByItself) {
  for (char const* level : {"1", "2", "3", "5", "9"}) {
    device = Device::make();
    traces(level);
    everything();
    std::istringstream all(journal());
    int count = 0;
    for (std::string line; std::getline(all, line);) {
      if (line.starts_with("helper.")) continue;
      EXPECT_EQ(line.substr(0, 2), level + std::string(" "));
      ++count;
    }
    EXPECT_GT(count, 0) << level;
  }
}

TEST_F(TracesTest, NoOtherLevelIsUsed) {
  traces("4,6-8,10-16");
  everything();
  std::istringstream all(journal());
  for (std::string line; std::getline(all, line);) EXPECT_TRUE(line.starts_with("helper.")) << line;
}

TEST_F(TracesTest, LinesNameTheShortHandlerItsFileAndTheHandle) {
  SiteSink sink;
  Oru::Central::_defaultTraceHandle().sinkIs(&sink);
  traces("all");
  everything();
  Oru::Central::_defaultTraceHandle().sinkIs(&journal_);
  EXPECT_EQ(sink.handles, std::set<std::string>{"OruCentral"});
  EXPECT_TRUE(sink.sites.count({"handleChipResetRequest", "central/NestedSm_ResetSm.cpp"}));
  EXPECT_TRUE(sink.sites.count({"handleRunning", "central/CentralChipSm.cpp"}));
  EXPECT_TRUE(sink.sites.count({"handleFeatureColl", "central/FeatureCollSm.cpp"}));
  for (auto const& site : sink.sites) EXPECT_TRUE(site.file.starts_with("central/")) << site.file;
}

TEST_F(TracesTest, EntriesPrintTimesWithSixDigitsAndMessagesInFull) {
  start();
  bringUp("Slice1", {"Chip1"});
  clock.nowIs(1700000000.125);
  chipSm("Chip1")->doReset(true);
  traces("1,2,3");
  journal();
  request(ResetType::chip, "Chip1", "Slice1", 1700000000.5);
  std::string const all = journal();
  EXPECT_NE(all.find("chipName Chip1 genTime 1.7e+09\n"), std::string::npos) << all;
  hwGenTimeIs("Slice1", 1699999999.75);
  EXPECT_NE(journal().find("3 Detected a new slice inserted, hw genTime 1699999999.75\n"),
            std::string::npos);
}

TEST_F(TracesTest, TheGateLinesPrintTimesWithSixDigits) {
  start();
  insertSlice("Slice1", {}, 1699999999.75);
  traces("2");
  journal();
  sliceAgentReports("Slice1");
  EXPECT_NE(journal().find("2 hwConfig genTime=1.7e+09 hwStatus genTime=0\n"), std::string::npos);
}

TEST_F(TracesTest, TheHandlerOfAChipStatusPrintsTheSlicesName) {
  start();
  bringUp("Slice1", {"Chip1"});
  traces("2");
  journal();
  sliceSm("Slice1")->handleChipStatus("Chip1");
  EXPECT_EQ(journal().find("2 void Oru::Central::CentralSliceSm::handleChipStatus(const "
                           "String&): Slice1\n"),
            0u);
}

TEST_F(TracesTest, ASignatureWithoutArgumentsKeepsItsColonAndBlank) {
  traces("2");
  start();
  EXPECT_EQ(journal().find("helper.initialize\n"),
            std::string("2 void Oru::Central::CentralSm::handleInitialized(): \n").size());
}

// The ring channel, written to a file of its own and read back.
class RingTracesTest : public TracesTest {
 protected:
  RingTracesTest() { traces("none"); }

  // "level text" of every record since the last call.
  std::string records() {
    std::string text;
    auto const all = ring_.records();
    for (; read_ < all.size(); ++read_) {
      text += std::to_string(all[read_].level) + " " + all[read_].text + "\n";
      sites_.insert({all[read_].function, all[read_].file});
    }
    return text;
  }

  std::set<Site> sites_;

 private:
  RingTrace ring_;
  std::size_t read_ = 0;
};

TEST_F(RingTracesTest, RecordsAreWrittenWithTextOff) {
  start();
  insertSlice("Slice1", {"Chip1"});
  EXPECT_EQ(records(), lines(R"(
    2 void Oru::Central::CentralSm::handleInitialized(): 
    2 void Oru::Central::CentralSm::syncStateOnInit(): 
    2 void Oru::Central::CentralSm::handleHwConfigDir(): 
    2 void Oru::Central::CentralSm::handleResetRequestDir(): 
    2 void Oru::Central::CentralSm::handleHwConfigDir(const String&): Slice1
    3 Starting slice agent Slice1
    2 void Oru::Central::CentralSm::handleStatusDir(const String&): Slice1
  )"));
  EXPECT_TRUE(sites_.count({"handleHwConfigDir", "central/CentralSm.cpp"}));
}

TEST_F(RingTracesTest, ARequestsKeyIsTypeChipAndSliceAndArgumentsHaveNoLabels) {
  start();
  bringUp("Slice1", {"Chip1"});
  requestDirAppears();
  records();
  request(ResetType::chip, "Chip1", "Slice1", 5000);
  EXPECT_EQ(records(), lines(R"(
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleInitialized(): chip,Chip1,Slice1
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleResetRequest(): chip,Chip1,Slice1 5000
    2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleChipResetRequest(const String&, const String&, Kesh::Seconds): Chip1 5000
    1 Reset chip Chip1
    2 void Oru::Central::CentralChipSm::doReset(bool): Chip1 true
    2 void Oru::Central::CentralChipSm::removeFromSystemStatus(): Chip1
    1 Reset chip Chip1 with genTime 1003
  )"));
  withdraw(ResetType::chip, "Chip1", "Slice1");
  EXPECT_EQ(records(),
            "2 void Oru::Central::ResetRequestSm::NestedSm_ResetSm::handleDel("
            "const Oru::Central::ResetKey&): chip,Chip1,Slice1\n");
}

TEST_F(RingTracesTest, BothChannelsTellTheSameStoryOutsideOfLabels) {
  traces("1,3,5,9");
  everything();
  std::string text;
  std::istringstream all(journal());
  for (std::string line; std::getline(all, line);) {
    if (!line.starts_with("helper.")) text += line + "\n";
  }
  std::string ring;
  std::istringstream written(records());
  for (std::string line; std::getline(written, line);) {
    if (!line.starts_with("2 ")) ring += line + "\n";
  }
  EXPECT_EQ(ring, text);
}

}  // namespace
