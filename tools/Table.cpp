#include "tools/Table.h"

#include <algorithm>
#include <utility>

#include "tools/Text.h"

namespace Oru::Tools {

namespace {

constexpr std::size_t gap = 2;

std::string spaces(std::size_t count) { return std::string(count, ' '); }

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
  for (auto const& column : columns_) {
    titles_.push_back({column.title, Tone::heading});
    widths_.push_back(displayWidth(column.title));
  }
}

void Table::add(std::vector<Cell> row) {
  row.resize(columns_.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i].text = shown(row[i].text);
    widths_[i] = std::max(widths_[i], displayWidth(row[i].text));
  }
  rows_.push_back(std::move(row));
}

std::vector<std::string> Table::lines(Style const& style, std::size_t limit) const {
  std::vector<std::string> lines{line(titles_, style, limit)};
  for (auto const& row : rows_) lines.push_back(line(row, style, limit));
  return lines;
}

void Table::print(std::ostream& out, Style const& style) const {
  for (auto const& each : lines(style)) out << each << '\n';
}

// Nothing is padded behind the last text of a line.
std::string Table::line(std::vector<Cell> const& row, Style const& style, std::size_t limit) const {
  std::string line;
  std::size_t begin = 0;  // of the column
  std::size_t used = 0;   // columns of the terminal that the line has
  for (std::size_t i = 0; i < row.size(); begin += widths_[i] + gap, ++i) {
    std::size_t const width = displayWidth(row[i].text);
    std::size_t const indent = columns_[i].align == Align::right ? widths_[i] - width : 0;
    if (width == 0) continue;
    std::size_t const at = begin + indent;
    if (limit != 0 && at >= limit) break;
    std::string const text = limit == 0 ? row[i].text : fitted(row[i].text, limit - at);
    line += spaces(at - used) + style(row[i].tone, text);
    used = at + displayWidth(text);
  }
  return line;
}

}  // namespace Oru::Tools
