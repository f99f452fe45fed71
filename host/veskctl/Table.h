#pragma once

#include <string>
#include <vector>

#include "host/veskctl/Text.h"

namespace ctl {

struct Column {
  const char* title = "";
  bool isNumber = false;  ///< to the right
  std::size_t least = 0;  ///< columns that it may be cut to; zero for never
  int dropped = 0;        ///< where that is not enough the highest goes first; zero never
};

struct Cell {
  std::string text{};  ///< made fit to be shown by the table
  Colour colour = Colour::none;
};

using Row = std::vector<Cell>;

/// The rows under the titles, aligned by what the characters take on a terminal, cut
/// to the view's width. A row without cells becomes a rule.
std::string renderTable(std::vector<Column> columns, std::vector<Row> rows, View const& view);

}  // namespace ctl
