#include "sim/ConditionCheck.h"

#include <gtest/gtest.h>

#include <csignal>
#include <variant>

#include "tests/mount/LoopTurns.h"
#include "tests/support/TemporaryFolder.h"

namespace Oru::Sim {
namespace {

using Mount::TreePath;
using Lines = std::vector<std::string>;

// A tree with two slices of two chips, of which Chip1 and Chip2 are published.
class ConditionCheckTest : public testing::Test {
 protected:
  ConditionCheckTest() {
    EXPECT_FALSE(tree.makeRoot());
    put({"hw", "config", "Slice1"}, R"({"genTime": 5, "chips": {"Chip1": {}, "Chip2": {}}})");
    put({"hw", "config", "Slice2"}, R"({"genTime": 0, "chips": {"Chip3": {}, "Chip4": {}}})");
    put({"config", "Slice1", "Chip1"}, R"({"genTime": 7.5})");
    put({"config", "Slice1", "Chip2"}, R"({"genTime": 8})");
    put({"system", "chips", "0"}, R"({"name": "Chip1"})");
    put({"system", "chips", "1"}, R"({"name": "Chip2"})");
    put({"system", "interfaces", "0"}, R"({"intfToPortId": {"E1": 1, "E2": 2}})");
    put({"system", "interfaces", "1"}, R"({"intfToPortId": {"E3": 1}})");
  }

  void put(TreePath const& path, std::string const& text) {
    EXPECT_FALSE(tree.put(path, text));
    picture.look();
  }
  void putAgent(char const* chip, int pid, int crashes = 0) {
    put({"launcher-status", "chip", chip}, R"({"state": "running", "pid": )" + std::to_string(pid) +
                                               R"(, "startTicks": 1, "restarts": {"crashes": )" +
                                               std::to_string(crashes) + "}}");
  }
  // What of a condition, as a scenario has it, does not hold now.
  Lines unmetOf(std::string const& condition) const {
    auto const scenario =
        Scenario::parse(R"({"steps": [{"expect": )" + condition + "}]}", "s.json", nullptr);
    return unmet(std::get<Step::Expect>(scenario.steps[0].action).condition, situation);
  }

