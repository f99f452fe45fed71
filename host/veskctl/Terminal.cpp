#include "host/veskctl/Terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <string_view>

namespace ctl {

namespace {

constexpr std::size_t kUsualWidth = 80;

bool isSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

bool isDumb() {
  const char* type = std::getenv("TERM");
  return type == nullptr || std::string_view(type) == "dumb";
}

bool isUtf8() {
  std::setlocale(LC_CTYPE, "");
  return std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
}

/// Of a terminal that does not know its own.
std::size_t widthByEnvironment() {
  const char* columns = std::getenv("COLUMNS");
  const unsigned long width = columns != nullptr ? std::strtoul(columns, nullptr, 10) : 0;
  return width > 0 && width <= 10000 ? width : kUsualWidth;
}

}  // namespace

Terminal::Terminal(int descriptor, ColourUse colours)
    : fDescriptor(descriptor),
      fIsTerminal(::isatty(descriptor) == 1),
      fIsDumb(isDumb()),
      fIsUtf8(isUtf8()) {
  const bool areFitting = fIsTerminal && !fIsDumb && !isSet("NO_COLOR");
  fHasColours = colours == ColourUse::always || (colours == ColourUse::automatic && areFitting);
}

View Terminal::view() const {
  View view;
  view.hasColours = fHasColours;
  view.isUtf8 = fIsUtf8;
  view.now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  if (!fIsTerminal) return view;
  winsize size{};
  if (::ioctl(fDescriptor, TIOCGWINSZ, &size) != 0) size = {};
  view.width = size.ws_col > 0 ? size.ws_col : widthByEnvironment();
  view.height = size.ws_row;
  return view;
}

}  // namespace ctl
