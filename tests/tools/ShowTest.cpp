#include "tools/Show.h"

#include "tests/tools/ToolFixture.h"

namespace {

using Json = nlohmann::json;

// A slice that is up, one that starts, and one that waits for its agent.
class ShowTest : public OruTest::ToolFixture {
 protected:
  void fill() {
    putUp("Slice1", "Chip1", 0, 200.25);
    put({"launcher-status", "slice", "Slice1"}, running(11));
    put({"launcher-status", "chip", "Chip1"}, running(12));
    putBoard("Slice2", "Chip2", 1);
    putStarted("Slice2", "Chip2", 1, 300.5);
    put({"launcher-status", "chip", "Chip2"}, crashed());
    putBoard("Slice10", "Chip10", 2);
    put({"features", "Telemetry"}, {{"enabled", true}});
    put({"features", "Mirror"}, {{"enabled", false}});
    put({"launcher", "feature", "Telemetry"}, Json::object());
    putReset("request", "monitor", "chip", 250.0, "Slice1", "Chip1");
    putReset("status", "monitor", "chip", 250.0, "Slice1", "Chip1");
    putReset("request", "oructl", "allSlices", 400.0);
  }
};

TEST_F(ShowTest, SlicesTellStateAndChips) {
  fill();
  EXPECT_EQ(0, run({"show", "slices"}));
  EXPECT_EQ(
      "SLICE    STATE     CHIPS UP  INSERTED                 TAKEN OVER               AGENT\n"
      "Slice1   up        1 of 1    1970-01-01 00:01:40.500  1970-01-01 00:01:40.500  running\n"
      "Slice2   starting  0 of 1    1970-01-01 00:01:40.500  1970-01-01 00:01:40.500  none\n"
      "Slice10  waiting   0 of 1    1970-01-01 00:01:40.500  -                        none\n",
      out);
  EXPECT_EQ("", err);
}

TEST_F(ShowTest, ChipsTellGenerationAndAgent) {
  fill();
  EXPECT_EQ(0, run({"show", "chips"}));
  EXPECT_EQ(
      "SLICE    CHIP    DEVICE  STATE     GENERATION               REPORTED  INTERFACES  AGENT\n"
      "Slice1   Chip1        0  up        1970-01-01 00:03:20.250  same               1  running\n"
      "Slice2   Chip2        1  starting  1970-01-01 00:05:00.500  -                  1  backoff\n"
      "Slice10  Chip10       2  waiting   -                        -                  0  none\n",
      out);
}

TEST_F(ShowTest, InterfacesTellWhereTheySit) {
  fill();
  EXPECT_EQ(0, run({"show", "interfaces"}));
  EXPECT_EQ(
      "INTERFACE  STATE  SLICE    CHIP    DEVICE  PORT\n"
      "Eth0       up     Slice1   Chip1        0     1\n"
      "Eth1       down   Slice2   Chip2        1     1\n"
      "Eth2       down   Slice10  Chip10       2     1\n",
      out);
}

TEST_F(ShowTest, FeaturesTellTheirSwitchAndAgent) {
  fill();
  EXPECT_EQ(0, run({"show", "features"}));
  EXPECT_EQ(
      "FEATURE    SWITCHED  AGENT\n"
      "Mirror     off       none\n"
      "Telemetry  on        none\n",
      out);
}

TEST_F(ShowTest, ResetsTellWhoAskedAndWhetherItWasAnswered) {
  fill();
  EXPECT_EQ(0, run({"show", "resets"}));
  EXPECT_EQ(
      "REQUESTED                BY       RESET OF           STATE     REASON         CAUSE\n"
      "1970-01-01 00:04:10.000  monitor  chip Slice1/Chip1  answered  hardwareFault  CRC errors\n"
      "1970-01-01 00:06:40.000  oructl   all slices         pending   hardwareFault  CRC errors\n",
      out);
}

TEST_F(ShowTest, AgentsTellTheirProcesses) {
  fill();
  EXPECT_EQ(0, run({"show", "agents"}));
  EXPECT_EQ(
      "KIND     AGENT      STATE    PID  SINCE                    STARTS  RESTARTS  CRASHES  "
      "REMARK\n"
      "slice    Slice1     running   11  1970-01-01 00:03:20.000       1         0        0\n"
      "slice    Slice2     none       -  -                             -         -        -  "
      "not started yet\n"
      "slice    Slice10    none       -  -                             -         -        -  "
      "not started yet\n"
      "chip     Chip1      running   12  1970-01-01 00:03:20.000       1         0        0\n"
      "chip     Chip2      backoff    -  1970-01-01 00:05:00.000       3         1        2  "
      "killed by signal 9 (Killed)\n"
      "feature  Telemetry  none       -  -                             -         -        -  "
      "not started yet\n",
      out);
}

TEST_F(ShowTest, TheOverviewCountsAndPointsOutWhatIsNotInOrder) {
  fill();
  EXPECT_EQ(0, run({"show"}));
  EXPECT_EQ("state tree " + root +
                "\n\n"
                "WHAT        COUNT  STATES\n"
                "slices          3  1 up, 1 starting, 1 waiting\n"
                "chips           3  1 up, 1 starting, 1 waiting\n"
                "interfaces      3  1 up, 2 down\n"
                "features        2  1 off, 1 on\n"
                "agents          6  2 running, 3 none, 1 backoff\n"
                "resets          2  1 answered, 1 pending\n"
                "problems        0\n"
                "\n"
                "not in order:\n"
                "  slice Slice10 is waiting\n"
                "  chip Slice2/Chip2 is starting\n"
                "  chip Chip2 agent is in backoff: killed by signal 9 (Killed)\n",
            out);
}

TEST_F(ShowTest, ProblemsAreThoseOfAllProgramsAndTheAnswerIsNo) {
  EXPECT_EQ(0, run({"show", "problems"}));
  EXPECT_EQ("there are no problems\n", out);
  put({"problems", "oru-agent"}, {{"problems",
                                   {{{"file", "features/F.json"},
                                     {"activity", "read"},
                                     {"place", "enabled"},
                                     {"reason", "is missing"},
                                     {"since", 100.0}}}}});
  putText({"features", "F"}, "{}");
  putText({"features", "G"}, "{");
  EXPECT_EQ(1, run({"show", "problems"}));
  EXPECT_EQ(
      "SINCE                    TOLD BY    PROBLEM\n"
      "1970-01-01 00:01:40.000  oru-agent  cannot read features/F.json: enabled is missing\n"
      "-                        oructl     cannot read features/G.json: is not JSON: line 1, "
      "column "
      "2\n",
      out);
}

TEST_F(ShowTest, ProblemsThatAProgramHasNoRoomForAreCounted) {
  Json const problem{{"file", "features/F.json"},
                     {"activity", "read"},
                     {"place", "enabled"},
                     {"reason", "is missing"},
                     {"since", 100.0}};
  put({"problems", "oru-agent"}, {{"problems", {problem}}, {"more", 41}});
  putText({"features", "G"}, "{");  // may be one of those
  EXPECT_EQ(1, run({"show", "problems"}));
  EXPECT_EQ(
      "SINCE                    TOLD BY    PROBLEM\n"
      "1970-01-01 00:01:40.000  oru-agent  cannot read features/F.json: enabled is missing\n"
      "-                        oru-agent  and 41 more\n",
      out);
  EXPECT_EQ(Json::parse(R"({"oru-agent": 41})"), document({"show", "problems", "--json"})["more"]);
  EXPECT_EQ(Json::parse(R"({"count": 42, "states": {"oru-agent": 42}})"),
            document({"show", "--json"})["problems"]);
  EXPECT_EQ("oru-agent has 41 problems more",
            document({"show", "--json"})["remarks"].back().get<std::string>());
  run({"top"});
  EXPECT_NE(std::string::npos, out.find("42 problems")) << out;
}

TEST_F(ShowTest, WhatCannotBeReadIsToldOnce) {
  putText({"features", "F"}, "{");
  std::string const problem = "cannot read features/F.json: is not JSON: line 1, column 2\n";
  run({"show"});
  EXPECT_NE(std::string::npos, out.find("oructl " + problem)) << out;
  EXPECT_EQ("", err);
  run({"show", "features"});
  EXPECT_EQ("there are no features\n", out);
  EXPECT_EQ("oructl: " + problem, err);
}

TEST_F(ShowTest, OutputThatCannotBeWrittenIsAFailure) {
  std::ostringstream full, errors;
  full.setstate(std::ios::badbit);
  EXPECT_EQ(5, Oru::Tools::runCommandLine({"--tree", root, "show"}, {full, errors}));
  EXPECT_EQ("oructl: the output cannot be written\n", errors.str());
}

TEST_F(ShowTest, AnEmptyTreeIsShownAsSuch) {
  for (auto const& [section, text] : {std::pair("slices", "there are no slices\n"),
                                      {"chips", "there are no chips\n"},
                                      {"interfaces", "there are no interfaces\n"},
                                      {"features", "there are no features\n"},
                                      {"resets", "there are no reset requests\n"},
                                      {"agents", "there are no agents\n"}}) {
    EXPECT_EQ(0, run({"show", section}));
    EXPECT_EQ(text, out);
    EXPECT_EQ("", err);
  }
}

TEST_F(ShowTest, ATreeThatIsNotThereIsToldWithItsName) {
  EXPECT_EQ(3, runPlain({"--tree", folder / "none", "show"}));
  EXPECT_EQ("oructl: cannot use " + (folder / "none") +
                ": there is no such folder\n"
                "Give the folder of the state tree with --tree DIR or in the environment as "
                "ORU_TREE.\n",
            err);
  EXPECT_EQ("", out);
}

TEST_F(ShowTest, EveryDocumentNamesItsSchemaTreeAndTime) {
  fill();
  for (std::string const section :
       {"", "slices", "chips", "interfaces", "features", "resets", "agents", "problems"}) {
    auto const json =
        section.empty() ? document({"show", "--json"}) : document({"show", section, "--json"});
    EXPECT_EQ("oructl.show." + (section.empty() ? "overview" : section), json.at("schema"));
    EXPECT_EQ(1, json.at("version"));
    EXPECT_EQ(root, json.at("tree"));
    EXPECT_GT(json.at("time"), 1e9);
    EXPECT_EQ(Json::array(), json.at("unreadable"));
    EXPECT_TRUE(section.empty() || json.at(section).is_array()) << section;
  }
}

TEST_F(ShowTest, DocumentsSayWhatTheTablesSay) {
  fill();
  EXPECT_EQ(Json::parse(R"({"name": "Slice1", "state": "up", "chips": 1, "chipsUp": 1,
                            "genTime": 100.5, "takenOver": 100.5,
                            "agent": {"state": "running", "since": 200.0, "pid": 11, "starts": 1,
                                      "wantedRestarts": 0, "crashes": 0, "lastExit": null,
                                      "nextStart": null, "problem": null}})"),
            document({"show", "slices", "--json"})["slices"][0]);
  EXPECT_EQ(
      Json::parse(R"json({"slice": "Slice2", "name": "Chip2", "deviceId": 1, "state": "starting",
                            "genTime": 300.5, "reported": null, "interfaces": 1,
                            "agent": {"state": "backoff", "since": 300.0, "pid": null, "starts": 3,
                                      "wantedRestarts": 1, "crashes": 2,
                                      "lastExit": {"time": 300.0,
                                                   "reason": "killed by signal 9 (Killed)"},
                                      "nextStart": 301.0, "problem": null}})json"),
      document({"show", "chips", "--json"})["chips"][1]);
  EXPECT_EQ(Json::parse(R"({"name": "Eth1", "state": "down", "slice": "Slice2", "chip": "Chip2",
                            "deviceId": 1, "port": 1})"),
            document({"show", "interfaces", "--json"})["interfaces"][1]);
  EXPECT_EQ(Json::parse(R"([{"name": "Mirror", "enabled": false, "agent": null},
                            {"name": "Telemetry", "enabled": true, "agent": null}])"),
            document({"show", "features", "--json"})["features"]);
  EXPECT_EQ(Json::parse(R"({"requester": "oructl", "type": "allSlices", "slice": null, "chip": null,
                            "state": "pending", "cause": "CRC errors", "reason": 3,
                            "genTime": 400.0})"),
            document({"show", "resets", "--json"})["resets"][1]);
  EXPECT_EQ(Json::parse(R"({"kind": "slice", "name": "Slice2", "wanted": true, "process": null})"),
            document({"show", "agents", "--json"})["agents"][1]);
  EXPECT_EQ(Json::parse(R"({"count": 3, "states": {"up": 1, "starting": 1, "waiting": 1}})"),
            document({"show", "--json"})["chips"]);
}

