#pragma once

#include <string>
#include <string_view>

#include "host/veskctl/View.h"

namespace ctl {

enum class Colour { none, strong, faint, good, warning, bad };

/// `text` between what switches the colour on and off again, if the view has any.
std::string painted(std::string_view text, Colour colour, View const& view);

/// The text as it may stand in one line: printable, a blank for a tab.
std::string shown(std::string_view text);

/// Columns that a shown text takes on a terminal.
std::size_t displayWidth(std::string_view text);

/// What fits into that many columns; a mark at the end says that more was there.
std::string cut(std::string_view text, std::size_t width, View const& view);

/// All the lines, cut to the view's width; none of them is painted yet.
std::string cutLines(std::string_view lines, View const& view);

}  // namespace ctl
