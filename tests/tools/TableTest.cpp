#include "tools/Table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace Oru::Tools;

Table sample() {
  Table table({{"NAME"}, {"PID", Table::Align::right}, {"STATE"}});
  table.add({{"Slice1"}, {"7"}, {"up", Tone::good}});
  table.add({{"线卡"}, {"1234"}, {"starting"}});
  return table;
}

std::string printed(Table const& table, Style const& style) {
  std::ostringstream out;
  table.print(out, style);
  return out.str();
}

TEST(Table, ColumnsAreAlignedByWhatTheyTakeOnATerminal) {
  EXPECT_EQ(
      "NAME     PID  STATE\n"
      "Slice1     7  up\n"
      "线卡    1234  starting\n",
      printed(sample(), Style(false)));
}

TEST(Table, ColoursTakeNoColumns) {
  EXPECT_EQ(
      "\033[1mNAME\033[0m     \033[1mPID\033[0m  \033[1mSTATE\033[0m\n"
      "Slice1     7  \033[32mup\033[0m\n"
      "线卡    1234  starting\n",
      printed(sample(), Style(true)));
}

TEST(Table, LinesAreCutAtTheLimit) {
  EXPECT_EQ((std::vector<std::string>{"NAME     PID  ST", "Slice1     7  up", "线卡    1234  st"}),
            sample().lines(Style(false), 16));
  EXPECT_EQ((std::vector<std::string>{"NAM", "Sli", "线"}), sample().lines(Style(false), 3));
}

TEST(Table, ControlCharactersInCellsAreEscaped) {
  Table table({{"NAME"}});
  table.add({{"a\nb\033[2J"}});
  EXPECT_EQ("NAME\na\\x0Ab\\x1B[2J\n", printed(table, Style(false)));
}

TEST(Table, EmptyCellsLeaveNoBlanksAtTheEnd) {
  Table table({{"A"}, {"B"}});
  EXPECT_TRUE(table.empty());
  table.add({{"x"}, {""}});
  EXPECT_FALSE(table.empty());
  EXPECT_EQ("A  B\nx\n", printed(table, Style(false)));
}

}  // namespace