TEST_F(ShowTest, AChipWhoseAgentFellBackIsNotUp) {
  putUp("Slice1", "Chip1", 0, 200.25);
  putStatus("Slice1", "Chip1", 0, 150.0);
  EXPECT_EQ("starting", document({"show", "chips", "--json"})["chips"][0]["state"]);
  EXPECT_EQ(150.0, document({"show", "chips", "--json"})["chips"][0]["reported"]);
  putConfig("Slice1", "Chip1", 0, 200.25, false);
  EXPECT_EQ("stopped", document({"show", "chips", "--json"})["chips"][0]["state"]);
}

TEST_F(ShowTest, APulledSliceIsLeavingUntilItsAgentIsGone) {
  putUp("Slice1", "Chip1", 0, 200.25);
  ASSERT_FALSE(tree.remove({"hw", "config", "Slice1"}));
  EXPECT_EQ("leaving", document({"show", "slices", "--json"})["slices"][0]["state"]);
  EXPECT_EQ("leaving", document({"show", "chips", "--json"})["chips"][0]["state"]);
  ASSERT_FALSE(tree.removeDirectory({"status", "Slice1"}));
  ASSERT_FALSE(tree.remove({"system", "chips", "0"}));
  ASSERT_FALSE(tree.remove({"launcher", "slice", "Slice1"}));
  EXPECT_EQ(Json::array(), document({"show", "slices", "--json"})["slices"]);
}

TEST_F(ShowTest, AnAgentWhoseEntryCannotBeReadIsWantedNonetheless) {
  put({"launcher-status", "chip", "Chip1"}, running(11));
  EXPECT_FALSE(document({"show", "agents", "--json"})["agents"][0]["wanted"]);
  putText({"launcher", "chip", "Chip1"}, "nonsense");
  EXPECT_TRUE(document({"show", "agents", "--json"})["agents"][0]["wanted"]);
  ASSERT_EQ(0, run({"show", "agents"}));
  EXPECT_NE(std::string::npos, out.find("its entry cannot be read"));
}

}  // namespace
