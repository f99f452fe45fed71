#include "host/process/ProcessStat.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

/// Positions after the closing parenthesis of the name, from 0.
enum Field : std::size_t {
  kParentPid = 1,
  kFlags = 6,
  kUserTicks = 11,
  kSystemTicks = 12,
  kThreadCount = 17,
  kStartTicks = 19,
  kResidentPages = 21,
  kFieldCount = 22
};

constexpr unsigned int kKernelThreadFlag = 0x00200000;  // PF_KTHREAD

template <class Number>
bool readNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// The blank-separated fields at the front of `text`, as many as are wanted.
bool splitFields(std::string_view text, std::array<std::string_view, kFieldCount>& fields) {
  for (auto& field : fields) {
    const auto length = std::min(text.find_first_of(" \n"), text.size());
    field = text.substr(0, length);
    if (field.empty()) return false;
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return true;
}

}  // namespace

bool ProcessStat::isDead() const {
  return state == 'X' || state == 'x' || (state == 'Z' && threadCount <= 1);
}

bool ProcessStat::isRunning() const {
  return std::string_view("RSDI").find(state) != std::string_view::npos;
}

bool ProcessStat::isKernelThread() const { return (flags & kKernelThreadFlag) != 0; }

std::optional<ProcessStat> parseProcessStat(std::string_view text) {
  // The last parenthesis closes the name: what follows it has none.
  const auto open = text.find('(');
  const auto close = text.rfind(") ");
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  std::array<std::string_view, kFieldCount> fields;
  if (!splitFields(text.substr(close + 2), fields) || fields[0].size() != 1) return std::nullopt;

  ProcessStat stat;
  stat.comm = text.substr(open + 1, close - open - 1);
  stat.state = fields[0].front();
  unsigned long long userTicks = 0;
  unsigned long long systemTicks = 0;
  const bool isWhole =
      readNumber(fields[kParentPid], stat.parentPid) && readNumber(fields[kFlags], stat.flags) &&
      readNumber(fields[kUserTicks], userTicks) && readNumber(fields[kSystemTicks], systemTicks) &&
      readNumber(fields[kThreadCount], stat.threadCount) &&
      readNumber(fields[kStartTicks], stat.startTicks) &&
      readNumber(fields[kResidentPages], stat.residentPages);
  if (!isWhole) return std::nullopt;
  stat.cpuTicks = userTicks + systemTicks;
  return stat;
}
