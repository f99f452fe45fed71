#include "host/trust/TrustedPath.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <deque>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "host/trust/TrustedUsers.h"

namespace {

Distrust failure(int error) { return {-error, std::generic_category().message(error)}; }

Distrust distrust(std::string const& path, struct stat const& status, const char* why,
                  const char* remedy) {
  constexpr mode_t kModeBits = 07777;
  return {-EPERM,
          fmt::format("not trusted: {} {} (owner {}, group {}, mode {:04o}): {} {}", path, why,
                      status.st_uid, status.st_gid, status.st_mode & kModeBits, remedy, path)};
}

bool isTrusted(uid_t user) { return trustedUsers().contains(user); }

/// What a mere handle (O_PATH) is opened by.
std::string handlePath(int file) { return fmt::format("/proc/self/fd/{}", file); }

bool hasAccessList(int file) {
  return ::getxattr(handlePath(file).c_str(), "system.posix_acl_access", nullptr, 0) >= 0 ||
         (errno != ENODATA && errno != EOPNOTSUPP);
}

/// Whether a group of others can write; where there is an access list, the mode does not
/// say who can.
bool isOthersGroup(int file, struct stat const& status) {
  return (status.st_mode & S_IWGRP) != 0 && (!isTrusted(status.st_gid) || hasAccessList(file));
}

std::optional<Distrust> judgeOwner(std::string const& path, struct stat const& status) {
  if (isTrusted(status.st_uid)) return std::nullopt;
  return distrust(path, status, "belongs to neither root nor the user of this program",
                  "chown -h root");
}

enum class Use { content, output };

/// Goes a path, link by link, and keeps hold of each folder on the way.
class Walk {
 public:
  explicit Walk(Use use) : fUse(use) {}

  /// @return why the path is not to be had. What is missing at its end is no reason.
  std::optional<Distrust> go(std::filesystem::path const& path);

  /// Opens the very thing that was judged.
  std::variant<UniqueFd, Distrust> reopen(int flags) const;

  /// Opens what is by now at the end of the path, or makes it; no link.
  std::variant<UniqueFd, Distrust> openInFolder(int flags, mode_t mode) const;

  std::string const& path() const { return fSteps.back().path; }

  /// Whether the path leads to what this process was started with, as /dev/stderr does.
  bool isInherited() const { return fIsInherited; }

 private:
  struct Step {
    UniqueFd file;     ///< a handle; none for what is missing
    std::string path;  ///< without links
    bool isShared;     ///< a folder in which anybody may make entries
  };

  bool isBeforeLast() const { return fAhead.empty(); }
  bool isOwnDescriptors() const;
  void plan(std::filesystem::path const& path);
  std::optional<Distrust> enter(std::string const& name);
  std::optional<Distrust> follow(int link, std::string const& path, struct stat const& status);
  std::optional<Distrust> judge(Step& step, struct stat const& status) const;

  const Use fUse;
  std::deque<std::string> fAhead;  ///< names that are still to be gone
  std::vector<Step> fSteps;        ///< from the root folder on
  int fLinks = 0;
  bool fIsInherited = false;
};

void Walk::plan(std::filesystem::path const& path) {
  auto at = fAhead.begin();
  for (auto const& part : path.relative_path()) at = std::next(fAhead.insert(at, part.string()));
  if (!path.is_absolute()) return;
  fSteps.clear();
  fSteps.push_back({UniqueFd(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)), "", false});
}

std::optional<Distrust> Walk::go(std::filesystem::path const& path) {
  plan(std::filesystem::absolute(path));
  struct stat status {};
  if (::fstat(fSteps.back().file.get(), &status) != 0) return failure(errno);
  if (auto reason = judge(fSteps.back(), status)) return reason;
  while (!fAhead.empty()) {
    const std::string name = std::move(fAhead.front());
    fAhead.pop_front();
    if (!fSteps.back().file) return failure(ENOENT);
    if (name.empty() || name == ".") continue;
    // All that was gone is kept without links, so the folder above is the step before.
    if (name == ".." && fSteps.size() > 1) fSteps.pop_back();
    if (name == "..") continue;
    if (auto reason = enter(name)) return reason;
  }
  return std::nullopt;
}

bool Walk::isOwnDescriptors() const {
  return fSteps.back().path == fmt::format("/proc/{}/fd", ::getpid());
}

