#include "sim/Scenario.h"

#include <gtest/gtest.h>

#include <csignal>

namespace Oru::Sim {
namespace {

Device const& device() {
  static Device const device = Device::parse(
      R"({"slices": [{"name": "Slice1", "chips": [{"name": "Chip1", "agent": {"initTime": 3}},
                                                  {"name": "Chip2"}]}]})",
      "device.json");
  return device;
}

Scenario scenario(std::string const& steps) {
  return Scenario::parse(R"({"steps": [)" + steps + "]}", "s.json", &device());
}

template <class Action>
Action only(std::string const& step) {
  Scenario const read = scenario(step);
  EXPECT_EQ(read.steps.size(), 1u);
  return std::get<Action>(read.steps.at(0).action);
}

TEST(Scenario, StepsAreReadInTheirOrder) {
  auto const read = Scenario::parse(
      R"({"name": "Both", "steps": [{"insert": "Slice1"}, {"pause": 0.5}]})", "s.json", &device());
  EXPECT_EQ(read.name, "Both");
  ASSERT_EQ(read.steps.size(), 2u);
  EXPECT_EQ(read.steps[1].place, "steps[1]");
  EXPECT_EQ(read.steps[1].text, "pause 0.5");
  EXPECT_EQ(std::get<Step::Insert>(read.steps[0].action).slice, "Slice1");
  EXPECT_EQ(std::get<Step::Pause>(read.steps[1].action).time, 0.5);
}

TEST(Scenario, StepsAreToldInOneLineVerbFirst) {
  EXPECT_EQ(scenario(R"({"first": "status", "remove": "Slice1"})").steps[0].text,
            "remove Slice1, first status");
  EXPECT_EQ(scenario(R"({"within": 3, "expect": {"published": ["Chip1", "Chip2"]}})").steps[0].text,
            "expect published: [Chip1, Chip2], within 3");
  EXPECT_EQ(scenario(R"({"reset": {"all": true}})").steps[0].text, "reset all: true");
  EXPECT_EQ(scenario(R"({"remember": true})").steps[0].text, "remember");
  EXPECT_EQ(scenario(R"({"run": ["sh", "-c", "echo \"a,b: c\" \n"], "says": "a,b"})").steps[0].text,
            R"(run [sh, -c, echo "a,b: c" \n], says a,b)");
  EXPECT_EQ(scenario(R"({"write": "a", "json": {"x": {}, "y": ["", 1.5, null]}})").steps[0].text,
            "write a, json x: {}, y: [, 1.5, null]");
}

TEST(Scenario, RemoveSaysWhatGoesFirst) {
  EXPECT_FALSE(only<Step::Remove>(R"({"remove": "Slice1"})").statusFirst);
  EXPECT_FALSE(only<Step::Remove>(R"({"remove": "Slice1", "first": "config"})").statusFirst);
  EXPECT_TRUE(only<Step::Remove>(R"({"remove": "Slice1", "first": "status"})").statusFirst);
}

TEST(Scenario, ResetOfAChipKnowsItsSlice) {
  auto const reset = only<Step::Reset>(R"({"reset": {"chip": "Chip2", "who": "me", "cause": "why",
                                                     "reason": 3, "age": 60}})");
  EXPECT_EQ(reset.target, (ResetTarget{ResetTarget::Type::chip, "Slice1", "Chip2"}));
  EXPECT_EQ(reset.who, "me");
  EXPECT_EQ(reset.cause, "why");
  EXPECT_EQ(reset.reason, 3u);
  EXPECT_EQ(reset.age, 60);
}

TEST(Scenario, ResetMayNameAChipThatIsNotThere) {
  auto const reset = only<Step::Reset>(R"({"reset": {"chip": "Chip9", "of": "Slice9"}})");
  EXPECT_EQ(reset.target, (ResetTarget{ResetTarget::Type::chip, "Slice9", "Chip9"}));
  EXPECT_EQ(only<Step::Reset>(R"({"reset": {"slice": "Slice9"}})").target.slice, "Slice9");
}

