#include "host/services/RestartJournal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "framework/PResult.h"
#include "host/trust/TrustedPath.h"

namespace {

constexpr const char* kName = "restarts";
constexpr const char* kBadName = "restarts.bad";
constexpr const char* kNewName = "restarts.new";
constexpr std::string_view kVersion = "vesk-restarts 1\n";
constexpr std::size_t kMaxSize = 65536;
constexpr std::size_t kMaxCause = 200;

std::string errnoText(int error) { return std::generic_category().message(error); }

/// Takes what is before the separator off the front of the text.
std::optional<std::string_view> takeUpTo(char separator, std::string_view& text) {
  const std::size_t end = text.find(separator);
  if (end == std::string_view::npos || end == 0) return std::nullopt;
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(end + 1);
  return taken;
}

std::optional<std::chrono::seconds> takeSeconds(std::string_view& text) {
  constexpr long long kEndOfYear9999 = 253'402'300'799;
  const auto word = takeUpTo(' ', text);
  if (!word) return std::nullopt;
  long long number = 0;
  const auto [end, error] = std::from_chars(word->data(), word->data() + word->size(), number);
  if (error != std::errc() || end != word->data() + word->size()) return std::nullopt;
  if (number < 0 || number > kEndOfYear9999) return std::nullopt;
  return std::chrono::seconds(number);
}

/// Reads "<seconds since 1970> <seconds since boot> <boot id> <cause>".
std::optional<PastRestart> parseLine(std::string_view line) {
  const auto time = takeSeconds(line);
  const auto uptime = time ? takeSeconds(line) : std::nullopt;
  const auto bootId = uptime ? takeUpTo(' ', line) : std::nullopt;
  if (!bootId) return std::nullopt;
  return PastRestart{{std::chrono::sys_seconds(*time), *uptime, std::string(*bootId)},
                     std::string(line)};
}

std::optional<std::vector<PastRestart>> parse(std::string_view text) {
  if (!text.starts_with(kVersion)) return std::nullopt;
  text.remove_prefix(kVersion.size());
  std::vector<PastRestart> past;
  while (!text.empty()) {
    const auto line = takeUpTo('\n', text);
    auto restart = line ? parseLine(*line) : std::nullopt;
    if (!restart) return std::nullopt;
    past.push_back(std::move(*restart));
  }
  return past;
}

std::string format(std::vector<PastRestart> const& past) {
  std::string text(kVersion);
  for (auto const& [at, cause] : past) {
    std::string line = cause.substr(0, kMaxCause);
    std::ranges::replace_if(
        line, [](char c) { return c < ' '; }, ' ');
    text += fmt::format("{} {} {} {}\n", at.time.time_since_epoch().count(), at.uptime.count(),
                        at.bootId, line);
  }
  return text;
}

/// @return why the folder is not to be had.
std::optional<Distrust> openFolder(std::string const& path, UniqueFd& folder) {
  auto opened = openTrusted(path, O_RDONLY | O_DIRECTORY);
  if (auto* reason = std::get_if<Distrust>(&opened); reason != nullptr) return std::move(*reason);
  folder = std::get<UniqueFd>(std::move(opened));
  return std::nullopt;
}

/// @return why the file cannot be believed, or null.
const char* complaintAbout(struct stat const& status) {
  if (!S_ISREG(status.st_mode)) return "not a file";
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) return "of another user";
  return std::cmp_greater(status.st_size, kMaxSize) ? "too large" : nullptr;
}

int readAll(int file, std::string& text) {
  std::array<char, 4096> buffer{};
  while (text.size() <= kMaxSize) {
    const ssize_t size = ::read(file, buffer.data(), buffer.size());
    if (size == 0) return PResult::ok;
    if (size > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      return -errno;
    }
  }
  return -EFBIG;
}

int writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(file, text.data(), text.size());
    if (size >= 0) {
      text.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      return -errno;
    }
  }
  return ::fsync(file) == 0 ? PResult::ok : -errno;
}

int writeNewFile(int folder, std::string_view text) {
  constexpr mode_t kMode = 0600;
  ::unlinkat(folder, kNewName, 0);  // what a crash left behind
  const UniqueFd file(
      ::openat(folder, kNewName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
  return file ? writeAll(file.get(), text) : -errno;
}

int replaceFile(std::string const& path, std::string_view text) {
  UniqueFd folder;
  if (const auto reason = openFolder(path, folder)) return reason->error;
  int res = writeNewFile(folder.get(), text);
  if (res == PResult::ok && ::renameat(folder.get(), kNewName, folder.get(), kName) != 0) {
    res = -errno;
  }
  if (res != PResult::ok) {
    ::unlinkat(folder.get(), kNewName, 0);
    return res;
  }
  return ::fsync(folder.get()) == 0 ? PResult::ok : -errno;
}

}  // namespace

RestartJournal::RestartJournal(std::string folder, std::shared_ptr<spdlog::logger> log)
    : fFolder(std::move(folder)), fLog(std::move(log)) {}

std::string RestartJournal::path() const { return fFolder + "/" + kName; }

RestartJournal::Content RestartJournal::load() const {
  UniqueFd folder;
  if (const auto reason = openFolder(fFolder, folder)) return unknown(reason->text);
  const UniqueFd file(
      ::openat(folder.get(), kName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file && errno == ENOENT) return {};
  if (!file && errno != ELOOP) return unknown(errnoText(errno));
  if (!file) return setAside(folder, "a symbolic link");

  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return unknown(errnoText(errno));
  if (const char* complaint = complaintAbout(status)) return setAside(folder, complaint);
  std::string text;
  const int res = readAll(file.get(), text);
  if (res != PResult::ok) return unknown(errnoText(-res));
  auto past = parse(text);
  return past ? Content{std::move(*past), true} : setAside(folder, "corrupt");
}

RestartJournal::Content RestartJournal::unknown(std::string const& why) const {
  fLog->warn("past restarts of the operating system are not known: {}: {}", path(), why);
  return {{}, false};
}

RestartJournal::Content RestartJournal::setAside(UniqueFd const& folder, char const* why) const {
  const bool isAside = ::renameat(folder.get(), kName, folder.get(), kBadName) == 0;
  return unknown(isAside ? fmt::format("{}; set aside as {}", why, kBadName)
                         : fmt::format("{}, and cannot be set aside: {}", why, errnoText(errno)));
}

int RestartJournal::store(std::vector<PastRestart> const& past) {
  const auto isAnswered = [this](std::chrono::seconds time) {
    return fStoring.wait_for(time) == std::future_status::ready;
  };
  if (fStoring.valid() && !isAnswered(std::chrono::seconds(0))) return -ETIMEDOUT;
  std::packaged_task<int()> task(
      [folder = fFolder, text = format(past)] { return replaceFile(folder, text); });
  fStoring = task.get_future();
  try {
    std::thread(std::move(task)).detach();
  } catch (std::system_error const& error) {
    fStoring = {};
    return -error.code().value();
  }
  return isAnswered(kStoreTime) ? fStoring.get() : -ETIMEDOUT;
}

std::string readBootId(std::string const& path) {
  std::ifstream file(path);
  std::string id;
  return file >> id ? id : "unknown";
}