  OruTest::TemporaryFolder const folder;
  Mount::EventLoop loop;
  Mount::FileBackend backend{loop, folder / "tree"};
  Mount::FileTree const& tree = backend.tree();
  TreePicture picture{backend, [](auto const&) {}};
  Program agent{loop, "oru-agent", {{"sleep", "1000"}, {}, "/dev/null"}, [] {}};
  Program launcher{loop, "oru-launcher", {{"true"}, {}, "/dev/null"}, [] {}};
  Situation situation{picture, {{"oru-agent", &agent}, {"oru-launcher", &launcher}}};
};

TEST_F(ConditionCheckTest, PublishedChipsAreCountedNamedOrAll) {
  EXPECT_EQ(Lines{}, unmetOf(R"({"published": 2})"));
  EXPECT_EQ(Lines{"2 chips published"}, unmetOf(R"({"published": 3})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"published": ["Chip2"]})"));
  EXPECT_EQ(Lines{"chip Chip3 is not published"}, unmetOf(R"({"published": ["Chip1", "Chip3"]})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"published": "all"})"));
  put({"hw", "config", "Slice1"}, R"({"genTime": 5, "chips": {"Chip1": {}, "Chip9": {}}})");
  EXPECT_EQ((Lines{"chip Chip9 is not published", "chip Chip2 is published and not inserted"}),
            unmetOf(R"({"published": "all"})"));
  EXPECT_FALSE(tree.removeDirectory({"hw"}));
  picture.look();
  EXPECT_EQ("no slice is inserted", unmetOf(R"({"published": "all"})").front());
}

TEST_F(ConditionCheckTest, ChipsAreWithdrawnWhileTheyAreNotPublished) {
  EXPECT_EQ(Lines{}, unmetOf(R"({"withdrawn": ["Chip3", "None"]})"));
  EXPECT_EQ(Lines{"chip Chip1 is published"}, unmetOf(R"({"withdrawn": ["Chip3", "Chip1"]})"));
}

TEST_F(ConditionCheckTest, InterfacesAreCounted) {
  EXPECT_EQ(Lines{}, unmetOf(R"({"interfaces": 3})"));
  EXPECT_EQ(Lines{"3 interfaces published"}, unmetOf(R"({"interfaces": 4})"));
}

TEST_F(ConditionCheckTest, GenerationsAreComparedWithWhatWasRemembered) {
  std::string const same = R"({"generations": {"Chip1": "same"}})";
  std::string const changed = R"({"generations": {"Chip1": "changed"}})";
  EXPECT_EQ(Lines{"the generation of chip Chip1 is not the same"}, unmetOf(same))
      << "nothing was remembered";
  EXPECT_EQ(Lines{"the generation of chip Chip1 is not changed"}, unmetOf(changed));
  situation.remember();
  EXPECT_EQ(Lines{}, unmetOf(same));
  EXPECT_EQ(Lines{"the generation of chip Chip1 is not changed"}, unmetOf(changed));
  put({"config", "Slice1", "Chip1"}, R"({"genTime": 7.6})");
  EXPECT_EQ(Lines{}, unmetOf(changed));
  EXPECT_EQ(Lines{"the generation of chip Chip1 is not the same"}, unmetOf(same));
}

TEST_F(ConditionCheckTest, AgentsAreWhatTheLauncherSays) {
  putAgent("Chip1", 7, 2);
  EXPECT_EQ(Lines{}, unmetOf(R"({"agents": {"chip Chip1": "running", "slice None": "gone"}})"));
  EXPECT_EQ((Lines{"agent chip Chip1 is running", "agent slice None is gone"}),
            unmetOf(R"({"agents": {"chip Chip1": "gone", "slice None": "running"}})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"crashes": {"chip Chip1": 2}})"));
  EXPECT_EQ(Lines{"agent chip Chip1 has ended by itself 2 times"},
            unmetOf(R"({"crashes": {"chip Chip1": 3}})"));
  EXPECT_EQ(Lines{"agent chip None has ended by itself 0 times"},
            unmetOf(R"({"crashes": {"chip None": 1}})"));
}

TEST_F(ConditionCheckTest, ProcessesAreComparedWithThoseThatWereRemembered) {
  EXPECT_EQ(Lines{"no process was remembered"}, unmetOf(R"({"processes": "same"})"));
  putAgent("Chip1", 7);
  putAgent("Chip2", 8);
  situation.remember();
  EXPECT_EQ(Lines{}, unmetOf(R"({"processes": "same"})"));
  putAgent("Chip2", 9);
  EXPECT_EQ(Lines{"the process of agent chip Chip2 is not the same"},
            unmetOf(R"({"processes": "same"})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"processes": {"chip Chip1": "same", "chip Chip2": "changed"}})"));
  EXPECT_EQ(Lines{"the process of agent chip Chip1 is not changed"},
            unmetOf(R"({"processes": {"chip Chip1": "changed"}})"));
  EXPECT_FALSE(tree.remove({"launcher-status", "chip", "Chip2"}));
  picture.look();
  EXPECT_EQ(Lines{"the process of agent chip Chip2 is not changed"},
            unmetOf(R"({"processes": {"chip Chip2": "changed"}})"))
      << "it does not run at all";
}

TEST_F(ConditionCheckTest, ARequestIsAnsweredWhenItsRecordHasItsTime) {
  std::string const condition = R"({"answered": {"all": true}})";
  EXPECT_EQ(Lines{"the reset of all slices is not answered"}, unmetOf(condition));
  TreePath const record{"reset", "status", "me", "allSlices"};
  situation.requested({ResetTarget::Type::all, {}, {}}, {record, 9.5});
  EXPECT_EQ(Lines{"the reset of all slices is not answered"}, unmetOf(condition));
  put(record, R"({"genTime": 9})");
  EXPECT_EQ(Lines{"the reset of all slices is not answered"}, unmetOf(condition));
  put(record, R"({"genTime": 9.5})");
  EXPECT_EQ(Lines{}, unmetOf(condition));
}

TEST_F(ConditionCheckTest, FilesAreThereWithTheirFields) {
  EXPECT_EQ(Lines{}, unmetOf(R"({"files": [{"file": "config/Slice1/Chip1.json",
                                             "fields": {"genTime": 7.5}},
                                            {"file": "hw/config"},
                                            {"file": "hw/config/None.json", "present": false}]})"));
  EXPECT_EQ((Lines{"config/Slice1/Chip1.json: genTime is 7.5",
                   "config/Slice1/Chip1.json: no.field is not there"}),
            unmetOf(R"({"files": {"file": "config/Slice1/Chip1.json",
                                  "fields": {"genTime": 7, "no.field": 1}}})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"files": {"file": "system/interfaces/0.json",
                                           "fields": {"intfToPortId.E2": 2}}})"));
  EXPECT_EQ((Lines{"hw/config/None.json is not there", "hw/config is there"}),
            unmetOf(R"({"files": [{"file": "hw/config/None.json"},
                                  {"file": "hw/config", "present": false}]})"));
}

