#pragma once

#include <chrono>

namespace ctl {

using WallTime = std::chrono::sys_time<std::chrono::milliseconds>;

/// What texts are made for.
struct View {
  bool hasColours = false;
  bool isUtf8 = false;     ///< whether more than ASCII can be shown
  std::size_t width = 0;   ///< columns; zero for as many as it takes
  std::size_t height = 0;  ///< lines; zero likewise
  WallTime now{};
};

}  // namespace ctl
