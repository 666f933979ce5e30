#include "launcher/TextTemplate.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Oru::Launcher {
namespace {

constexpr TextTemplate::Values values{"Chip1", "chip", "/run/tree"};

std::string refusalOf(char const* text) {
  try {
    TextTemplate{text};
  } catch (std::invalid_argument const& error) {
    return error.what();
  }
  return "accepted";
}

TEST(TextTemplate, LiteralTextStandsAsItIs) {
  EXPECT_EQ(TextTemplate("--level=2").expand(values), "--level=2");
  EXPECT_EQ(TextTemplate("").expand(values), "");
}

TEST(TextTemplate, EachPlaceholderStandsForItsValue) {
  EXPECT_EQ(TextTemplate("{tree}/status/{kind}-{name}").expand(values),
            "/run/tree/status/chip-Chip1");
  EXPECT_EQ(TextTemplate("{name}{name}").expand(values), "Chip1Chip1");
}

TEST(TextTemplate, DoubledBracesAreBraces) {
  EXPECT_EQ(TextTemplate("{{name}}").expand(values), "{name}");
  EXPECT_EQ(TextTemplate("a}}b{{c").expand(values), "a}b{c");
}

TEST(TextTemplate, WhatIsPutInIsNotSearchedForPlaceholders) {
  EXPECT_EQ(TextTemplate("{name}").expand({"{tree}", "chip", "/t"}), "{tree}");
}

TEST(TextTemplate, AnUnknownPlaceholderIsRefusedByName) {
  EXPECT_EQ(refusalOf("--x={slice}"),
            "has the unknown placeholder {slice}; known are {name}, {kind} and {tree}");
  EXPECT_EQ(refusalOf("{}"), "has the unknown placeholder {}; known are {name}, {kind} and {tree}");
}

TEST(TextTemplate, ABraceWithoutItsPartnerIsRefused) {
  EXPECT_EQ(refusalOf("a{name"), "has a '{' that is not closed; write {{ for a brace");
  EXPECT_EQ(refusalOf("{"), "has a '{' that is not closed; write {{ for a brace");
  EXPECT_EQ(refusalOf("name}"), "has a single '}'; write }} for a brace");
}

}  // namespace
}  // namespace Oru::Launcher
