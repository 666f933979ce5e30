#include "mount/Json.h"

#include <gtest/gtest.h>

namespace {

using namespace Oru::Mount;

// "place|reason" of the error that the call raises.
template <class Call>
std::string errorOf(Call call) {
  try {
    call();
  } catch (JsonError const& error) {
    return error.place() + '|' + error.reason();
  }
  return "no error";
}

std::string parseError(std::string const& text) {
  return errorOf([&] { static_cast<void>(parsedJson(text)); });
}

TEST(Json, ReadsEveryKindOfValue) {
  auto const value =
      parsedJson(R"({"a":[null,true,-7,8,1.5,"t\n",[],{}],"b":{"c":{"d":[1]},"e":2}})");
  nlohmann::json const list = {
      nullptr, true, -7, 8, 1.5, "t\n", nlohmann::json::array(), nlohmann::json::object()};
  nlohmann::json const inner = {{"d", nlohmann::json::array({1})}};
  EXPECT_EQ((nlohmann::json{{"a", list}, {"b", {{"c", inner}, {"e", 2}}}}), value);
  EXPECT_TRUE(value["a"][3].is_number_unsigned());
}

TEST(Json, SaysWhereATextIsNotJson) {
  EXPECT_EQ("|is empty", parseError(""));
  EXPECT_EQ("|is not JSON: line 2, column 5", parseError("{\n\"a\":x}"));
  EXPECT_EQ("|is not JSON: line 1, column 6", parseError("{\"a\":"));
  EXPECT_EQ("|is not JSON: line 1, column 4", parseError("{} {}"));
}

TEST(Json, TheReasonHoldsNothingOfTheText) {
  EXPECT_EQ(std::string::npos, parseError("top secret").find("secret"));
}

TEST(Json, RefusesAFieldThatIsGivenTwice) {
  EXPECT_EQ("a|is given twice", parseError(R"({"a":1,"a":2})"));
  EXPECT_EQ("b|is given twice", parseError(R"({"a":[{"b":1,"c":{},"b":2}]})"));
  EXPECT_EQ("no error", parseError(R"({"a":{"a":1},"b":{"a":1}})"));
}

TEST(Json, OfALongPlaceOnlyTheBeginningIsKept) {
  auto const place = [](std::string const& field) {
    return JsonError(field, "is missing").place();
  };
  std::string const longest(JsonError::longestPlace, 'x');
  EXPECT_EQ(longest, place(longest));
  EXPECT_EQ(longest + "...", place(longest + "y"));
  std::string const beginning(JsonError::longestPlace - 1, 'x');
  EXPECT_EQ(beginning + "...", place(beginning + "\u00e9"));
  EXPECT_EQ(longest + "... is missing", std::string(JsonError(longest + "y", "is missing").what()));
}

TEST(Json, RefusesDeepNesting) {
  EXPECT_EQ("|nests deeper than 32", parseError(std::string(1000, '[')));
  EXPECT_EQ("|nests deeper than 32", parseError(std::string(33, '[') + std::string(33, ']')));
  EXPECT_EQ("no error", parseError(std::string(32, '[') + '1' + std::string(32, ']')));
}

TEST(Json, RefusesNumbersThatNoDoubleHolds) {
  EXPECT_EQ("|is not JSON: a number is out of range", parseError(R"({"a":1e999})"));
}

TEST(Json, RefusesTextThatIsNotUtf8) { EXPECT_NE("no error", parseError("{\"a\":\"\xff\"}")); }

class JsonObjectTest : public testing::Test {
 protected:
  template <class Read>
  std::string error(std::string const& text, Read read) {
    auto const json = parsedJson(text);
    return errorOf([&] {
      JsonObject object(json);
      read(object);
      object.finish();
    });
  }
};

TEST_F(JsonObjectTest, TheWholeMustBeAnObject) {
  EXPECT_EQ("|is not an object", error("[]", [](JsonObject&) {}));
}

TEST_F(JsonObjectTest, NamesMissingWrongAndUnknownFields) {
  auto const read = [](JsonObject& object) { object.boolean("enabled"); };
  EXPECT_EQ("no error", error(R"({"enabled":true})", read));
  EXPECT_EQ("enabled|is missing", error("{}", read));
  EXPECT_EQ("enabled|is neither true nor false", error(R"({"enabled":1})", read));
  EXPECT_EQ("more|is not a field of this file", error(R"({"enabled":true,"more":1})", read));
}

TEST_F(JsonObjectTest, ChecksTheRangeOfIntegers) {
  auto const read = [](JsonObject& object) { object.integer("id", 0, 64); };
  for (auto const* good : {"0", "64"})
    EXPECT_EQ("no error", error(std::string("{\"id\":") + good + '}', read));
  for (auto const* bad : {"-1", "65", "1.0", "\"1\"", "18446744073709551615", "null"})
    EXPECT_EQ("id|is not a whole number from 0 to 64",
              error(std::string("{\"id\":") + bad + '}', read));
}

TEST_F(JsonObjectTest, ATimeIsANumberOfSecondsUpToTheYear9999) {
  auto const read = [](JsonObject& object) { object.seconds("t"); };
  for (auto const* good : {"0", "1.5", "253402300799"})
    EXPECT_EQ("no error", error(std::string("{\"t\":") + good + '}', read)) << good;
  for (auto const* bad : {"-0.5", "253402300800", "1e300", "\"1\"", "true"})
    EXPECT_EQ("t|is not a number of seconds from 0 to 253402300799",
              error(std::string("{\"t\":") + bad + '}', read))
        << bad;
}

TEST_F(JsonObjectTest, StringsHoldNoNul) {
  EXPECT_EQ("s|holds a NUL character",
            error(R"({"s":"a\u0000b"})", [](JsonObject& object) { object.string("s"); }));
}

TEST_F(JsonObjectTest, PlacesSayTheWay) {
  EXPECT_EQ("chips.Chip1.deviceId|is missing",
            error(R"({"chips":{"Chip1":{}}})", [](JsonObject& object) {
              object.object("chips").object("Chip1").integer("deviceId", 0, 64);
            }));
}

TEST(Json, NumbersInNamesAreCanonical) {
  EXPECT_EQ(7, integerOf("7", 0, 9, "p"));
  for (auto const* bad : {"", "07", "+7", "7 ", "-1", "10", "x", "1e0"})
    EXPECT_EQ("p|is not a whole number from 0 to 9",
              errorOf([&] { static_cast<void>(integerOf(bad, 0, 9, "p")); }))
        << bad;
}

}  // namespace
