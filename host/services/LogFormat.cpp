#include "host/services/LogFormat.h"

#include <fmt/format.h>
#include <spdlog/pattern_formatter.h>
#include <utf8.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7f;
constexpr unsigned int kLastControl = 0x9f;

/// Printable ASCII, which nearly every line is made of.
bool isPlain(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte >= kFirstPrintable && byte < kDelete) || byte == '\t';
}

void appendCharacter(char32_t character, std::string& out) {
  auto to = std::back_inserter(out);
  if (character == U'\n') {
    out += "\\n";
  } else if (character == U'\r') {
    out += "\\r";
  } else if (character == U'\t' || (character >= kFirstPrintable && character < kDelete) ||
             character > kLastControl) {
    utf8::unchecked::append(character, to);
  } else if (character <= kDelete) {
    fmt::format_to(to, "\\x{:02x}", static_cast<unsigned int>(character));
  } else {
    fmt::format_to(to, "\\u{:04x}", static_cast<unsigned int>(character));
  }
}

/// One text of the message: the log name or what was logged.
template <spdlog::string_view_t spdlog::details::log_msg::*part>
class PrintableFlag : public spdlog::custom_flag_formatter {
 public:
  void format(spdlog::details::log_msg const& message, std::tm const& /*time*/,
              spdlog::memory_buf_t& out) override {
    const std::string_view text((message.*part).data(), (message.*part).size());
    if (std::all_of(text.begin(), text.end(), isPlain)) {
      out.append(text);
    } else {
      out.append(printable(text));
    }
  }

  std::unique_ptr<custom_flag_formatter> clone() const override {
    return std::make_unique<PrintableFlag>();
  }
};

class PriorityFlag : public spdlog::custom_flag_formatter {
 public:
  void format(spdlog::details::log_msg const& message, std::tm const& /*time*/,
              spdlog::memory_buf_t& out) override {
    out.append(journalPriority(message.level));
  }

  std::unique_ptr<custom_flag_formatter> clone() const override {
    return std::make_unique<PriorityFlag>();
  }
};

}  // namespace

std::string_view journalPriority(spdlog::level::level_enum level) {
  switch (level) {
    case spdlog::level::critical:
    case spdlog::level::err:
      return "<3>";
    case spdlog::level::warn:
      return "<4>";
    case spdlog::level::info:
      return "<6>";
    default:
      return "<7>";
  }
}

std::string printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  auto at = text.begin();
  while (at != text.end()) {
    const auto wellFormedEnd = utf8::find_invalid(at, text.end());
    while (at != wellFormedEnd) appendCharacter(utf8::unchecked::next(at), out);
    if (at == text.end()) break;
    fmt::format_to(std::back_inserter(out), "\\x{:02x}", static_cast<unsigned char>(*at));
    ++at;
  }
  return out;
}

std::unique_ptr<spdlog::formatter> makeLogFormat(LogLayout layout) {
  using Name = PrintableFlag<&spdlog::details::log_msg::logger_name>;
  using Message = PrintableFlag<&spdlog::details::log_msg::payload>;
  auto format = std::make_unique<spdlog::pattern_formatter>();
  // Flags of no meaning to the library itself.
  format->add_flag<Name>('N').add_flag<Message>('*').add_flag<PriorityFlag>('J');
  format->set_pattern(layout == LogLayout::journal ? "%J%l %N: %*"
                                                   : "%Y-%m-%dT%H:%M:%S.%e%z %l %N: %*");
  return format;
}
