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

/// More than any `stat` file and enough for the first words of a command line.
constexpr std::size_t kReadSize = 2 * PATH_MAX;

int resultOf(int error) {
  const bool isGone = error == ENOENT || error == ESRCH;
  return isGone ? PResult::notFound : -error;
}

/// Reads the front of a file, as much as one read of it yields.
int readFront(std::string const& path, std::string& text) {
  const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return resultOf(errno);
  text.resize(kReadSize);
  ssize_t length = -1;
  do {
    length = ::read(fd.get(), text.data(), text.size());
  } while (length < 0 && errno == EINTR);
  if (length < 0) return resultOf(errno);
  text.resize(static_cast<std::size_t>(length));
  return PResult::ok;
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

std::string baseName(std::string_view path) {
  return std::string(path.substr(path.find_last_of('/') + 1));
}

/// The base name behind the link to an executable, which the kernel marks when
/// the file was removed or replaced while it runs.
std::string executableName(std::string const& link) {
  constexpr std::string_view kDeleted = " (deleted)";
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  if (length <= 0) return {};
  std::string_view path(target.data(), static_cast<std::size_t>(length));
  if (path.ends_with(kDeleted)) path.remove_suffix(kDeleted.size());
  return baseName(path);
}

}  // namespace

std::string ProcessTree::path(unsigned int pid, std::string_view file) const {
  std::string path = fRoot;
  path.append("/").append(std::to_string(pid)).append("/").append(file);
  return path;
}

int ProcessTree::listPids(std::vector<unsigned int>& pids) const {
  return listNumbers(fRoot, pids);
}

int ProcessTree::readComm(unsigned int pid, std::string& comm) const {
  const int res = readFront(path(pid, "comm"), comm);
  // One newline ends the name; any other is part of it.
  if (res == PResult::ok && comm.ends_with('\n')) comm.pop_back();
  return res;
}

int ProcessTree::readStatFile(std::string const& path, ProcessStat& stat) {
  std::string text;
  const int res = readFront(path, text);
  if (res != PResult::ok) return res;
  auto parsed = parseProcessStat(text);
  if (!parsed) return -EPROTO;
  stat = std::move(*parsed);
  return PResult::ok;
}

int ProcessTree::readStat(unsigned int pid, ProcessStat& stat) const {
  return readStatFile(path(pid, "stat"), stat);
}

int ProcessTree::readLiving(unsigned int pid, ProcessStat& stat) const {
  const int res = readStat(pid, stat);
  return res == PResult::ok && stat.isDead() ? PResult::notFound : res;
}

bool ProcessTree::isProcess(unsigned int pid) const {
  std::string status;
  return readFront(path(pid, "status"), status) == PResult::ok &&
         status.find("\nTgid:\t" + std::to_string(pid) + "\n") != std::string::npos;
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

std::vector<std::string> ProcessTree::programNames(unsigned int pid) const {
  constexpr std::size_t kWords = 3;
  std::vector<std::string> names = {executableName(path(pid, "exe"))};
  std::string commandLine;
  if (readFront(path(pid, "cmdline"), commandLine) == PResult::ok) {
    std::string_view rest = commandLine;
    for (std::size_t word = 0; word < kWords && !rest.empty(); ++word) {
      const auto length = std::min(rest.find('\0'), rest.size());
      names.push_back(baseName(rest.substr(0, length)));
      rest.remove_prefix(std::min(length + 1, rest.size()));
    }
  }
  return names;
}
