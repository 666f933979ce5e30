#include "sim/Device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Oru::Sim {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

Device device(std::string const& text) { return Device::parse(text, "/some where/device.json"); }

std::string errorOf(std::string const& text) {
  try {
    device(text);
  } catch (DescriptionError const& error) {
    return error.what();
  }
  return "accepted";
}

constexpr char const* chassis = R"({
  "name": "chassis",
  "agents": {"initTime": 0.5},
  "slices": [
    {"name": "Slice{slice}", "numbers": "1-2",
     "chips": [{"name": "Chip{slice}-{chip}", "numbers": "1-3",
                "ports": {"1-4": "Ethernet{slice}/{chip}/{port}"}}]},
    {"name": "Fan", "present": false, "agent": {"mode": "hang"},
     "chips": [{"name": "FanChip", "deviceId": 40, "agent": {"mode": "crash", "lag": 2}}]}],
  "features": {"telemetry": true, "mirror": false}})";

TEST(Device, NumbersBecomeSlicesChipsAndPorts) {
  Device const described = device(chassis);
  EXPECT_EQ(described.name, "chassis");
  ASSERT_EQ(described.slices.size(), 3u);
  EXPECT_EQ(described.slices[1].name, "Slice2");
  ASSERT_EQ(described.slices[1].chips.size(), 3u);
  Device::Chip const& chip = described.slices[1].chips[2];
  EXPECT_EQ(chip.name, "Chip2-3");
  EXPECT_EQ(chip.ports.at(4), "Ethernet2/3/4");
  EXPECT_EQ(chip.ports.size(), 4u);
  EXPECT_EQ(described.chipCount(), 7u);
  EXPECT_EQ(described.portCount(), 24u);
}

TEST(Device, DeviceIdsCountOnUnlessOneIsGiven) {
  Device const described = device(chassis);
  EXPECT_EQ(described.chip("Chip1-1")->deviceId, 0u);
  EXPECT_EQ(described.chip("Chip1-3")->deviceId, 2u);
  EXPECT_EQ(described.chip("Chip2-1")->deviceId, 3u);
  EXPECT_EQ(described.chip("FanChip")->deviceId, 40u);
}

TEST(Device, PresenceAndBehaviourHaveDefaults) {
  Device const described = device(chassis);
  EXPECT_TRUE(described.slices[0].present);
  EXPECT_FALSE(described.slices[2].present);
  EXPECT_EQ(described.chip("Chip1-1")->agent,
            (AgentBehaviour{AgentBehaviour::Mode::normal, 0.5, 0}));
  EXPECT_EQ(described.chip("FanChip")->agent,
            (AgentBehaviour{AgentBehaviour::Mode::crash, 0.5, 2}));
  EXPECT_EQ(described.slices[2].agent.mode, AgentBehaviour::Mode::hang);
  EXPECT_TRUE(described.features.at("telemetry"));
  EXPECT_FALSE(described.features.at("mirror"));
}

TEST(Device, NamesAreFound) {
  Device const described = device(chassis);
  EXPECT_EQ(described.slice("Fan"), &described.slices[2]);
  EXPECT_EQ(described.sliceOf("Chip2-1"), &described.slices[1]);
  EXPECT_EQ(described.slice("Chip2-1"), nullptr);
  EXPECT_EQ(described.sliceOf("Slice1"), nullptr);
  EXPECT_EQ(described.chip("none"), nullptr);
}

TEST(Device, HereIsTheFolderOfTheDescriptionWithBracesThatTheLauncherLeavesAlone) {
  auto const described = Device::parse(
      R"({"slices": [], "launcher": {"chip": {"argv": ["{here}/a", "{here}{here}", "{name}"]}}})",
      "/dir{1}/device.json");
  EXPECT_EQ(described.launcher["chip"]["argv"].dump(),
            R"(["/dir{{1}}/a","/dir{{1}}/dir{{1}}","{name}"])");
}

