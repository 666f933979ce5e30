#include "tools/ResetOutcome.h"

#include "tests/tools/ToolFixture.h"
#include "tools/Reset.h"

namespace {

using namespace Oru::Tools;
using Kind = ResetOutcome::Kind;

// A request of the time 1000, and the tree before it and with its answer.
class ResetOutcomeTest : public OruTest::ToolFixture {
 protected:
  static constexpr double requested = 1000.0;

  TreeData data() const { return TreeData(scanTree(tree)); }

  // "chip Slice1/Chip1 reset", ... of what the tree says now.
  std::vector<std::string> outcomes(std::string const& kind, std::vector<std::string> const& names,
                                    TreeData const& before) {
    ResetOptions options;
    options.kind = kind;
    options.names = names;
    std::vector<std::string> texts;
    for (auto& request : requestsOf(options, before, requested)) {
      request.data.genTime = Vunda::Duration(requested);  // whatever the tree knows
      for (auto const& outcome : outcomesOf(request.data, before, data()))
        texts.push_back(subjectOf(outcome) + ' ' + wordOf(outcome.kind));
    }
    return texts;
  }
};

TEST_F(ResetOutcomeTest, EachChipOfASliceIsJudgedByItself) {
  put({"hw", "config", "Slice1"},
      Json::parse(R"({"genTime": 100, "chips": {"A": {"deviceId": 0, "ports": {}},
                                                "B": {"deviceId": 1, "ports": {}},
                                                "C": {"deviceId": 2, "ports": {}}}})"));
  ASSERT_FALSE(tree.makeDirectory({"status", "Slice1"}));
  putConfig("Slice1", "A", 0, 900.0, true);
  putConfig("Slice1", "B", 1, 1000.0, true);
  auto const before = data();
  putConfig("Slice1", "A", 0, 1000.5, true);
  EXPECT_EQ((std::vector<std::string>{"chip Slice1/A reset", "chip Slice1/B outdated",
                                      "chip Slice1/C not found"}),
            outcomes("slice", {"Slice1"}, before));
}

TEST_F(ResetOutcomeTest, AnOutdatedChipTellsItsGeneration) {
  putUp("Slice1", "Chip1", 0, 1234.5);
  auto const before = data();
  Oru::Mount::Codec::ResetData request;
  request.key = {Oru::Central::ResetType::allSlices, {}, {}};
  request.genTime = Vunda::Duration(requested);
  auto const found = outcomesOf(request, before, data());
  ASSERT_EQ(1u, found.size());
  EXPECT_EQ(Kind::outdated, found[0].kind);
  EXPECT_EQ(1234.5, found[0].configured);
}

TEST_F(ResetOutcomeTest, ASliceWithoutBoardOrReportIsNotInserted) {
  putBoard("Slice1", "Chip1", 0);
  putConfig("Slice2", "Chip2", 1, 100.0, false);
  auto const before = data();
  EXPECT_EQ((std::vector<std::string>{"slice Slice1 not inserted", "slice Slice2 not inserted"}),
            outcomes("slice", {"Slice1", "Slice2"}, before));
  EXPECT_EQ((std::vector<std::string>{"chip Slice1/Chip1 not inserted",
                                      "chip Slice2/Chip2 not inserted"}),
            outcomes("chip", {"Chip1", "Chip2"}, before));
  EXPECT_EQ((std::vector<std::string>{"slice Slice1 not inserted"}), outcomes("all", {}, before));
}

// Its last good file is in force.
TEST_F(ResetOutcomeTest, ASliceWhoseBoardCannotBeReadJustNowIsInserted) {
  putUp("Slice1", "Chip1", 0, 200.0);
  auto const before = data();
  putText({"hw", "config", "Slice1"}, "nonsense");
  putConfig("Slice1", "Chip1", 0, 1001.0, false);
  EXPECT_EQ((std::vector<std::string>{"chip Slice1/Chip1 reset"}),
            outcomes("slice", {"Slice1"}, before));
}

