#include "host/veskctl/Watch.h"

#include <fmt/format.h>

#include <optional>

#include "host/veskctl/Units.h"

namespace ctl {

namespace {

/// The part of the terminal that is drawn anew; the lines that scroll by where there is
/// none.
class Screen : public IPausable {
 public:
  explicit Screen(Context const& context)
      : fContext(context), fCanMove(context.terminal.canMove() && !context.options.isJson) {
    if (!fCanMove) return;
    write(kEnter);
    if (fContext.setPausable) fContext.setPausable(this);
  }
  ~Screen() override {
    if (!fCanMove) return;
    if (fContext.setPausable) fContext.setPausable(nullptr);
    write(kLeave + fLast);  // what was seen last stays
  }
  Screen(Screen const&) = delete;
  Screen& operator=(Screen const&) = delete;

  std::optional<Failure> show(std::string text) {
    fLast = std::move(text);
    if (!fCanMove) return fContext.output.write(fLast);
    // Drawn over the former one in a single write, so that nothing flickers.
    std::string drawn = "\x1b[H";
    for (const char character : fLast) {
      if (character == '\n') drawn += "\x1b[K";
      drawn += character;
    }
    return fContext.output.write(drawn + "\x1b[J");
  }

  void leave() override { write(kLeave); }
  void enter() override { write(kEnter); }

 private:
  // Another screen, no cursor, no wrapping; and back.
  static constexpr const char* kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
  static constexpr const char* kLeave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

  /// A terminal that is lost is told by what is shown next.
  void write(std::string const& text) const { static_cast<void>(fContext.output.write(text)); }

  Context const& fContext;
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
    if (!screen) screen.emplace(context);
    if (auto why = screen->show(std::move(shownText))) return *why;
  } while (context.wait(interval) != Interrupts::Wake::stop);
  return ExitCode::fine;
}

}  // namespace ctl
