#include "host/process/ProcessStat.h"

#include <charconv>
#include <cstring>

namespace {

/// Positions after the closing parenthesis of the name, from 0.
enum Field : std::size_t {
  kParentPid = 1,
  kFlags = 6,
  kUserTicks = 11,
  kSystemTicks = 12,
  kThreadCount = 17,
  kStartTicks = 19,
  kResidentPages = 21
};

constexpr unsigned int kKernelThreadFlag = 0x00200000;  // PF_KTHREAD

/// Reads the fields after the name one by one.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : fAt(text.data()), fEnd(fAt + text.size()) {}

  /// Goes to a field behind the one that was read last.
  bool goTo(Field field) {
    for (; fField < field; ++fField) {
      const void* blank = std::memchr(fAt, ' ', static_cast<std::size_t>(fEnd - fAt));
      if (blank == nullptr) return false;
      fAt = static_cast<const char*>(blank) + 1;
    }
    return true;
  }

  template <class Number>
  bool read(Field field, Number& number) {
    if (!goTo(field)) return false;
    const auto [end, error] = std::from_chars(fAt, fEnd, number);
    const bool isWhole = error == std::errc() && (end == fEnd || *end == ' ' || *end == '\n');
    fAt = end;
    return isWhole;
  }

 private:
  const char* fAt;
  const char* fEnd;
  std::size_t fField = 0;
};

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
  const auto close = text.rfind(')');
  constexpr std::string_view kShortest = ") S ";
  if (open == std::string_view::npos || close == std::string_view::npos || close < open ||
      text.size() - close < kShortest.size() || text[close + 1] != ' ' || text[close + 3] != ' ') {
    return std::nullopt;
  }
  ProcessStat stat;
  stat.comm = text.substr(open + 1, close - open - 1);
  stat.state = text[close + 2];
  FieldReader fields(text.substr(close + 3));
  unsigned long long userTicks = 0;
  unsigned long long systemTicks = 0;
  const bool isWhole =
      fields.read(kParentPid, stat.parentPid) && fields.read(kFlags, stat.flags) &&
      fields.read(kUserTicks, userTicks) && fields.read(kSystemTicks, systemTicks) &&
      fields.read(kThreadCount, stat.threadCount) && fields.read(kStartTicks, stat.startTicks) &&
      fields.read(kResidentPages, stat.residentPages);
  if (!isWhole) return std::nullopt;
  stat.cpuTicks = userTicks + systemTicks;
  return stat;
}