TEST_F(ResetOutcomeTest, AChipThatWasResetAndThenPulledWasReset) {
  putUp("Slice1", "Chip1", 0, 200.0);
  auto const before = data();
  putConfig("Slice1", "Chip1", 0, 1001.0, false);
  ASSERT_FALSE(tree.remove({"hw", "config", "Slice1"}));
  EXPECT_EQ((std::vector<std::string>{"chip Slice1/Chip1 reset"}),
            outcomes("chip", {"Chip1"}, before));
  ResetOutcome const outcome{Kind::reset, "Slice1", "Chip1", {}, 0};
  EXPECT_EQ(Return::gone, returnOf(outcome, requested, data()));
}

TEST_F(ResetOutcomeTest, AChipIsBackWhenItIsPublishedWithItsGeneration) {
  putUp("Slice1", "Chip1", 0, 200.0);
  ResetOutcome const outcome{Kind::reset, "Slice1", "Chip1", {}, 0};
  putConfig("Slice1", "Chip1", 0, 1001.0, true);
  EXPECT_EQ(Return::pending, returnOf(outcome, requested, data()));
  putPublished("Slice1", "Chip1", 0, 1001.0);
  EXPECT_EQ(Return::running, returnOf(outcome, requested, data()));
  putConfig("Slice1", "Chip1", 0, 1002.0, true);  // yet another reset
  EXPECT_EQ(Return::pending, returnOf(outcome, requested, data()));
}

TEST_F(ResetOutcomeTest, FeatureAgentsAreThoseThatAreWanted) {
  put({"launcher", "feature", "Telemetry"}, Json::object());
  put({"launcher", "chip", "Chip1"}, Json::object());
  auto const before = data();
  put({"launcher", "feature", "Telemetry"}, {{"restart", requested}});
  EXPECT_EQ((std::vector<std::string>{"feature agent Telemetry reset"}),
            outcomes("features", {}, before));
  ResetOutcome const outcome{Kind::reset, {}, {}, "Telemetry", 0};
  auto status = running(5);
  put({"launcher-status", "feature", "Telemetry"}, status);
  EXPECT_EQ(Return::pending, returnOf(outcome, requested, data()));
  status["restart"] = requested;
  put({"launcher-status", "feature", "Telemetry"}, status);
  EXPECT_EQ(Return::running, returnOf(outcome, requested, data()));
  ASSERT_FALSE(tree.remove({"launcher", "feature", "Telemetry"}));
  EXPECT_EQ(Return::gone, returnOf(outcome, requested, data()));
}

TEST_F(ResetOutcomeTest, AFeatureAgentThatWasNotRestartedForTheRequestIsOutdated) {
  put({"launcher", "feature", "Newer"}, {{"restart", 1001.0}});
  put({"launcher", "feature", "Never"}, Json::object());
  put({"launcher", "feature", "Older"}, {{"restart", 900.0}});
  put({"launcher", "feature", "Same"}, {{"restart", requested}});
  auto const before = data();
  put({"launcher", "feature", "Added"}, Json::object());
  EXPECT_EQ(
      (std::vector<std::string>{"feature agent Never outdated", "feature agent Newer outdated",
                                "feature agent Older outdated", "feature agent Same outdated"}),
      outcomes("features", {}, before));
  // Added before the answer.
  for (auto const* feature : {"Added", "Never", "Older"})
    put({"launcher", "feature", feature}, {{"restart", requested}});
  EXPECT_EQ((std::vector<std::string>{"feature agent Added reset", "feature agent Never reset",
                                      "feature agent Newer outdated", "feature agent Older reset",
                                      "feature agent Same outdated"}),
            outcomes("features", {}, before));
}

TEST_F(ResetOutcomeTest, AnAnswerHasTheRequestsTime) {
  putReset("status", "oructl", "allSlices", 999.0);
  EXPECT_FALSE(isAnswered(data(), {"oructl", "allSlices"}, requested));
  putReset("status", "oructl", "allSlices", requested);
  EXPECT_TRUE(isAnswered(data(), {"oructl", "allSlices"}, requested));
  EXPECT_FALSE(isAnswered(data(), {"other", "allSlices"}, requested));
}

}  // namespace
