#include "mount/Codec.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "mount/JsonError.h"
#include "mount/Names.h"
#include "mount/NodeWatch.h"

namespace {

using namespace Oru;
using namespace Oru::Mount;
using namespace Oru::Central;
using Vunda::Duration;
using Vunda::makeNode;

// "place reason" of the error that the call raises; empty when it raises none.
template <class Call>
std::string errorOf(Call call) {
  try {
    static_cast<void>(call());
  } catch (JsonError const& error) {
    return error.what();
  }
  return {};
}

std::string hwError(std::string const& text) {
  return errorOf([&] { return Codec::sliceHwConfigOf(text); });
}

TEST(Codec, ReadsAHardwareConfiguration) {
  auto const data = Codec::sliceHwConfigOf(
      R"({"genTime":5.25,"chips":{"Chip1":{"deviceId":64,"ports":{"0":"","65535":"Eth1"}}}})");
  EXPECT_EQ(Duration(5.25), data.genTime);
  ASSERT_EQ(1u, data.chips.size());
  EXPECT_EQ(64, data.chips.at("Chip1").deviceId);
  EXPECT_EQ((std::map<PortId, std::string>{{0, ""}, {65535, "Eth1"}}),
            data.chips.at("Chip1").ports);
}

TEST(Codec, RefusesAHardwareConfigurationWithItsPlace) {
  EXPECT_EQ("is not JSON: line 1, column 14", hwError(R"({"genTime":5,)"));
  EXPECT_EQ("genTime is missing", hwError("{}"));
  EXPECT_EQ("chips is missing", hwError(R"({"genTime":5})"));
  EXPECT_EQ("more is not a field of this file", hwError(R"({"genTime":5,"chips":{},"more":1})"));
  EXPECT_EQ("chips is not an object", hwError(R"({"genTime":5,"chips":[]})"));
  EXPECT_EQ("chips.C.deviceId is not a whole number from 0 to 64",
            hwError(R"({"genTime":5,"chips":{"C":{"deviceId":65,"ports":{}}}})"));
  EXPECT_EQ("chips.C.ports is missing", hwError(R"({"genTime":5,"chips":{"C":{"deviceId":6}}})"));
  EXPECT_EQ("chips.C.ports.65536 is not a whole number from 0 to 65535",
            hwError(R"({"genTime":5,"chips":{"C":{"deviceId":6,"ports":{"65536":"x"}}}})"));
  EXPECT_EQ("chips.C.ports.1 is not a string",
            hwError(R"({"genTime":5,"chips":{"C":{"deviceId":6,"ports":{"1":1}}}})"));
  EXPECT_EQ("chips.C.x is not a field of this file",
            hwError(R"({"genTime":5,"chips":{"C":{"deviceId":6,"ports":{},"x":1}}})"));
  EXPECT_EQ("chips. is an empty name", hwError(R"({"genTime":5,"chips":{"":{}}})"));
  EXPECT_EQ("", hwError(R"({"genTime":5,"chips":{}})"));
}

TEST(Codec, RefusesANameThatNoFileCouldHave) {
  std::string const name(241, 'x');
  EXPECT_EQ("chips." + name + " is too long a name",
            hwError(R"({"genTime":5,"chips":{")" + name + R"(":{}}})"));
}

TEST(Codec, RefusesAChipStatus) {
  auto const error = [](std::string const& text) {
    return errorOf([&] { return Codec::chipStatusOf(text); });
  };
  EXPECT_EQ("", error(R"({"genTime":0,"intfToPortId":{}})"));
  EXPECT_EQ("genTime is not a number of seconds from 0 to 1000000000000",
            error(R"({"genTime":-1,"intfToPortId":{}})"));
  // It repeats what was made from the latest point in time, which is above that.
  EXPECT_EQ("", error(R"({"genTime":253402300799.5,"intfToPortId":{}})"));
  EXPECT_EQ("intfToPortId.E1 is not a whole number from 0 to 65535",
            error(R"({"genTime":0,"intfToPortId":{"E1":65536}})"));
  EXPECT_EQ("intfToPortId. is an empty name", error(R"({"genTime":0,"intfToPortId":{"":1}})"));
}

TEST(Codec, RefusesAResetRequest) {
  auto const error = [](std::string const& text, std::string const& name) {
    return errorOf([&] { return Codec::resetOf(text, name); });
  };
  std::string const rest = R"("cause":"","reason":0,"genTime":1})";
  EXPECT_EQ("", error(R"({"type":"chip","slice":"S","chip":"C",)" + rest, "chip,S,C"));
  EXPECT_EQ("", error(R"({"type":"slice","slice":"S",)" + rest, "slice,S"));
  EXPECT_EQ("", error(R"({"type":"allSlices",)" + rest, "allSlices"));
  EXPECT_EQ("", error(R"({"type":"featureAgents",)" + rest, "featureAgents"));
  EXPECT_EQ("belongs into a file named chip,S,C.json",
            error(R"({"type":"chip","slice":"S","chip":"C",)" + rest, "mine"));
  EXPECT_EQ("type is none of chip, slice, allSlices, featureAgents",
            error(R"({"type":"power",)" + rest, "power"));
  EXPECT_EQ("chip is missing", error(R"({"type":"chip","slice":"S",)" + rest, "chip,S,"));
  EXPECT_EQ("slice is not a field of this file",
            error(R"({"type":"allSlices","slice":"S",)" + rest, "allSlices"));
  EXPECT_EQ(
      "reason is not a whole number from 0 to 4294967295",
      error(R"({"type":"allSlices","cause":"","reason":4294967296,"genTime":1})", "allSlices"));
}

TEST(Codec, NamesOfRequestsKeepTheirPartsApart) {
  auto const name = [](char const* slice, char const* chip) {
    return Codec::nameOf(ResetKey(ResetType::chip, chip, slice));
  };
  EXPECT_EQ("chip,S1,C1", name("S1", "C1"));
  EXPECT_NE(name("a,b", "c"), name("a", "b,c"));
  EXPECT_NE(name("a%2C", "c"), name("a,", "c"));
  EXPECT_EQ("chip,a%2Cb,50%25", name("a,b", "50%"));
}

TEST(Codec, RefusesTheOtherFiles) {
  EXPECT_EQ("enabled is neither true nor false",
            errorOf([] { return Codec::featureOf(R"({"enabled":1})"); }));
  EXPECT_EQ("x is not a field of this file",
            errorOf([] { return Codec::launcherEntryOf(R"({"x":1})").seconds(); }));
  EXPECT_EQ("restart is not a number of seconds from 0 to 253402300799",
            errorOf([] { return Codec::launcherEntryOf(R"({"restart":"now"})").seconds(); }));
  EXPECT_EQ("genTime is missing", errorOf([] { return Codec::sliceHwStatusOf("{}").seconds(); }));
  EXPECT_EQ("enabled is missing", errorOf([] { return Codec::chipConfigOf(R"({"deviceId":0})"); }));
  EXPECT_EQ("chips holds what is not a whole number from 0 to 64",
            errorOf([] { return Codec::sliceChipsOf(R"({"chips":[65]})"); }));
  EXPECT_EQ("deviceId is not the file's name", errorOf([] {
              return Codec::chipInfoOf(
                  R"({"deviceId":1,"name":"C","slice":"S","genTime":1,"interfaces":[]})", "2");
            }));
  EXPECT_EQ("interfaces holds what is not a string", errorOf([] {
              return Codec::chipInfoOf(
                  R"({"deviceId":1,"name":"C","slice":"S","genTime":1,"interfaces":[1]})", "1");
            }));
  EXPECT_EQ("the file's name is not a whole number from 0 to 64",
            errorOf([] { return Codec::deviceIdOf("65"); }));
}

TEST(Codec, AHardwareConfigurationComesBack) {
  std::string const text =
      R"({"genTime":5.25,"chips":{"Chip1":{"deviceId":0,"ports":{"1":"Eth1","2":""}},)"
      R"("Chip 2":{"deviceId":1,"ports":{}}}})"
      "\n";
  auto const data = Codec::sliceHwConfigOf(text);
  auto const config = makeNode<SliceHwConfig>("Slice1");
  for (auto const* name : {"Chip1", "Chip 2"}) {
    auto const chip = makeNode<ChipHwConfig>(name);
    Codec::apply(data.chips.at(name), *chip);
    config->chipConfigIs(chip);
  }
  config->genTimeIs(data.genTime);
  EXPECT_EQ(text, Codec::jsonOf(*config));
}

TEST(Codec, PortsAreChangedInPlace) {
  auto const chip = makeNode<ChipHwConfig>("Chip1");
  Codec::apply({3, {{1, "Eth1"}, {2, "Eth2"}}}, *chip);
  auto const kept = chip->portConfig(1);
  Codec::apply({4, {{1, "Eth1"}, {2, "Eth9"}, {3, "Eth3"}}}, *chip);
  EXPECT_EQ(kept, chip->portConfig(1));
  EXPECT_EQ("Eth9", treeName(chip->portConfig(2)->intfName()));
  EXPECT_EQ(4, chip->deviceId());
  Codec::apply({4, {{3, "Eth3"}}}, *chip);
  EXPECT_EQ(1u, chip->portConfig().size());
}

TEST(Codec, AResetRecordComesBack) {
  std::string const text =
      "{\"type\":\"chip\",\"slice\":\"S\",\"chip\":\"C\",\"cause\":\"CRC \\\"x\\\"\","
      "\"reason\":4294967295,\"genTime\":1.5}\n";
  auto const data = Codec::resetOf(text, "chip,S,C");
  auto const entry = makeNode<ResetEntry>(data.key);
  Codec::apply(data, *entry);
  EXPECT_EQ(text, Codec::jsonOf(*entry));
}

TEST(Codec, SystemStatusComesBack) {
  std::string const chip =
      "{\"deviceId\":7,\"name\":\"C\",\"slice\":\"S\",\"genTime\":2.5,\"interfaces\":[\"E2\","
      "\"E1\"]}\n";
  EXPECT_EQ(chip, Codec::jsonOf(Codec::chipInfoOf(chip, "7")));
  EXPECT_EQ("{\"chips\":[3,1]}\n", Codec::jsonOf(Codec::sliceChipsOf("{\"chips\":[3,1]}")));
  EXPECT_EQ("{\"intfToPortId\":{\"E1\":1,\"E\\\"2\":2}}\n",
            Codec::jsonOfInterfaces({{Codec::intfIdOf("E1"), 1}, {Codec::intfIdOf("E\"2"), 2}}));
  EXPECT_EQ((std::map<std::string, PortId>{{"E1", 1}}),
            Codec::interfacesOf("{\"intfToPortId\":{\"E1\":1}}"));
}

TEST(Codec, LauncherEntriesAndFeaturesComeBack) {
  EXPECT_EQ("{}\n", Codec::jsonOfLauncherEntry({}));
  EXPECT_EQ(Duration(2.5), Codec::launcherEntryOf(Codec::jsonOfLauncherEntry(Duration(2.5))));
  EXPECT_TRUE(Codec::featureOf(Codec::jsonOfFeature(true)));
  EXPECT_FALSE(Codec::featureOf(Codec::jsonOfFeature(false)));
}

// Generations are compared exactly, so every digit counts.
RC_GTEST_PROP(Codec, GenerationsComeBackExactly, (std::uint32_t whole, std::uint32_t part)) {
  Duration const genTime(static_cast<double>(whole) + static_cast<double>(part) / 4294967296.0);
  auto const status = makeNode<ChipStatus>("Chip1");
  status->genTimeIs(genTime);
  status->intfToPortIdIs(Codec::intfIdOf("E1"), 3);
  auto const data = Codec::chipStatusOf(Codec::jsonOf(*status));
  RC_ASSERT(data.genTime == genTime);
  RC_ASSERT(data.intfToPortId.at("E1") == 3);
  auto const config = makeNode<ChipConfig>("Chip1");
  Codec::apply({DeviceId(5), true, genTime, Duration(0.1)}, *config);
  auto const back = Codec::chipConfigOf(Codec::jsonOf(*config));
  RC_ASSERT(back.genTime == genTime);
  RC_ASSERT(back.syncGenTime == Duration(0.1));
  RC_ASSERT(back.enabled);
  RC_ASSERT(back.deviceId == DeviceId(5));
}

// Whatever the text, it is read or refused with a reason.
RC_GTEST_PROP(Codec, AnyTextIsReadOrRefused, (std::string const& text)) {
  RC_ASSERT(!errorOf([&] { return Codec::sliceHwConfigOf(text); }).empty());
  RC_ASSERT(!errorOf([&] { return Codec::chipStatusOf(text); }).empty());
}

TEST(Codec, AChipStatusIsAppliedWithItsGenerationLast) {
  auto const status = makeNode<ChipStatus>("Chip1");
  Codec::apply({Duration(1.0), {{"E1", 1}, {"E2", 2}}}, *status);
  std::vector<Vunda::FieldId> fields;
  auto const watch = watchNode(*status, [&](auto field, auto) { fields.push_back(field); });
  Codec::apply({Duration(2.0), {{"E1", 1}, {"E3", 3}}}, *status);
  EXPECT_EQ((std::vector<Vunda::FieldId>{ChipStatus::intfToPortIdField,
                                         ChipStatus::intfToPortIdField, ChipStatus::genTimeField}),
            fields);
  EXPECT_EQ(2u, status->intfToPortId().size());
}

}  // namespace
