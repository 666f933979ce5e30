#include "sim/Narrator.h"

#include <gtest/gtest.h>

namespace Oru::Sim {
namespace {

using Mount::TreePath;
using nlohmann::json;
using Lines = std::vector<std::string>;

// What is said of a file that had one text and has another, "" for none, in a run that began at the
// time 1000. Behind each line stands its tone.
Lines toldOf(TreePath const& path, std::string const& before, std::string const& after,
             bool directory = false) {
  auto const content = [](std::string const& text) {
    return text.empty() ? json() : json::parse(text);
  };
  static constexpr char const* tones[] = {"", " (good)", " (bad)", " (quiet)"};
  Lines lines;
  for (auto const& event :
       Narrator(1000.0).eventsOf({path, directory, content(before), content(after)}))
    lines.push_back(event.text + tones[static_cast<std::size_t>(event.tone)]);
  return lines;
}

TEST(Narrator, BoardsComeAreReplacedAndGo) {
  TreePath const path{"hw", "config", "Slice1"};
  std::string const board =
      R"({"genTime": 1001.25, "chips": {"A": {"ports": {"1": "E1", "2": "E2"}}, "B": {"ports": {}}}})";
  EXPECT_EQ(Lines{"board Slice1 inserted: 2 chips, 2 ports, generation +1.250000 (good)"},
            toldOf(path, "", board));
  EXPECT_EQ(Lines{"board Slice1 replaced: 0 chips, 0 ports, generation 0 (good)"},
            toldOf(path, board, R"({"genTime": 0, "chips": {}})"));
  EXPECT_EQ(Lines{"board Slice1 pulled (bad)"}, toldOf(path, board, ""));
}

TEST(Narrator, AChipsConfigurationIsToldWhenItsGenerationIsAnother) {
  TreePath const path{"config", "Slice1", "Chip1"};
  std::string const none = R"({"enabled": false, "genTime": 0, "syncGenTime": 0})";
  std::string const first = R"({"enabled": true, "genTime": 999.5, "syncGenTime": 1})";
  EXPECT_EQ(Lines{}, toldOf(path, "", none));
  EXPECT_EQ(Lines{"chip Chip1 is to run generation -0.500000 (quiet)"}, toldOf(path, none, first));
  EXPECT_EQ(Lines{}, toldOf(path, first, R"({"enabled": true, "genTime": 999.5})"));
  EXPECT_EQ(Lines{"chip Chip1 is to stop (quiet)"},
            toldOf(path, first, R"({"enabled": false, "genTime": 1001})"));
  EXPECT_EQ(Lines{}, toldOf(path, first, ""));
}

TEST(Narrator, ReportsAreToldWhenTheirGenerationIsAnother) {
  TreePath const path{"status", "Slice1", "Chip1"};
  EXPECT_EQ(Lines{}, toldOf(path, "", R"({"genTime": 0})"));
  EXPECT_EQ(Lines{"chip Chip1 reports generation +2.000000 (quiet)"},
            toldOf(path, R"({"genTime": 0})", R"({"genTime": 1002})"));
  EXPECT_EQ(Lines{},
            toldOf(path, R"({"genTime": 1002})", R"({"genTime": 1002, "intfToPortId": {}})"));
}

TEST(Narrator, AStatusDirectoryIsTheSliceAgentsWord) {
  EXPECT_EQ(Lines{"slice Slice1 reports its board (quiet)"},
            toldOf({"status", "Slice1"}, "false", "true", true));
  EXPECT_EQ(Lines{"slice Slice1 has no status (quiet)"},
            toldOf({"status", "Slice1"}, "true", "false", true));
  EXPECT_EQ(Lines{}, toldOf({"config", "Slice1"}, "false", "true", true));
}

TEST(Narrator, ChipsArePublishedAndWithdrawn) {
  TreePath const path{"system", "chips", "7"};
  std::string const chip = R"({"deviceId": 7, "name": "Chip1", "interfaces": ["E1"]})";
  EXPECT_EQ(Lines{"chip Chip1 published: device 7, 1 interface (good)"}, toldOf(path, "", chip));
  EXPECT_EQ(Lines{"chip Chip1 withdrawn (bad)"}, toldOf(path, chip, ""));
  EXPECT_EQ(Lines{}, toldOf({"system", "slices", "Slice1"}, "", R"({"chips": [7]})"));
}

TEST(Narrator, FeaturesAreSwitched) {
  TreePath const path{"features", "telemetry"};
  EXPECT_EQ(Lines{"feature telemetry switched on"}, toldOf(path, "", R"({"enabled": true})"));
  EXPECT_EQ(Lines{"feature telemetry switched off"}, toldOf(path, "", R"({"enabled": false})"));
  EXPECT_EQ(Lines{"feature telemetry removed"}, toldOf(path, R"({"enabled": true})", ""));
}

TEST(Narrator, ResetsAreRequestedAndAnswered) {
  TreePath const request{"reset", "request", "me", "slice,Slice1"};
  TreePath const answer{"reset", "status", "me", "slice,Slice1"};
  EXPECT_EQ(Lines{"reset slice,Slice1 of me requested"}, toldOf(request, "", "{}"));
  EXPECT_EQ(Lines{"reset slice,Slice1 of me answered"}, toldOf(answer, "", "{}"));
  EXPECT_EQ(Lines{"reset slice,Slice1 of me taken back (quiet)"}, toldOf(request, "{}", ""));
  EXPECT_EQ(Lines{"reset slice,Slice1 of me: answer removed (quiet)"}, toldOf(answer, "{}", ""));
}

TEST(Narrator, ProcessesStartEndAndFail) {
  TreePath const path{"launcher-status", "chip", "Chip1"};
  std::string const runs = R"({"state": "running", "pid": 7, "starts": 1})";
  EXPECT_EQ(Lines{"chip agent Chip1 started, pid 7"}, toldOf(path, "", runs));
  EXPECT_EQ(Lines{}, toldOf(path, runs, R"({"state": "running", "pid": 7, "restart": 3})"));
  EXPECT_EQ(Lines{"chip agent Chip1 taken up, pid 8"},
            toldOf(path, runs, R"({"state": "running", "pid": 8, "starts": 1})"));
  EXPECT_EQ(Lines{"chip agent Chip1 killed by signal 9 (Killed), ended by itself 2 times (bad)"},
            toldOf(path, runs,
                   R"json({"state": "backoff", "restarts": {"wanted": 0, "crashes": 2},
                           "lastExit": {"reason": "killed by signal 9 (Killed)"}})json"));
  EXPECT_EQ(Lines{"chip agent Chip1 cannot start: no such program (bad)"},
            toldOf(path, runs, R"({"state": "failed", "problem": "no such program"})"));
  EXPECT_EQ(Lines{"chip agent Chip1 stopping (quiet)"},
            toldOf(path, runs, R"({"state": "stopping", "pid": 7})"));
  EXPECT_EQ(Lines{"chip agent Chip1 ended (quiet)"}, toldOf(path, runs, ""));
}

TEST(Narrator, ProblemsAreToldOnceAndWhenTheyAreSettled) {
  TreePath const path{"problems", "oru-agent"};
  std::string const first =
      R"({"file": "a.json", "activity": "read", "place": "b", "reason": "is missing", "since": )";
  std::string const second =
      R"({"file": "c.json", "activity": "write", "place": "", "reason": "No space", "since": 1})";
  EXPECT_EQ(Lines{"oru-agent has a problem with a.json: b is missing (bad)"},
            toldOf(path, R"({"problems": []})", R"({"problems": [)" + first + "1}]}"));
  EXPECT_EQ(Lines{"oru-agent has a problem with c.json: No space (bad)"},
            toldOf(path, R"({"problems": [)" + first + "1}]}",
                   R"({"problems": [)" + first + "2}, " + second + "]}"));
  EXPECT_EQ(Lines{"oru-agent has no more problem with c.json: No space (good)"},
            toldOf(path, R"({"problems": [)" + second + "]}", ""));
}

TEST(Narrator, FilesOfAnyShapeAndPlaceAreBorne) {
  std::vector<TreePath> const paths{{"hw", "config", "S"},
                                    {"config", "S", "C"},
                                    {"status", "S", "C"},
                                    {"system", "chips", "1"},
                                    {"features", "F"},
                                    {"reset", "request", "me", "allSlices"},
                                    {"launcher-status", "chip", "C"},
                                    {"problems", "oru-agent"},
                                    {"nowhere"},
                                    {"a", "b", "c", "d", "e"}};
  for (auto const& path : paths)
    for (auto const* text :
         {"[]", "3", "{}", "\"x\"", R"({"chips": 1, "genTime": "x", "interfaces": 2})",
          R"({"chips": [1], "problems": [1]})", R"({"state": "backoff"})", R"({"state": "failed"})",
          R"({"state": "backoff", "restarts": {"crashes": "x"}, "lastExit": 1})"}) {
      EXPECT_NO_THROW(toldOf(path, "", text)) << path.text() << ' ' << text;
      EXPECT_NO_THROW(toldOf(path, text, "")) << path.text() << ' ' << text;
    }
}

}  // namespace
}  // namespace Oru::Sim