TEST(Scenario, ResetOfAllAndOfFeatures) {
  using Type = ResetTarget::Type;
  EXPECT_EQ(only<Step::Reset>(R"({"reset": {"all": true}})").target.type, Type::all);
  EXPECT_EQ(only<Step::Withdraw>(R"({"withdraw": {"features": true}})").target.type,
            Type::features);
}

TEST(Scenario, FeatureIsSwitchedOrRemoved) {
  EXPECT_EQ(only<Step::Feature>(R"({"feature": "f", "is": "on"})").enabled, true);
  EXPECT_EQ(only<Step::Feature>(R"({"feature": "f", "is": "off"})").enabled, false);
  EXPECT_EQ(only<Step::Feature>(R"({"feature": "f", "is": "removed"})").enabled, std::nullopt);
}

TEST(Scenario, BehaviourStartsFromWhatTheDeviceDescribes) {
  auto const behave = only<Step::Behave>(R"({"behave": {"chip": "Chip1", "mode": "stale"}})");
  EXPECT_EQ(behave.agent, (AgentName{"chip", "Chip1"}));
  EXPECT_EQ(behave.behaviour, (AgentBehaviour{AgentBehaviour::Mode::stale, 3, 0}));
}

TEST(Scenario, KillSparesNobody) {
  auto const agent = only<Step::Kill>(R"({"kill": {"feature": "f"}, "signal": "TERM"})");
  EXPECT_EQ(std::get<AgentName>(agent.victim), (AgentName{"feature", "f"}));
  EXPECT_EQ(agent.signal, SIGTERM);
  auto const program = only<Step::Kill>(R"({"kill": "oru-agent"})");
  EXPECT_EQ(std::get<std::string>(program.victim), "oru-agent");
  EXPECT_EQ(program.signal, SIGKILL);
}

TEST(Scenario, WriteTakesAnyContent) {
  using What = Step::Write::What;
  EXPECT_EQ(only<Step::Write>(R"({"write": "a/b.json", "text": "{"})").text, "{");
  EXPECT_EQ(only<Step::Write>(R"({"write": "a/b.json", "json": {"x": 1}})").text, "{\"x\":1}\n");
  EXPECT_EQ(only<Step::Write>(R"({"write": "a", "size": 70000})").text.size(), 70000u);
  EXPECT_EQ(only<Step::Write>(R"({"write": "a", "link": "/etc"})").what, What::link);
  EXPECT_EQ(only<Step::Write>(R"({"write": "a", "directory": true})").what, What::directory);
  EXPECT_EQ(only<Step::Write>(R"({"write": "a/./b", "text": ""})").file, "a/b");
}

TEST(Scenario, RunTakesAProgramWithItsArguments) {
  auto const run = only<Step::Run>(R"({"run": ["cmp", "{tree}/a", "b"], "exits": 1, "says": "x"})");
  EXPECT_EQ(run.argv, (std::vector<std::string>{"cmp", "{tree}/a", "b"}));
  EXPECT_EQ(run.exits, 1);
  EXPECT_EQ(run.says, "x");
  EXPECT_EQ(only<Step::Run>(R"({"run": "true"})").argv, std::vector<std::string>{"true"});
}

TEST(Scenario, ProgramsMayStandBesideTheScenario) {
  auto const read =
      Scenario::parse(R"({"steps": [{"run": ["{here}/a", "{tree}"]}]})", "/b/s.json", nullptr);
  EXPECT_EQ(std::get<Step::Run>(read.steps.at(0).action).argv,
            (std::vector<std::string>{"/b/a", "{tree}"}));
}

TEST(Scenario, IdleTakesProgramsAndTimes) {
  auto const idle =
      only<Step::Idle>(R"({"idle": ["oru-agent", "oru-launcher"], "for": 2, "within": 5})");
  EXPECT_EQ(idle.programs, (std::vector<std::string>{"oru-agent", "oru-launcher"}));
  EXPECT_EQ(idle.time, 2);
  EXPECT_EQ(idle.within, 5);
  auto const short_ = only<Step::Idle>(R"({"idle": "oru-agent"})");
  EXPECT_EQ(short_.programs, std::vector<std::string>{"oru-agent"});
  EXPECT_EQ(short_.time, 1);
}

TEST(Scenario, ExpectationsOfChips) {
  auto const expect = only<Step::Expect>(
      R"({"expect": {"published": ["Chip1"], "withdrawn": "Chip2", "interfaces": 8,
                     "generations": {"Chip1": "changed", "Chip2": "same"},
                     "answered": [{"chip": "Chip1"}, {"all": true}]}, "within": 2, "hold": 0.5})");
  using Since = Condition::Since;
  Condition const& condition = expect.condition;
  EXPECT_EQ(condition.published->chips, std::vector<std::string>{"Chip1"});
  EXPECT_EQ(condition.withdrawn, std::vector<std::string>{"Chip2"});
  EXPECT_EQ(condition.interfaces, 8u);
  EXPECT_EQ(condition.generations.at("Chip1"), Since::changed);
  EXPECT_EQ(condition.generations.at("Chip2"), Since::same);
  EXPECT_EQ(condition.answered.size(), 2u);
  EXPECT_EQ(expect.within, 2);
  EXPECT_EQ(expect.hold, 0.5);
}

