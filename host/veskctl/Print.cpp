#include "host/veskctl/Print.h"

#include <fmt/format.h>
#include <utf8.h>

namespace ctl {

namespace {

/// As it came for programs, laid out for people.
std::string jsonFor(Context const& context, Answer const& answer) {
  constexpr int kIndent = 2;
  if (context.terminal.isTerminal()) return withoutControls(answer.json.dump(kIndent)) + '\n';
  return answer.body.ends_with('\n') ? answer.body : answer.body + '\n';
}

}  // namespace

std::string withoutControls(std::string const& json) {
  constexpr char32_t kDelete = 0x7f;
  constexpr char32_t kLastControl = 0x9f;
  std::string result;
  for (auto at = json.begin(); at != json.end();) {
    const char32_t character = utf8::unchecked::next(at);
    if (character >= kDelete && character <= kLastControl) {
      result += fmt::format("\\u{:04x}", static_cast<unsigned int>(character));
    } else {
      utf8::unchecked::append(character, std::back_inserter(result));
    }
  }
  return result;
}

Result<std::string> textFor(Context const& context, Answer const& answer, Printer const& printer,
                            View const& view) {
  if (context.options.isJson) return jsonFor(context, answer);
  try {
    return printer(answer.json, view);
  } catch (Json::exception const& error) {
    return notUnderstood(error.what());
  }
}

Outcome print(Context const& context, Result<Answer> const& answer, Printer const& printer) {
  if (auto const* failure = std::get_if<Failure>(&answer)) return *failure;
  View view = context.terminal.view();
  view.height = 0;  // what does not fit scrolls
  const auto text = textFor(context, std::get<Answer>(answer), printer, view);
  if (auto const* failure = std::get_if<Failure>(&text)) return *failure;
  if (auto failure = context.output.write(std::get<std::string>(text))) return *failure;
  return ExitCode::fine;
}

}  // namespace ctl
