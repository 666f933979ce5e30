#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "tools/Style.h"

namespace Oru::Tools {

// Rows and columns of text, aligned by what they take on a terminal. Texts are any; what a terminal
// would act on is shown as an escape.
//
//   Table table({{"NAME"}, {"PID", Table::Align::right}});
//   table.add({{"Slice1"}, {"4711", Tone::good}});
//   table.print(out, style);
class Table {
 public:
  enum class Align { left, right };
  struct Column {
    std::string title;
    Align align = Align::left;
  };
  struct Cell {
    std::string text;
    Tone tone = Tone::plain;
  };

  explicit Table(std::vector<Column> columns);

  // One cell per column.
  void add(std::vector<Cell> row);
  bool empty() const { return rows_.empty(); }

  // The title and the rows, none wider than `limit` columns; 0: as wide as they are.
  std::vector<std::string> lines(Style const& style, std::size_t limit = 0) const;
  void print(std::ostream& out, Style const& style) const;

 private:
  std::string line(std::vector<Cell> const& row, Style const& style, std::size_t limit) const;

  std::vector<Column> const columns_;
  std::vector<Cell> titles_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<Cell>> rows_;
};

}  // namespace Oru::Tools
