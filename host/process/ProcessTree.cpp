#include "host/process/ProcessTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>

#include "framework/PResult.h"
#include "host/process/UniqueFd.h"

namespace {

int resultOf(int error) {
  const bool isGone = error == ENOENT || error == ESRCH;
  return isGone ? PResult::notFound : -error;
}

/// More than any `stat` file and enough for the first words of a command line.
using Buffer = std::array<char, 2 * PATH_MAX>;

int openFile(std::string const& path, UniqueFd& fd) {
  fd = UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return fd ? PResult::ok : resultOf(errno);
}

int readFile(std::string const& path, std::span<char> buffer, std::string_view& text) {
  UniqueFd fd;
  const int res = openFile(path, fd);
  return res == PResult::ok ? ProcessTree::readFront(fd.get(), buffer, text) : res;
}

/// Numeric entries of a folder, in ascending order.
int listNumbers(std::string const& path, std::vector<unsigned int>& numbers) {
  numbers.clear();
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), &::closedir);
  if (folder == nullptr) return resultOf(errno);
  errno = 0;
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string_view name(entry->d_name);
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error == std::errc() && end == name.data() + name.size()) numbers.push_back(number);
    errno = 0;
  }
  if (errno != 0) return resultOf(errno);
  std::sort(numbers.begin(), numbers.end());
  return PResult::ok;
}

std::string_view baseName(std::string_view path) { return path.substr(path.find_last_of('/') + 1); }

/// The base name behind the link to an executable, which the kernel marks when
/// the file was removed or replaced while it runs.
std::string executableName(std::string const& link) {
  constexpr std::string_view kDeleted = " (deleted)";
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  if (length <= 0) return {};
  std::string_view path(target.data(), static_cast<std::size_t>(length));
  if (path.ends_with(kDeleted)) path.remove_suffix(kDeleted.size());
  return std::string(baseName(path));
}

}  // namespace

std::string ProcessTree::path(unsigned int pid, std::string_view file) const {
  std::string path = fRoot;
  path.append("/").append(std::to_string(pid)).append("/").append(file);
  return path;
}

bool ProcessTree::isNobody(int res) {
  return res == PResult::notFound || res == -EACCES || res == -EPERM;
}

int ProcessTree::confirmTable() const {
  if (fWitness == 0 || ::access(path(fWitness, "stat").c_str(), R_OK) == 0) return PResult::ok;
  return -errno;
}

int ProcessTree::listPids(std::vector<unsigned int>& pids) const {
  return listNumbers(fRoot, pids);
}

int ProcessTree::open(unsigned int pid, const char* file, UniqueFd& fd) const {
  return openFile(path(pid, file), fd);
}

int ProcessTree::readFront(int fd, std::span<char> buffer, std::string_view& text) {
  ssize_t length = -1;
  do {
    length = ::pread(fd, buffer.data(), buffer.size(), 0);
  } while (length < 0 && errno == EINTR);
  if (length < 0) return resultOf(errno);
  text = {buffer.data(), static_cast<std::size_t>(length)};
  return PResult::ok;
}

std::string_view ProcessTree::nameIn(std::string_view text) {
  return text.substr(0, text.size() - (text.ends_with('\n') ? 1 : 0));
}

int ProcessTree::readComm(unsigned int pid, std::string& comm) const {
  Buffer buffer{};
  std::string_view text;
  const int res = readFile(path(pid, "comm"), buffer, text);
  if (res == PResult::ok) comm = nameIn(text);
  return res;
}

int ProcessTree::parseStat(std::string_view text, ProcessStat& stat) {
  auto parsed = parseProcessStat(text);
  if (!parsed) return -EPROTO;
  stat = std::move(*parsed);
  return PResult::ok;
}

int ProcessTree::readStatFile(std::string const& path, ProcessStat& stat) {
  Buffer buffer{};
  std::string_view text;
  const int res = readFile(path, buffer, text);
  return res == PResult::ok ? parseStat(text, stat) : res;
}

int ProcessTree::readStat(unsigned int pid, ProcessStat& stat) const {
  return readStatFile(path(pid, "stat"), stat);
}

int ProcessTree::readLiving(unsigned int pid, ProcessStat& stat) const {
  const int res = readStat(pid, stat);
  return res == PResult::ok && stat.isDead() ? PResult::notFound : res;
}

int ProcessTree::confirmProcess(unsigned int pid) const {
  Buffer buffer{};
  std::string_view status;
  const int res = readFile(path(pid, "status"), buffer, status);
  if (res != PResult::ok) return res;
  const auto found = status.find("\nTgid:\t" + std::to_string(pid) + "\n");
  return found != std::string_view::npos ? PResult::ok : PResult::notFound;
}

int ProcessTree::readLivingThread(unsigned int pid, ProcessStat& stat) const {
  std::vector<unsigned int> threads;
  const int res = listNumbers(path(pid, "task"), threads);
  if (res != PResult::ok) return res;
  for (const unsigned int thread : threads) {
    const int threadRes = readStatFile(path(pid, "task/" + std::to_string(thread) + "/stat"), stat);
    const bool isGone = threadRes == PResult::notFound;
    if (threadRes != PResult::ok && !isGone) return threadRes;
    if (!isGone && stat.state != 'Z' && stat.state != 'X') return PResult::ok;
  }
  return PResult::notFound;
}

int ProcessTree::confirmExecutedAs(unsigned int pid, std::string_view name) const {
  if (executableName(path(pid, "exe")) == name) return PResult::ok;
  constexpr std::size_t kWords = 3;
  Buffer buffer{};
  std::string_view rest;
  const int res = readFile(path(pid, "cmdline"), buffer, rest);
  if (res != PResult::ok) return res;
  for (std::size_t word = 0; word < kWords && !rest.empty(); ++word) {
    const auto length = std::min(rest.find('\0'), rest.size());
    if (baseName(rest.substr(0, length)) == name) return PResult::ok;
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return PResult::notFound;
}