std::optional<Distrust> Walk::enter(std::string const& name) {
  Step const& folder = fSteps.back();
  const std::string path = folder.path + '/' + name;
  UniqueFd file(::openat(folder.file.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!file && (errno != ENOENT || !isBeforeLast())) return failure(errno);
  struct stat status {};
  if (file && ::fstat(file.get(), &status) != 0) return failure(errno);
  if (file && S_ISLNK(status.st_mode)) {
    fIsInherited = isOwnDescriptors() && isBeforeLast();
    if (!fIsInherited) return follow(file.get(), path, status);
    file = UniqueFd(::openat(folder.file.get(), name.c_str(), O_PATH | O_CLOEXEC));
    if (!file) return failure(errno);
  }
  Step step{std::move(file), path, false};
  const bool isJudged = step.file && !fIsInherited && !(fUse == Use::output && isBeforeLast());
  if (isJudged) {
    if (auto reason = judge(step, status)) return reason;
  }
  fSteps.push_back(std::move(step));
  return std::nullopt;
}

std::optional<Distrust> Walk::follow(int link, std::string const& path, struct stat const& status) {
  constexpr int kMostLinks = 40;  // the kernel's own limit
  if (++fLinks > kMostLinks) return failure(ELOOP);
  if (auto reason = judgeOwner(path, status)) return reason;
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlinkat(link, "", target.data(), target.size());
  if (length < 0) return failure(errno);
  plan(std::string(target.data(), static_cast<std::size_t>(length)));
  return std::nullopt;
}

std::optional<Distrust> Walk::judge(Step& step, struct stat const& status) const {
  std::string const& path = step.path.empty() ? "/" : step.path;
  if (auto reason = judgeOwner(path, status)) return reason;
  const bool isFolder = S_ISDIR(status.st_mode);
  const bool isEverybodys = (status.st_mode & S_IWOTH) != 0 && !S_ISCHR(status.st_mode);
  const bool isGroups = isOthersGroup(step.file.get(), status);
  const bool isFromShared = !fSteps.empty() && fSteps.back().isShared;
  step.isShared = isFolder && (status.st_mode & S_ISVTX) != 0 && (isEverybodys || isGroups);
  // There anybody could have given a second name to somebody else's file.
  if (isFromShared && S_ISREG(status.st_mode) && status.st_nlink > 1) {
    return distrust(path, status, "has a second name, in a folder that others can write to",
                    "make a copy of");
  }
  if (step.isShared) return std::nullopt;
  if (isEverybodys) return distrust(path, status, "can be written by everybody", "chmod o-w");
  if (isGroups && !(fUse == Use::output && isFolder)) {
    return distrust(path, status, "can be written by its group", "chmod g-w");
  }
  return std::nullopt;
}

std::variant<UniqueFd, Distrust> Walk::reopen(int flags) const {
  if (!fSteps.back().file) return failure(ENOENT);
  UniqueFd opened(::open(handlePath(fSteps.back().file.get()).c_str(), flags | O_CLOEXEC));
  if (!opened) return failure(errno);
  return opened;
}

std::variant<UniqueFd, Distrust> Walk::openInFolder(int flags, mode_t mode) const {
  if (fIsInherited || fSteps.size() < 2) return reopen(flags & ~O_CREAT);
  const int folder = fSteps[fSteps.size() - 2].file.get();
  const std::string name = path().substr(path().rfind('/') + 1);
  UniqueFd opened(::openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!opened) return failure(errno);
  return opened;
}

/// Of the very file that was opened.
std::optional<Distrust> judgeOutput(Walk const& walk, struct stat const& status) {
  const mode_t type = status.st_mode & S_IFMT;
  if (type == S_IFBLK) {
    return distrust(walk.path(), status, "is a disk", "name a file in place of");
  }
  if (walk.isInherited() || (type != S_IFREG && type != S_IFIFO)) return std::nullopt;
  if (auto reason = judgeOwner(walk.path(), status)) return reason;
  if (type == S_IFIFO || status.st_nlink <= 1) return std::nullopt;
  return distrust(walk.path(), status, "has a second name, which may be that of another file",
                  "rm");
}

std::string textOf(std::optional<Distrust> const& reason) {
  return reason && reason->error == -EPERM ? reason->text : "";
}

}  // namespace

std::variant<UniqueFd, Distrust> openTrusted(std::string const& path, int flags) {
  Walk walk(Use::content);
  if (auto reason = walk.go(path)) return std::move(*reason);
  return walk.reopen(flags);
}

std::variant<UniqueFd, Distrust> openTrustedOutput(std::string const& path) {
  constexpr mode_t kMode = 0640;
  Walk walk(Use::output);
  if (auto reason = walk.go(path)) return std::move(*reason);
  // Not to wait for the reader of a pipe; who writes may.
  auto opened = walk.openInFolder(O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY, kMode);
  auto const* file = std::get_if<UniqueFd>(&opened);
  if (file == nullptr) return opened;
  struct stat status {};
  if (::fstat(file->get(), &status) != 0) return failure(errno);
  if (auto reason = judgeOutput(walk, status)) return std::move(*reason);
  if (::fcntl(file->get(), F_SETFL, O_APPEND) != 0) return failure(errno);
  return opened;
}

std::string distrustOf(std::string const& path) { return textOf(Walk(Use::content).go(path)); }

std::string obstacleTo(std::string const& path) {
  const auto handle = openTrusted(path, O_PATH);
  auto const* reason = std::get_if<Distrust>(&handle);
  return reason != nullptr ? reason->text : "";
}

std::string distrustOfOutput(std::string const& path) {
  Walk walk(Use::output);
  if (auto reason = walk.go(path)) return textOf(reason);
  struct stat status {};
  if (::lstat(walk.path().c_str(), &status) != 0) return "";
  return textOf(judgeOutput(walk, status));
}

std::string distrustOfFolder(std::string const& file) {
  return distrustOf(std::filesystem::absolute(file).parent_path());
}

std::string ownersOfThisProgram() {
  std::set<uid_t> users = trustedUsers();
  users.erase(0);
  users.erase(::geteuid());
  return fmt::format("{}", fmt::join(users, ", "));
}