TEST(Scenario, ExpectationsOfAgentsAndPrograms) {
  auto const condition =
      only<Step::Expect>(R"({"expect": {"agents": {"chip Chip1": "backoff", "slice X": "gone"},
                                        "processes": {"chip Chip1": "changed"},
                                        "crashes": {"chip Chip1": 3},
                                        "programs": {"oru-agent": "ended"}}})")
          .condition;
  EXPECT_EQ(condition.agents.at({"chip", "Chip1"}), "backoff");
  EXPECT_EQ(condition.agents.at({"slice", "X"}), "gone");
  EXPECT_EQ(condition.processes.at({"chip", "Chip1"}), Condition::Since::changed);
  EXPECT_EQ(condition.crashes.at({"chip", "Chip1"}), 3u);
  EXPECT_EQ(condition.programs.at("oru-agent"), "ended");
  EXPECT_FALSE(condition.allProcessesSame);
  EXPECT_TRUE(
      only<Step::Expect>(R"({"expect": {"processes": "same"}})").condition.allProcessesSame);
}

TEST(Scenario, ExpectationsOfFilesAndProblems) {
  auto const condition =
      only<Step::Expect>(R"({"expect": {"files": [{"file": "a.json", "fields": {"x.y": 1}},
                                                  {"file": "b", "present": false}],
                                        "problems": {"file": "c.json", "reason": "65"},
                                        "noProblems": ["d.json"]}})")
          .condition;
  ASSERT_EQ(condition.files.size(), 2u);
  EXPECT_EQ(condition.files[0].fields.at("x.y"), 1);
  EXPECT_FALSE(condition.files[1].present);
  EXPECT_EQ(condition.problems.at(0).file, "c.json");
  EXPECT_EQ(condition.problems.at(0).reason, "65");
  EXPECT_EQ(condition.noProblems.at(0), "d.json");
}

TEST(Scenario, PublishedIsAllOrANumber) {
  EXPECT_TRUE(only<Step::Expect>(R"({"expect": {"published": "all"}})").condition.published->all);
  EXPECT_EQ(only<Step::Expect>(R"({"expect": {"published": 0}})").condition.published->count, 0u);
}

TEST(Scenario, WithoutADeviceAnyNameGoes) {
  auto const read = Scenario::parse(R"({"steps": [{"insert": "Other"}]})", "s.json", nullptr);
  EXPECT_EQ(std::get<Step::Insert>(read.steps[0].action).slice, "Other");
}

struct Wrong {
  char const* step;
  char const* error;
};

class WrongStep : public testing::TestWithParam<Wrong> {};

