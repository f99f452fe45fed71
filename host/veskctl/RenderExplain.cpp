#include <vector>

#include "host/veskctl/Health.h"
#include "host/veskctl/Render.h"
#include "host/veskctl/Text.h"

namespace ctl {

namespace {

constexpr std::size_t kTitleWidth = 11;  // of the longest, "instances", and a gap

Colour colourOf(Json const& check) {
  if (isTrue(check, "is_reached")) return Colour::bad;
  return isTrue(check, "is_enabled") ? Colour::none : Colour::faint;
}

}  // namespace

std::string renderExplain(Json const& explanation, View const& view) {
  std::string text = painted(shown(textOf(explanation, "name", "?")), Colour::strong, view) + ": " +
                     painted(shown(healthWord(explanation)), healthOf(explanation).colour, view) +
                     (isTrue(explanation, "dry_run") ? ", a dry run" : "") + '\n';
  std::string former;
  for (Json const& check : listOf(explanation, "checks")) {
    std::string title = shown(textOf(check, "check"));
    if (title == former) {
      title.clear();
    } else {
      former = title;
    }
    title.resize(std::max(title.size(), kTitleWidth), ' ');
    text += "  " + title + painted(shown(textOf(check, "text")), colourOf(check), view) + '\n';
  }
  return text + "  " + painted("next", Colour::strong, view) +
         std::string(kTitleWidth - std::string_view("next").size(), ' ') +
         shown(textOf(explanation, "next_act", "-")) + '\n';
}

}  // namespace ctl
