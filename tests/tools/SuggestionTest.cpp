#include "tools/Suggestion.h"

#include <gtest/gtest.h>

namespace {

using namespace Oru::Tools;

std::vector<std::string> const commands{"show", "reset", "feature", "trace", "top"};

TEST(Suggestion, FindsWhatWasMisspelt) {
  EXPECT_EQ("show", closest("shwo", commands));
  EXPECT_EQ("reset", closest("rest", commands));
  EXPECT_EQ("feature", closest("featurs", commands));
  EXPECT_EQ("trace", closest("TRACE", commands));
}

TEST(Suggestion, OffersNothingThatIsFarAway) {
  EXPECT_EQ("", closest("delete", commands));
  EXPECT_EQ("", closest("x", {"show"}));
  EXPECT_EQ("", closest("", commands));
  EXPECT_EQ("", closest(std::string(300, 'a'), commands));
}

TEST(Suggestion, IsAQuestionFitForATerminal) {
  EXPECT_EQ("; did you mean \"Slice\\x0A\"?", didYouMean("Slice1", {"Slice\n"}));
  EXPECT_EQ("", didYouMean("Slice1", {}));
}

}  // namespace