TEST(Device, HardwareConfigurationListsChipsWithIdsAndPorts) {
  Device const described = device(R"({"slices": [{"name": "S", "chips": [
      {"name": "A", "ports": {"1-2": "e{port}"}}, {"name": "B"}]}]})");
  EXPECT_EQ(nlohmann::json::parse(hwConfigOf(described.slices[0], 12.5)),
            nlohmann::json::parse(R"({"genTime": 12.5, "chips": {
                "A": {"deviceId": 0, "ports": {"1": "e1", "2": "e2"}},
                "B": {"deviceId": 1, "ports": {}}}})"));
}

struct Wrong {
  char const* text;
  char const* error;
};

class WrongDevice : public testing::TestWithParam<Wrong> {};

TEST_P(WrongDevice, IsRefusedWithFilePlaceAndReason) {
  EXPECT_EQ(errorOf(GetParam().text), std::string("/some where/device.json: ") + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Device, WrongDevice,
    testing::Values(
        Wrong{"", "is empty"}, Wrong{"{}", "slices is missing"},
        Wrong{R"({"slices": {}})", "slices is not a list"},
        Wrong{R"({"slices": [], "color": 1})", "color is not a field of this file"},
        Wrong{R"({"slices": [1]})", "slices[0] is not an object"},
        Wrong{R"({"slices": [{"chips": []}]})", "slices[0].name is missing"},
        Wrong{R"({"slices": [{"name": "", "chips": []}]})", "slices[0].name is empty"},
        Wrong{R"({"slices": [{"name": "S{slice}", "chips": []}]})",
              "slices[0].name has the placeholder {slice}, which has no meaning here"},
        Wrong{R"({"slices": [{"name": "S", "numbers": "1-2", "chips": []}]})",
              "slices[0].name names the slice S again"},
        Wrong{R"({"slices": [{"name": "S{slice}", "numbers": "2-1", "chips": []}]})",
              "slices[0].numbers has the range \"2-1\" backwards"},
        Wrong{R"({"slices": [{"name": "S", "present": 1, "chips": []}]})",
              "slices[0].present is neither true nor false"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C"}]},
                             {"name": "T", "chips": [{"name": "C"}]}]})",
              "slices[1].chips[0].name names the chip C again"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C", "deviceId": 64}]}]})",
              "slices[0].chips[0].deviceId is not a whole number from 0 to 63"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C{chip}", "numbers": "1-65"}]}]})",
              "slices[0].chips[0].name is one chip too many: ids end at 63"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C"},
                                                     {"name": "D", "deviceId": 0}]}]})",
              "slices[0].chips[1].name would have the id 0 of another chip"},
        Wrong{R"({"slices": [{"name": "S{slice}", "numbers": "1-2",
                              "chips": [{"name": "C{slice}", "deviceId": 1}]}]})",
              "slices[0].chips[0].deviceId stands in a slice with numbers, "
              "whose chips count on by themselves"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C", "ports": {"1-2": "e"}}]}]})",
              "slices[0].chips[0].ports.1-2 gives the interface \"e\" once more"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C",
                              "ports": {"1": "e", "0-1": "f{port}"}}]}]})",
              "slices[0].chips[0].ports.1 gives port 1 once more"},
        Wrong{R"({"slices": [{"name": "S", "chips": [{"name": "C", "ports": {"x": "e"}}]}]})",
              "slices[0].chips[0].ports.x has \"x\" where a number from 0 to 65535 belongs"},
        Wrong{R"({"slices": [{"name": "S", "agent": {"mode": "odd"}, "chips": []}]})",
              "slices[0].agent.mode is none of normal, crash, hang, stale, leave"},
        Wrong{R"({"slices": [], "agents": {"initTime": -1}})",
              "agents.initTime is not a number of seconds from 0 to 253402300799"},
        Wrong{R"({"slices": [], "features": {"f": "on"}})",
              "features.f is neither true nor false"}));

}  // namespace
}  // namespace Oru::Sim
