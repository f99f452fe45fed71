#include "host/veskctl/Table.h"

#include <algorithm>
#include <numeric>

namespace ctl {

namespace {

constexpr std::size_t kGap = 2;

using Widths = std::vector<std::size_t>;

Widths widthsOf(std::vector<Column> const& columns, std::vector<Row> const& rows) {
  Widths widths;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    std::size_t width = displayWidth(columns[i].title);
    for (Row const& row : rows) {
      if (!row.empty()) width = std::max(width, displayWidth(row[i].text));
    }
    widths.push_back(width);
  }
  return widths;
}

std::size_t totalOf(Widths const& widths) {
  const std::size_t gaps = widths.empty() ? 0 : (widths.size() - 1) * kGap;
  return std::accumulate(widths.begin(), widths.end(), gaps);
}

/// Takes from the columns that have most to give.
void shrink(std::vector<Column> const& columns, std::size_t most, Widths& widths) {
  const auto spare = [&](std::size_t i) {
    const std::size_t least = columns[i].least;
    return least == 0 || widths[i] <= least ? 0 : widths[i] - least;
  };
  while (totalOf(widths) > most) {
    std::size_t richest = 0;
    for (std::size_t i = 1; i < widths.size(); ++i) {
      if (spare(i) > spare(richest)) richest = i;
    }
    if (spare(richest) == 0) return;
    --widths[richest];
  }
}

/// @return whether there was one to drop.
bool dropColumn(std::vector<Column>& columns, std::vector<Row>& rows) {
  const auto last =
      std::max_element(columns.begin(), columns.end(),
                       [](Column const& a, Column const& b) { return a.dropped < b.dropped; });
  if (last == columns.end() || last->dropped == 0) return false;
  const auto index = last - columns.begin();
  for (Row& row : rows) {
    if (!row.empty()) row.erase(row.begin() + index);
  }
  columns.erase(last);
  return true;
}

std::string lineOf(std::vector<Column> const& columns, Row const& row, Widths const& widths,
                   View const& view) {
  std::string line;
  std::size_t pending = 0;  // blanks that are written only before something
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string text = cut(row[i].text, widths[i], view);
    const std::size_t blanks = widths[i] - displayWidth(text);
    const std::size_t before = columns[i].isNumber ? blanks : 0;
    pending += before;
    if (!text.empty()) {
      line += std::string(pending, ' ') + painted(text, row[i].colour, view);
      pending = 0;
    }
    pending += blanks - before + kGap;
  }
  return line + '\n';
}

}  // namespace

std::string renderTable(std::vector<Column> columns, std::vector<Row> rows, View const& view) {
  for (Row& row : rows) {
    for (Cell& cell : row) cell.text = shown(cell.text);
  }
  Widths widths = widthsOf(columns, rows);
  while (view.width > 0 && totalOf(widths) > view.width) {
    shrink(columns, view.width, widths);
    if (totalOf(widths) <= view.width || !dropColumn(columns, rows)) break;
    widths = widthsOf(columns, rows);
  }
  Row titles;
  for (Column const& column : columns) titles.push_back({column.title, Colour::faint});
  std::string text = lineOf(columns, titles, widths, view);
  for (Row const& row : rows) {
    text += row.empty() ? painted(std::string(totalOf(widths), '-'), Colour::faint, view) + '\n'
                        : lineOf(columns, row, widths, view);
  }
  return text;
}

}  // namespace ctl
