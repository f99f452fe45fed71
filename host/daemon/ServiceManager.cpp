#include "host/daemon/ServiceManager.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace {

std::string take(const char* name) {
  const char* value = std::getenv(name);
  std::string taken = value != nullptr ? value : "";
  ::unsetenv(name);
  return taken;
}

/// A number that is all of the text.
std::optional<std::uint64_t> wholeNumberOf(std::string_view text) {
  std::uint64_t number = 0;
  char const* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

std::chrono::microseconds intervalOf(std::string_view interval, std::string_view pid) {
  // Inherited from a parent that forgot to remove them.
  if (!pid.empty() && wholeNumberOf(pid) != static_cast<std::uint64_t>(::getpid())) return {};
  const auto number = wholeNumberOf(interval);
  using Interval = std::chrono::microseconds;
  if (!number || *number > static_cast<std::uint64_t>(Interval::max().count())) return {};
  return Interval(*number);
}

/// @param journal device and inode of the journal's stream, "8:123".
bool isStderr(std::string_view journal) {
  const auto colon = journal.find(':');
  struct stat own {};
  if (colon == std::string_view::npos || ::fstat(STDERR_FILENO, &own) != 0) return false;
  return wholeNumberOf(journal.substr(0, colon)) == static_cast<std::uint64_t>(own.st_dev) &&
         wholeNumberOf(journal.substr(colon + 1)) == static_cast<std::uint64_t>(own.st_ino);
}

}  // namespace

ServiceManager takeServiceManager() {
  ServiceManager manager;
  manager.notifySocket = take("NOTIFY_SOCKET");
  const std::string interval = take("WATCHDOG_USEC");
  manager.watchdogInterval = intervalOf(interval, take("WATCHDOG_PID"));
  manager.isJournalOnStderr = isStderr(take("JOURNAL_STREAM"));
  return manager;
}