TEST_F(ConditionCheckTest, ProblemsAreThoseThatTheAgentReports) {
  EXPECT_EQ(Lines{"no such problem with a.json is reported"},
            unmetOf(R"({"problems": {"file": "a.json"}})"));
  put({"problems", "oru-agent"},
      R"({"problems": [{"file": "a.json", "place": "b", "reason": "is missing"}]})");
  EXPECT_EQ(Lines{}, unmetOf(R"({"problems": {"file": "a.json", "reason": "is miss"}})"));
  EXPECT_EQ(Lines{"no such problem with a.json is reported, but: b is missing; "},
            unmetOf(R"({"problems": {"file": "a.json", "reason": "is late"}})"));
  EXPECT_EQ(Lines{}, unmetOf(R"({"noProblems": "c.json"})"));
  EXPECT_EQ(Lines{"a problem with a.json is reported: b is missing; "},
            unmetOf(R"({"noProblems": ["c.json", "a.json"]})"));
}

TEST_F(ConditionCheckTest, ProgramsRunOrHaveEnded) {
  EXPECT_EQ(Lines{}, unmetOf(R"({"programs": {"oru-agent": "ended"}})"));
  agent.start();
  EXPECT_EQ(Lines{}, unmetOf(R"({"programs": {"oru-agent": "running"}})"));
  EXPECT_EQ((Lines{"oru-agent runs", "oru-launcher has ended"}),
            unmetOf(R"({"programs": {"oru-agent": "ended", "oru-launcher": "running"}})"));
  agent.signal(SIGKILL);
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return agent.state() == Program::State::ended; }));
}

TEST_F(ConditionCheckTest, EverythingThatDoesNotHoldIsTold) {
  EXPECT_EQ((Lines{"2 chips published", "chip Chip1 is published", "3 interfaces published"}),
            unmetOf(R"({"published": 1, "withdrawn": "Chip1", "interfaces": 1})"));
}

TEST_F(ConditionCheckTest, FilesOfAnyShapeAreBorne) {
  std::string const all = R"({"published": "all", "withdrawn": "Chip1", "interfaces": 1,
      "generations": {"Chip1": "same"}, "agents": {"chip Chip1": "running"},
      "processes": {"chip Chip1": "same"}, "crashes": {"chip Chip1": 1},
      "files": {"file": "config/Slice1/Chip1.json", "fields": {"a.b": 1}},
      "problems": {"file": "a"}, "noProblems": "a"})";
  for (auto const* text :
       {"[]", "3", "\"x\"", "{}", R"({"problems": 3})", R"({"problems": [3]})",
        R"({"problems": [{"file": 1, "reason": 2}]})",
        R"({"name": 1, "chips": 1, "genTime": [], "restarts": {"crashes": {}}})"}) {
    for (auto const& path : {TreePath{"hw", "config", "Slice1"},
                             {"config", "Slice1", "Chip1"},
                             {"system", "chips", "0"},
                             {"system", "interfaces", "0"},
                             {"launcher-status", "chip", "Chip1"},
                             {"problems", "oru-agent"}})
      put(path, text);
    EXPECT_NO_THROW(situation.remember()) << text;
    EXPECT_NO_THROW(unmetOf(all)) << text;
  }
}

}  // namespace
}  // namespace Oru::Sim
