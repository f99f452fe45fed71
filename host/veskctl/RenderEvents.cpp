#include <fmt/format.h>

#include <array>
#include <string_view>

#include "host/veskctl/Render.h"
#include "host/veskctl/Text.h"

namespace ctl {

namespace {

struct KindColour {
  std::string_view kind;
  Colour colour;
};

constexpr std::array<KindColour, 6> kColours = {{{"cpu_high", Colour::warning},
                                                 {"mem_high", Colour::warning},
                                                 {"inst_high", Colour::warning},
                                                 {"kill", Colour::bad},
                                                 {"os_restart", Colour::bad},
                                                 {"start", Colour::good}}};

constexpr std::size_t kKindWidth = 13;  // of the longest, "entry_removed"

std::string renderKind(std::string kind, View const& view) {
  Colour colour = Colour::none;
  for (KindColour const& row : kColours) {
    if (row.kind == kind) colour = row.colour;
  }
  kind = shown(kind);
  const std::size_t width = displayWidth(kind);
  return painted(kind, colour, view) +
         std::string(width < kKindWidth ? kKindWidth - width : 0, ' ');
}

std::string renderMissed(long long missed, View const& view) {
  const auto number = static_cast<unsigned long long>(missed);
  return painted(fmt::format("({} missed: no longer kept)", counted(number, "event")),
                 Colour::warning, view) +
         '\n';
}

/// What there is beside the text.
std::string detailsOf(Json const& event) {
  const long long result = integerOf(event, "result");
  std::string text = result != 0 ? fmt::format(" (result {})", result) : "";
  if (isTrue(event, "would_have")) text += " (dry run)";
  return text;
}

}  // namespace

std::string renderEventLine(Json const& line, View const& view) {
  const auto number = numberOf(line, "number");
  if (!number) return renderMissed(integerOf(line, "missed"), view);
  const auto time = timeOf(line, "time");
  std::string entry = textOf(line, "entry");
  const auto pid = numberOf(line, "pid");
  if (pid) entry += fmt::format("[{:.0f}]", *pid);
  return fmt::format("{}  {}  {}{}{}{}\n",
                     painted(time ? localTime(*time) : "-", Colour::faint, view),
                     renderKind(textOf(line, "kind", "-"), view), shown(entry),
                     entry.empty() ? "" : ": ", shown(textOf(line, "text")), detailsOf(line));
}

std::string renderEvents(Json const& events, View const& view) {
  Json const& list = listOf(events, "events");
  const long long missed = integerOf(events, "missed");
  std::string text = missed > 0 ? renderMissed(missed, view) : "";
  for (Json const& event : list) text += renderEventLine(event, view);
  return text.empty() ? "no event yet\n" : text;
}

}  // namespace ctl
