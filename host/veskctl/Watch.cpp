#include "host/veskctl/Watch.h"

#include <fmt/format.h>

#include <optional>

#include "host/veskctl/Units.h"

namespace ctl {

namespace {

/// The part of the terminal that is drawn anew; the lines that scroll by where there is
/// none.
class Screen {
 public:
  Screen(Output const& output, bool canMove) : fOutput(output), fCanMove(canMove) {
    // Another screen, no cursor, no wrapping.
    if (fCanMove) static_cast<void>(fOutput.write("\x1b[?1049h\x1b[?25l\x1b[?7l"));
  }
  ~Screen() {
    if (!fCanMove) return;
    // What was seen last stays.
    static_cast<void>(fOutput.write("\x1b[?7h\x1b[?25h\x1b[?1049l" + fLast));
  }
  Screen(Screen const&) = delete;
  Screen& operator=(Screen const&) = delete;

  std::optional<Failure> show(std::string text) {
    fLast = std::move(text);
    if (!fCanMove) return fOutput.write(fLast);
    // Drawn over the former one in a single write, so that nothing flickers.
    std::string drawn = "\x1b[H";
    for (const char character : fLast) {
      if (character == '\n') drawn += "\x1b[K";
      drawn += character;
    }
    return fOutput.write(drawn + "\x1b[J");
  }

 private:
  Output const& fOutput;
  bool fCanMove;
  std::string fLast;
};

/// Above what was last known.
std::string lossOf(Failure const& failure, WallTime since, View const& view) {
  std::string text = fmt::format("no answer for {}: {}",
                                 humanDuration(static_cast<double>((view.now - since).count())),
                                 shown(failure.text));
  if (view.width > 0) text = cut(text, view.width, view);
  return painted(text, Colour::bad, view) + '\n';
}

}  // namespace

Outcome watch(Context const& context, Request const& request, Printer const& printer) {
  const std::chrono::milliseconds interval(
      static_cast<long long>(context.options.watchSeconds * 1000));
  std::optional<Screen> screen;
  std::optional<Answer> known;  // once there is a screen
  WallTime heardAt{};
  do {
    auto answer = ask(context.api, request);
    View view = context.terminal.view();
    auto const* failure = std::get_if<Failure>(&answer);
    if (failure != nullptr && (!screen || failure->code == ExitCode::fine)) return *failure;
    if (failure == nullptr) {
      known = std::get<Answer>(std::move(answer));
      heardAt = view.now;
    }
    if (failure != nullptr && view.height > 1) --view.height;
    auto text = textFor(context, *known, printer, view);
    if (auto const* why = std::get_if<Failure>(&text)) return *why;
    std::string shownText = std::get<std::string>(std::move(text));
    if (failure != nullptr) {
      if (context.options.isJson) {
        context.tell(failure->text);
        continue;
      }
      shownText = lossOf(*failure, heardAt, view) + shownText;
    }
    if (!screen) {
      screen.emplace(context.output, context.terminal.canMove() && !context.options.isJson);
    }
    if (auto why = screen->show(std::move(shownText))) return *why;
  } while (context.wait(interval) != Interrupts::Wake::stop);
  return ExitCode::fine;
}

}  // namespace ctl