TEST_P(WrongStep, IsRefusedWithFileStepFieldAndReason) {
  try {
    scenario(std::string(R"({"pause": 0},)") + GetParam().step);
    FAIL() << "accepted";
  } catch (DescriptionError const& error) {
    EXPECT_EQ(error.what(), std::string("s.json: steps[1]") + GetParam().error);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Scenario, WrongStep,
    testing::Values(
        Wrong{"1", " is not an object"},
        Wrong{"{}",
              " is none of say, insert, remove, swap, reset, withdraw, feature, behave, kill, "
              "stop, start, report, write, delete, tree, run, pause, idle, remember, expect"},
        Wrong{R"({"insert": "Slice1", "remove": "Slice1"})", ".remove stands beside insert"},
        Wrong{R"({"insert": "Slice1", "soon": 1})", ".soon is not a field of this file"},
        Wrong{R"({"insert": "Slice7"})", ".insert names no slice of the device: Slice7"},
        Wrong{R"({"insert": 1})", ".insert is not a string"},
        Wrong{R"({"remove": "Slice1", "first": "last"})", ".first is neither config nor status"},
        Wrong{R"({"reset": {}})", ".reset has none of the fields chip, slice, all, features"},
        Wrong{R"({"reset": {"chip": "Chip7"}})", ".reset.chip names no chip of the device: Chip7"},
        Wrong{R"({"reset": {"chip": "Chip1", "all": true}})", ".reset.all stands beside chip"},
        Wrong{R"({"reset": {"all": false}})", ".reset.all is not true"},
        Wrong{R"({"reset": {"all": true, "age": -1}})",
              ".reset.age is not a number of seconds from 0 to 253402300799"},
        Wrong{R"({"feature": "f", "is": "maybe"})", ".is is none of on, off, removed"},
        Wrong{R"({"feature": "", "is": "on"})", ".feature is empty"},
        Wrong{R"({"behave": {"chip": "Chip1", "mode": "odd"}})",
              ".behave.mode is none of normal, crash, hang, stale, leave"},
        Wrong{R"({"kill": "init"})", ".kill is neither oru-agent nor oru-launcher"},
        Wrong{R"({"kill": {"chip": "Chip1"}, "signal": "HUP"})",
              ".signal is none of KILL, TERM, ABRT, STOP, CONT"},
        Wrong{R"({"write": "../x", "text": ""})", ".write is not a place inside the tree"},
        Wrong{R"({"write": "/x", "text": ""})", ".write is not a place inside the tree"},
        Wrong{R"({"write": "x"})", " has none of the fields text, json, size, link, directory"},
        Wrong{R"({"write": "x", "text": "", "size": 1})", ".size stands beside text"},
        Wrong{R"({"tree": "up"})", ".tree is none of away, back, remove, make"},
        Wrong{R"({"run": []})", ".run names no program"},
        Wrong{R"({"run": ["a", 1]})", ".run[1] is not a string"},
        Wrong{R"({"run": "a", "exits": 256})", ".exits is not a whole number from 0 to 255"},
        Wrong{R"({"write": "x", "text": "", "times": 0})",
              ".times is not a whole number from 1 to 1000000"},
        Wrong{R"({"pause": "long"})", ".pause is not a number of seconds from 0 to 253402300799"},
        Wrong{R"({"idle": []})", ".idle names no program"},
        Wrong{R"({"idle": ["oru-sim"]})", ".idle is neither oru-agent nor oru-launcher"},
        Wrong{R"({"remember": false})", ".remember is not true"},
        Wrong{R"({"expect": {}})", ".expect expects nothing"},
        Wrong{R"({"expect": {"published": ["Chip9"]}})",
              ".expect.published names no chip of the device: Chip9"},
        Wrong{R"({"expect": {"published": [1]}})", ".expect.published[0] is not a string"},
        Wrong{R"({"expect": {"published": -1}})",
              ".expect.published is not a whole number from 0 to 1048576"},
        Wrong{R"({"expect": {"agents": {"Chip1": "running"}}})",
              ".expect.agents.Chip1 is not \"slice NAME\", \"chip NAME\" or \"feature NAME\""},
        Wrong{R"({"expect": {"agents": {"chip Chip1": "well"}}})",
              ".expect.agents.chip Chip1 is none of running, stopping, backoff, failed, gone"},
        Wrong{R"({"expect": {"files": {"file": "x", "present": false, "fields": {"a": 1}}}})",
              ".expect.files.fields stands beside present: false"},
        Wrong{R"({"expect": {"programs": {"init": "running"}}})",
              ".expect.programs.init is neither oru-agent nor oru-launcher"},
        Wrong{R"({"expect": {"colour": 1}})", ".expect.colour is not a field of this file"}));

}  // namespace
}  // namespace Oru::Sim
