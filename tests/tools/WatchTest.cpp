#include "tools/Watch.h"

#include "tests/mount/LoopTurns.h"
#include "tests/tools/ToolFixture.h"

namespace {

using Json = nlohmann::json;

// Watches while the test changes the tree; what comes out is compared line by line, without times.
class WatchTest : public OruTest::ToolFixture {
 protected:
  void watch(bool json = false) {
    json_ = json;
    watch_ = std::make_unique<Oru::Tools::Watch>(loop_, context_, json);
    EXPECT_EQ("", text_.str());
  }
  // The lines up to the one that holds the text.
  std::vector<std::string> linesUntil(std::string const& text) {
    EXPECT_TRUE(OruTest::turnUntil(loop_, [&] {
      return text_.str().find(text) != std::string::npos;
    })) << text_.str();
    return lines();
  }
  std::vector<std::string> lines() {
    std::vector<std::string> found;
    std::istringstream stream(text_.str());
    for (std::string line; std::getline(stream, line);)
      found.push_back(json_ ? line : line.substr(line.find("  ") + 2));
    text_.str("");
    return found;
  }

  Oru::Mount::EventLoop loop_;

 private:
  bool json_ = false;
  std::ostringstream text_;
  Oru::Tools::Context context_{root, text_, text_, Oru::Tools::Style(), Oru::Tools::Style()};
  std::unique_ptr<Oru::Tools::Watch> watch_;
};

using Lines = std::vector<std::string>;

TEST_F(WatchTest, WhatStandsAtTheStartIsNoEvent) {
  putUp("Slice1", "Chip1", 0, 200.0);
  putText({"features", "Bad"}, "x");
  watch();
  OruTest::settle(loop_);
  EXPECT_EQ(Lines(), lines());
}

TEST_F(WatchTest, TheLifeOfAChipIsToldStepByStep) {
  for (auto const& directory :
       {TreePath{"hw", "config"}, TreePath{"hw", "status"}, TreePath{"config"}, TreePath{"status"},
        TreePath{"system", "chips"}, TreePath{"system", "interfaces"},
        TreePath{"launcher", "slice"}, TreePath{"launcher", "chip"}})
    ASSERT_FALSE(tree.makeDirectory(directory));
  watch();
  putBoard("Slice1", "Chip1", 0);
  EXPECT_EQ((Lines{"slice Slice1 inserted, 1 chip", "slice agent Slice1 is to run"}),
            linesUntil("is to run"));
  put({"hw", "status", "Slice1"}, {{"genTime", 100.5}});
  EXPECT_EQ(Lines{"slice Slice1 taken over"}, linesUntil("taken over"));
  ASSERT_FALSE(tree.makeDirectory({"status", "Slice1"}));
  EXPECT_EQ(Lines{"slice agent of Slice1 reports"}, linesUntil("reports"));
  putStatus("Slice1", "Chip1", 0, 0.0);
  EXPECT_EQ(Lines{"agent of chip Slice1/Chip1 reports that it does not run"},
            linesUntil("not run"));
  ASSERT_FALSE(tree.makeDirectory({"config", "Slice1"}));
  putConfig("Slice1", "Chip1", 0, 200.25, true);
  EXPECT_EQ(Lines{"chip Slice1/Chip1 is to run generation 1970-01-01 00:03:20.250"},
            linesUntil("is to run"));
  putStatus("Slice1", "Chip1", 0, 200.25);
  EXPECT_EQ(Lines{"agent of chip Slice1/Chip1 reports generation 1970-01-01 00:03:20.250, 1 "
                  "interface"},
            linesUntil("interface"));
  putPublished("Slice1", "Chip1", 0, 200.25);
  EXPECT_EQ(Lines{"chip Slice1/Chip1 published: device 0, 1 interface"}, linesUntil("published"));
  ASSERT_FALSE(tree.remove({"system", "chips", "0"}));
  EXPECT_EQ(Lines{"chip Slice1/Chip1 withdrawn"}, linesUntil("withdrawn"));
  putConfig("Slice1", "Chip1", 0, 200.25, false);
  EXPECT_EQ(Lines{"chip Slice1/Chip1 is to stop"}, linesUntil("is to stop"));
  ASSERT_FALSE(tree.removeDirectory({"status", "Slice1"}));
  EXPECT_EQ((Lines{"agent of chip Slice1/Chip1 reports no more",
                   "slice agent of Slice1 reports no more"}),
            linesUntil("of Slice1 reports no more"));
  ASSERT_FALSE(tree.remove({"hw", "config", "Slice1"}));
  EXPECT_EQ(Lines{"slice Slice1 removed"}, linesUntil("removed"));
}

TEST_F(WatchTest, AgentsFeaturesAndResetsAreTold) {
  for (auto const& directory :
       {TreePath{"launcher", "feature"}, TreePath{"launcher-status", "feature"},
        TreePath{"features"}, TreePath{"reset", "request", "oructl"},
        TreePath{"reset", "status", "oructl"}})
    ASSERT_FALSE(tree.makeDirectory(directory));
  watch();
  put({"features", "F"}, {{"enabled", true}});
  EXPECT_EQ(Lines{"feature F is on"}, linesUntil("is on"));
  put({"launcher-status", "feature", "F"}, running(12));
  EXPECT_EQ(Lines{"feature agent F running, pid 12"}, linesUntil("pid 12"));
  put({"launcher-status", "feature", "F"}, crashed());
  EXPECT_EQ(Lines{"feature agent F backoff: killed by signal 9 (Killed)"}, linesUntil("backoff"));
  put({"launcher", "feature", "F"}, {{"restart", 5.0}});
  EXPECT_EQ(Lines{"feature agent F is to run"}, linesUntil("is to run"));
  put({"launcher", "feature", "F"}, {{"restart", 6.0}});
  EXPECT_EQ(Lines{"feature agent F is to be restarted"}, linesUntil("restarted"));
  ASSERT_FALSE(tree.remove({"launcher", "feature", "F"}));
  EXPECT_EQ(Lines{"feature agent F is to end"}, linesUntil("is to end"));
  ASSERT_FALSE(tree.remove({"launcher-status", "feature", "F"}));
  EXPECT_EQ(Lines{"feature agent F gone"}, linesUntil("gone"));
  ASSERT_FALSE(tree.remove({"features", "F"}));
  EXPECT_EQ(Lines{"feature F removed"}, linesUntil("removed"));
  putReset("request", "oructl", "allSlices", 400.0);
  EXPECT_EQ(Lines{"reset of all slices for oructl requested: CRC errors"}, linesUntil("requested"));
  putReset("status", "oructl", "allSlices", 400.0);
  EXPECT_EQ(Lines{"reset of all slices for oructl answered"}, linesUntil("answered"));
  ASSERT_FALSE(tree.remove({"reset", "request", "oructl", "allSlices"}));
  EXPECT_EQ(Lines{"reset of all slices for oructl withdrawn"}, linesUntil("withdrawn"));
}

TEST_F(WatchTest, ABadFileIsAProblemUntilItIsPutRight) {
  ASSERT_FALSE(tree.makeDirectory({"features"}));
  watch();
  putText({"features", "F"}, "{");
  EXPECT_EQ(Lines{"oructl: cannot read features/F.json: is not JSON: line 1, column 2"},
            linesUntil("cannot read"));
  put({"features", "F"}, {{"enabled", false}});
  EXPECT_EQ((Lines{"feature F is off", "oructl, in order again: features/F.json"}),
            linesUntil("in order"));
  std::ofstream(root + "/features/x.txt") << "x";
  EXPECT_EQ(Lines{"oructl: cannot read features/x.txt: is not a .json file"},
            linesUntil("cannot read"));
  std::filesystem::remove(root + "/features/x.txt");
  EXPECT_EQ(Lines{"oructl, in order again: features/x.txt"}, linesUntil("in order"));
}

TEST_F(WatchTest, ProblemsOfProgramsComeAndGoOneByOne) {
  ASSERT_FALSE(tree.makeDirectory({"problems"}));
  watch();
  auto const problem = [](char const* file) {
    return Json{{"file", file},
                {"activity", "write"},
                {"place", ""},
                {"reason", "disk full"},
                {"since", 5.0}};
  };
  put({"problems", "oru-agent"}, {{"problems", {problem("a"), problem("b")}}});
  EXPECT_EQ((Lines{"oru-agent: cannot write a: disk full", "oru-agent: cannot write b: disk full"}),
            linesUntil("write b"));
  put({"problems", "oru-agent"}, {{"problems", {problem("b")}}});
  EXPECT_EQ(Lines{"oru-agent, in order again: a"}, linesUntil("in order"));
}

TEST_F(WatchTest, ATreeThatGoesAndComesBackIsToldAndItsChangesToo) {
  put({"features", "F"}, {{"enabled", true}});
  watch();
  std::filesystem::rename(root, folder / "away");
  EXPECT_EQ(Lines{"the tree is away: the root is gone or another one"}, linesUntil("away"));
  std::ofstream(folder / "away/features/F.json") << "{\"enabled\": false}";
  std::filesystem::rename(folder / "away", root);
  EXPECT_EQ((Lines{"the tree is back", "feature F is off"}), linesUntil("is off"));
}

TEST_F(WatchTest, JsonLinesHaveSchemaEventFileAndFields) {
  ASSERT_FALSE(tree.makeDirectory({"system", "chips"}));
  watch(true);
  putPublished("Slice1", "Chip1", 0, 200.25);
  auto line = Json::parse(linesUntil("published").at(0));
  EXPECT_GT(line.at("time"), 1e9);
  line.erase("time");
  EXPECT_EQ(Json::parse(R"({"schema": "oructl.watch", "version": 1, "event": "chip-published",
                            "file": "system/chips/0.json",
                            "text": "chip Slice1/Chip1 published: device 0, 1 interface",
                            "slice": "Slice1", "chip": "Chip1", "deviceId": 0, "genTime": 200.25})"),
            line);
}

TEST_F(WatchTest, ControlCharactersReachNoTerminal) {
  ASSERT_FALSE(tree.makeDirectory({"features"}));
  watch();
  put({"features", "F\033[2J"}, {{"enabled", true}});
  EXPECT_EQ(Lines{"feature F\\x1B[2J is on"}, linesUntil("is on"));
}

}  // namespace
