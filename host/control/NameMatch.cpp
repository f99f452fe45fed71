#include "host/control/NameMatch.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "framework/PResult.h"
#include "host/control/NearMiss.h"

namespace {

constexpr std::size_t kCommandBytes = 200;

std::vector<std::string> wordsOf(ProcessTree const& tree, unsigned int pid) {
  std::vector<std::string> words;
  UniqueFd file;
  std::array<char, 4096> buffer{};
  std::string_view text;
  if (tree.open(pid, "cmdline", file) != PResult::ok) return words;
  if (ProcessTree::readFront(file.get(), buffer, text) != PResult::ok) return words;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\0'), text.size());
    words.emplace_back(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return words;
}

int look(ProcessTree const& tree, unsigned int pid, Sighting& sighting) {
  sighting.pid = pid;
  const int res = tree.readStat(pid, sighting.stat);
  // The kernel may escape odd characters in `stat`, but not here.
  return res == PResult::ok ? tree.readComm(pid, sighting.comm) : res;
}

/// By the rule of `PProcess::find`.
bool bears(ProcessTree const& tree, Sighting const& sighting, std::string const& name) {
  if (sighting.stat.isDead()) return false;
  if (sighting.comm == name) return true;
  return name.size() > kCommLength && sighting.comm == name.substr(0, kCommLength) &&
         tree.confirmExecutedAs(sighting.pid, name) == PResult::ok;
}

NamedProcess described(Sighting const& sighting) {
  std::string command;
  for (std::string const& word : sighting.words) {
    if (command.size() > kCommandBytes) break;
    command += (command.empty() ? "" : " ") + word;
  }
  if (command.size() > kCommandBytes) command.resize(kCommandBytes);
  return {sighting.pid, sighting.stat.parentPid, sighting.comm, std::move(command),
          sighting.stat.state};
}

}  // namespace

int matchName(ProcessTree const& tree, std::string const& name, std::optional<unsigned int> asker,
              NameMatches& matches) {
  std::vector<unsigned int> pids;
  if (const int res = tree.listPids(pids); res != PResult::ok) return res;
  std::vector<std::pair<std::size_t, NearMiss>> misses;
  for (const unsigned int pid : pids) {
    Sighting sighting;
    const int res = pid == asker ? PResult::notFound : look(tree, pid, sighting);
    if (ProcessTree::isNobody(res)) continue;
    if (res != PResult::ok) return res;
    sighting.words = wordsOf(tree, pid);
    if (bears(tree, sighting, name)) {
      matches.matches.push_back(described(sighting));
    } else if (auto reason = nearMissReason(tree, sighting, name)) {
      misses.emplace_back(reason->rank, NearMiss{described(sighting), std::move(reason->why)});
    }
  }
  std::ranges::stable_sort(misses, {}, [](auto const& miss) { return miss.first; });
  for (auto& [rank, miss] : misses) {
    const bool isListed = matches.nearMisses.size() < NameMatches::kMostNearMisses;
    isListed ? matches.nearMisses.push_back(std::move(miss)) : void(++matches.leftOut);
  }
  return PResult::ok;
}

std::optional<char> stateOfBearer(ProcessTree const& tree, unsigned int pid,
                                  std::string const& name) {
  Sighting sighting;
  if (look(tree, pid, sighting) != PResult::ok || !bears(tree, sighting, name)) return std::nullopt;
  return sighting.stat.state;
}
