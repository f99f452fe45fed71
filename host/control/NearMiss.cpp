#include "host/control/NearMiss.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>
#include <string_view>

#include "framework/PResult.h"
#include "host/check/NearestName.h"

namespace {

/// Shorter names are like too many others.
constexpr std::size_t kLeastForTypo = 4;
constexpr std::size_t kLeastForBeginning = 3;

struct Question {
  ProcessTree const& tree;
  Sighting const& seen;
  std::string const& name;
};

std::string_view baseName(std::string_view path) { return path.substr(path.find_last_of('/') + 1); }

bool isWord(Question const& asked, std::size_t index) {
  return index < asked.seen.words.size() && baseName(asked.seen.words[index]) == asked.name;
}

bool isInterpreter(std::string_view comm) {
  static constexpr std::array<std::string_view, 14> kBeginnings = {
      "sh",  "bash", "dash", "ash", "zsh",  "ksh",  "busybox",
      "lua", "node", "perl", "php", "java", "ruby", "python"};
  return std::ranges::any_of(kBeginnings, [comm](std::string_view beginning) {
    // A version may follow.
    return comm.starts_with(beginning) &&
           comm.find_first_not_of("0123456789.", beginning.size()) == std::string_view::npos;
  });
}

bool isThreadNamed(Question const& asked) {
  UniqueFd folder;
  if (asked.tree.open(asked.seen.pid, "task", folder) != PResult::ok) return false;
  const std::unique_ptr<DIR, int (*)(DIR*)> threads(::fdopendir(folder.get()), &::closedir);
  if (threads == nullptr) return false;
  const int fd = folder.release();
  const std::string_view kept = std::string_view(asked.name).substr(0, kCommLength);
  while (const dirent* thread = ::readdir(threads.get())) {
    const std::string path = std::string(thread->d_name) + "/comm";
    const UniqueFd comm(::openat(fd, path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 256> buffer{};
    std::string_view text;
    const bool isRead = comm && ProcessTree::readFront(comm.get(), buffer, text) == PResult::ok;
    if (isRead && ProcessTree::nameIn(text) == kept) return true;
  }
  return false;
}

// Why not, in this way; empty for no. The nearest first.

std::string dead(Question const& asked) {
  const bool isNamed = asked.seen.comm == std::string_view(asked.name).substr(0, kCommLength);
  if (!isNamed || !asked.seen.stat.isDead()) return {};
  return "it is dead, and its parent has not reaped it";
}

std::string withFolder(Question const& asked) {
  const std::string_view base = baseName(asked.name);
  const bool isMeant = base != asked.name && base.substr(0, kCommLength) == asked.seen.comm;
  return isMeant ? fmt::format("a name has no folder: ask for `{}'", base) : "";
}

std::string cut(Question const& asked) {
  if (asked.name.size() <= kCommLength) return {};
  if (asked.seen.comm != asked.name.substr(0, kCommLength)) return {};
  return "the kernel keeps 15 bytes of a name, which are the same, but neither the executable nor "
         "one of the first three words of the command line is named so";
}

std::string script(Question const& asked) {
  const bool isScript = isWord(asked, 1) || isWord(asked, 2);
  if (!isScript || !isInterpreter(asked.seen.comm)) return {};
  return fmt::format("it is a script: the kernel's name of it is that of its interpreter, {}",
                     asked.seen.comm);
}

std::string executable(Question const& asked) {
  if (isWord(asked, 0)) {
    return fmt::format("it was started under that name, but the kernel's name of it is {}",
                       asked.seen.comm);
  }
  if (isWord(asked, 1) || isWord(asked, 2)) return {};
  if (asked.tree.confirmExecutedAs(asked.seen.pid, asked.name) != PResult::ok) return {};
  return fmt::format("its executable is named so, but the kernel's name of it is {}",
                     asked.seen.comm);
}

std::string thread(Question const& asked) {
  if (asked.seen.stat.threadCount < 2 || !isThreadNamed(asked)) return {};
  return fmt::format("one of its threads is named so, but the process is {}", asked.seen.comm);
}

std::string otherCase(Question const& asked) {
  const auto isSame = [](char one, char other) {
    return std::tolower(static_cast<unsigned char>(one)) ==
           std::tolower(static_cast<unsigned char>(other));
  };
  if (!std::ranges::equal(asked.seen.comm, asked.name, isSame)) return {};
  return fmt::format("capital letters count: it is {}", asked.seen.comm);
}

std::string beginning(Question const& asked) {
  std::string const& comm = asked.seen.comm;
  if (comm.starts_with(asked.name)) return fmt::format("its name goes on: it is {}", comm);
  if (comm.size() < kLeastForBeginning || !asked.name.starts_with(comm)) return {};
  return fmt::format("its name is only the beginning: it is {}", comm);
}

std::string typo(Question const& asked) {
  if (std::min(asked.name.size(), asked.seen.comm.size()) < kLeastForTypo) return {};
  if (nearestName(asked.name, {asked.seen.comm}).empty()) return {};
  return fmt::format("one or two letters differ: it is {}", asked.seen.comm);
}

std::string argument(Question const& asked) {
  const bool isThere = std::ranges::any_of(asked.seen.words, [&asked](std::string const& word) {
    return word.find(asked.name) != std::string::npos;
  });
  if (!isThere) return {};
  return fmt::format("the name is only in the arguments: the kernel's name of it is {}",
                     asked.seen.comm);
}

constexpr std::array kReasons = {dead,   withFolder, cut,       script, executable,
                                 thread, otherCase,  beginning, typo,   argument};

}  // namespace

std::optional<NearMissReason> nearMissReason(ProcessTree const& tree, Sighting const& sighting,
                                             std::string const& name) {
  for (std::size_t rank = 0; rank < kReasons.size(); ++rank) {
    std::string why = kReasons[rank]({tree, sighting, name});
    if (!why.empty()) return NearMissReason{rank, std::move(why)};
  }
  return std::nullopt;
}
