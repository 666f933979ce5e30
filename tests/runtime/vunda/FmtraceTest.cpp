#include "runtime/vunda/Fmtrace.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/TraceCapture.h"

namespace {

constinit Kesh::TraceHandle handle("fmtrace");

template <typename... Args>
OruTest::TraceCapture::Line traced(char const* format, Args const&... args) {
  OruTest::TraceCapture capture(handle);
  Vunda::fmtrace(handle, 3, "central/X.cpp", "handleX", 12, format, args...);
  return capture.lines().at(0);
}

TEST(Fmtrace, LineCarriesLevelFileFunctionLineAndText) {
  auto const line = traced("Starting chip agent {}", Vunda::String("Chip1"));
  EXPECT_EQ(line.level, 3u);
  EXPECT_EQ(line.file, "central/X.cpp");
  EXPECT_EQ(line.function, "handleX");
  EXPECT_EQ(line.line, 12u);
  EXPECT_EQ(line.text, "Starting chip agent Chip1");
}

TEST(Fmtrace, EveryListOfArgumentsInUseFormats) {
  Vunda::String const name("Chip1");
  Vunda::Duration const early(12.5);
  Vunda::Duration const late(13);
  std::uint16_t const bytes[] = {7, 64, 255};
  EXPECT_EQ(traced("creating sliceSm").text, "creating sliceSm");
  EXPECT_EQ(traced("hw genTime {}", early).text, "hw genTime 12.5");
  EXPECT_EQ(traced("{} genTime {}", name, early).text, "Chip1 genTime 12.5");
  EXPECT_EQ(traced("config genTime {} status genTime {}", early, late).text,
            "config genTime 12.5 status genTime 13");
  EXPECT_EQ(traced("byte {} config {} status {}", bytes[0], bytes[1], bytes[2]).text,
            "byte 7 config 64 status 255");
  EXPECT_EQ(traced("FeatureCollSm::{}", "handleFeatureColl").text,
            "FeatureCollSm::handleFeatureColl");
  EXPECT_EQ(traced("FeatureCollSm::{} Adding: {}", "handleFeatureColl", name).text,
            "FeatureCollSm::handleFeatureColl Adding: Chip1");
}

TEST(Fmtrace, MissingArgumentRaisesTheFormattersError) {
  OruTest::TraceCapture const capture(handle);
  EXPECT_THROW(Vunda::fmtrace(handle, 3, "f", "g", 1, "{} {}", 1), fmt::format_error);
  EXPECT_TRUE(capture.lines().empty());
}

}  // namespace
