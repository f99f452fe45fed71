#include "host/services/LogFormat.h"

#include <spdlog/pattern_formatter.h>

namespace {

/// One text of the message: the log name or what was logged.
template <spdlog::string_view_t spdlog::details::log_msg::*part>
class PrintableFlag : public spdlog::custom_flag_formatter {
 public:
  void format(spdlog::details::log_msg const& message, std::tm const& /*time*/,
              spdlog::memory_buf_t& out) override {
    const std::string_view text((message.*part).data(), (message.*part).size());
    if (isPlain(text)) {
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
