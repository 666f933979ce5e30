#include "launcher/LauncherConfig.h"

#include <gtest/gtest.h>

namespace Oru::Launcher {
namespace {

AgentId const chip1{AgentKind::chip, "Chip1"};
AgentId const chip7{AgentKind::chip, "Chip7"};
AgentId const slice1{AgentKind::slice, "Slice1"};

LauncherConfig parse(char const* text) { return LauncherConfig::parse(text, "launcher.json"); }

std::string refusalOf(char const* text) {
  try {
    parse(text);
  } catch (ConfigError const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(LauncherConfig, ACommandIsPutTogetherFromItsTemplates) {
  auto const config = parse(R"({"chip": {
      "argv": ["chip-agent", "--name={name}", "{tree}"],
      "environment": {"TITLE": "{kind} {name}"},
      "workingDirectory": "/var/lib/{kind}"}})");
  EXPECT_EQ(
      config.commandFor(chip1, "/t"),
      (Command{
          {"chip-agent", "--name=Chip1", "/t"}, {{"TITLE", "chip Chip1"}}, "/var/lib/chip", {}}));
}

TEST(LauncherConfig, LimitsHaveDefaultsOneByOne) {
  auto const config = parse(R"({"chip": {"argv": ["a"]},
      "slice": {"argv": ["a"], "graceTime": 2, "backoff": {"max": 7.5}}})");
  EXPECT_EQ(config.limitsFor(chip1), AgentLimits{});
  EXPECT_EQ(config.limitsFor(slice1), (AgentLimits{2, {0.5, 2, 7.5, 10}}));
  EXPECT_EQ(config.limitsFor({AgentKind::feature, "F"}), AgentLimits{});
}

TEST(LauncherConfig, ANameOverridesOnlyWhatItGives) {
  auto const config = parse(R"({"chip": {
      "argv": ["a", "{name}"], "environment": {"A": "1", "B": "2"}, "graceTime": 9,
      "names": {"Chip7": {"argv": ["b"], "environment": {"B": "3"}, "backoff": {"stable": 1}}}}})");
  EXPECT_EQ(config.commandFor(chip1, "/t"),
            (Command{{"a", "Chip1"}, {{"A", "1"}, {"B", "2"}}, {}, {}}));
  EXPECT_EQ(config.commandFor(chip7, "/t"), (Command{{"b"}, {{"A", "1"}, {"B", "3"}}, {}, {}}));
  EXPECT_EQ(config.limitsFor(chip7), (AgentLimits{9, {0.5, 2, 30, 1}}));
  EXPECT_EQ(config.limitsFor(chip1), (AgentLimits{9, {}}));
}

TEST(LauncherConfig, AnAgentWithoutCommandCannotBeStarted) {
  auto const config = parse(R"({"chip": {"names": {"Chip7": {"argv": ["b"]}}}})");
  EXPECT_EQ(config.commandFor(chip7, "/t").argv, std::vector<std::string>{"b"});
  for (AgentId const& id : {chip1, slice1}) {
    try {
      config.commandFor(id, "/t");
      FAIL() << toString(id);
    } catch (StartError const& error) {
      EXPECT_EQ(error.what(), "no command for " + toString(id) + " in launcher.json");
    }
  }
}

TEST(LauncherConfig, RefusesWhatIsNotAConfiguration) {
  EXPECT_EQ(refusalOf(""), "launcher.json: is empty");
  EXPECT_EQ(refusalOf("{\n\"chip\": nonsense}"), "launcher.json: is not JSON: line 2, column 10");
  EXPECT_EQ(refusalOf("[]"), "launcher.json: is not an object");
  EXPECT_EQ(refusalOf("{}"), R"(launcher.json: has none of "slice", "chip", "feature")");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": ["a"]}, "chips": {}})"),
            "launcher.json: chips is not a field of this file");
  EXPECT_EQ(refusalOf(R"({"chip": []})"), "launcher.json: chip is not an object");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": ["a"]}, "chip": {"argv": ["a"]}})"),
            "launcher.json: chip is given twice");
}

TEST(LauncherConfig, RefusesACommandThatIsNone) {
  EXPECT_EQ(refusalOf(R"({"chip": {}})"), "launcher.json: chip.argv is missing");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": "a"}})"), "launcher.json: chip.argv is not a list");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": []}})"), "launcher.json: chip.argv names no program");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": [""]}})"), "launcher.json: chip.argv names no program");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": ["a", 1]}})"),
            "launcher.json: chip.argv[1] is not a string");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": ["a", "b\u0000c"]}})"),
            "launcher.json: chip.argv[1] holds a NUL character");
  EXPECT_EQ(refusalOf(R"({"chip": {"argv": ["a", "{nam}"]}})"),
            "launcher.json: chip.argv[1] has the unknown placeholder {nam}; known are {name}, "
            "{kind} and {tree}");
  EXPECT_EQ(refusalOf(R"({"chip": {"names": {"Chip7": {"graceTime": 1}}}})"),
            "launcher.json: chip.names.Chip7.argv is missing here and for the kind");
}

TEST(LauncherConfig, RefusesAnEnvironmentThatIsNone) {
  auto const refusal = [](std::string const& variable) {
    return refusalOf((R"({"chip": {"argv": ["a"], "environment": {)" + variable + "}}}").c_str());
  };
  EXPECT_EQ(refusal(R"("A": 1)"), "launcher.json: chip.environment.A is not a string");
  EXPECT_EQ(refusal(R"("A=B": "1")"),
            "launcher.json: chip.environment.A=B is not a name of an environment variable");
  EXPECT_EQ(refusal(R"("ORU_TREE": "1")"),
            "launcher.json: chip.environment.ORU_TREE is set by the launcher itself");
  EXPECT_EQ(refusal(R"("ORU_AGENT_NAME": "1")"),
            "launcher.json: chip.environment.ORU_AGENT_NAME is set by the launcher itself");
}

TEST(LauncherConfig, RefusesNumbersOutOfRange) {
  auto const refusal = [](std::string const& field) {
    return refusalOf((R"({"chip": {"argv": ["a"], )" + field + "}}").c_str());
  };
  EXPECT_EQ(refusal(R"("graceTime": -1)"),
            "launcher.json: chip.graceTime is not a number from 0.0 to 86400.0");
  EXPECT_EQ(refusal(R"("graceTime": "5")"),
            "launcher.json: chip.graceTime is not a number from 0.0 to 86400.0");
  EXPECT_EQ(refusal(R"("backoff": {"initial": 0})"),
            "launcher.json: chip.backoff.initial is not a number from 0.01 to 86400.0");
  EXPECT_EQ(refusal(R"("backoff": {"factor": 0.5})"),
            "launcher.json: chip.backoff.factor is not a number from 1.0 to 100.0");
  EXPECT_EQ(refusal(R"("backoff": {"initial": 5, "max": 4})"),
            "launcher.json: chip.backoff.max is less than \"initial\"");
  EXPECT_EQ(refusal(R"("backoff": {"minimum": 4})"),
            "launcher.json: chip.backoff.minimum is not a field of this file");
  EXPECT_EQ(refusal(R"("names": {"Chip7": {"names": {}}})"),
            "launcher.json: chip.names.Chip7.names is not a field of this file");
}

TEST(LauncherConfig, AFileThatCannotBeReadIsNamed) {
  try {
    LauncherConfig::load("/nonexistent/launcher.json");
    FAIL() << "loaded";
  } catch (ConfigError const& error) {
    EXPECT_STREQ(error.what(),
                 "/nonexistent/launcher.json: cannot be read: No such file or directory");
  }
}

}  // namespace
}  // namespace Oru::Launcher
