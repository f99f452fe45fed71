#include "host/process/ProcessFinder.h"

#include <algorithm>
#include <cerrno>

#include "framework/PResult.h"

namespace {

/// What the kernel keeps of a program's name.
constexpr std::size_t kCommLength = 15;

/// Another user's process may be hidden; it is then as good as not there.
bool isHidden(int res) { return res == -EACCES || res == -EPERM; }

}  // namespace

bool ProcessFinder::bearsName(unsigned int pid, std::string const& comm,
                              std::string const& name) const {
  if (comm == name) return true;
  if (name.size() <= kCommLength || comm != name.substr(0, kCommLength)) return false;
  const auto names = fTree.programNames(pid);
  return std::find(names.begin(), names.end(), name) != names.end();
}

int ProcessFinder::examine(unsigned int pid, std::string const& name, ProcessStat& stat) const {
  std::string comm;
  const int res = fTree.readComm(pid, comm);
  if (res != PResult::ok) return res;
  return bearsName(pid, comm, name) ? fTree.readLiving(pid, stat) : PResult::notFound;
}

int ProcessFinder::find(std::string const& name, std::vector<unsigned int>& pids,
                        std::vector<unsigned int>& parentPids) const {
  pids.clear();
  parentPids.clear();
  std::vector<unsigned int> all;
  int res = fTree.listPids(all);
  if (res != PResult::ok) return res == PResult::notFound ? -ENOENT : res;

  ProcessStat stat;
  for (const unsigned int pid : all) {
    res = examine(pid, name, stat);
    if (res == PResult::notFound || isHidden(res)) continue;
    if (res != PResult::ok) {
      pids.clear();
      parentPids.clear();
      return res;
    }
    pids.push_back(pid);
    parentPids.push_back(stat.parentPid);
  }
  return pids.empty() ? PResult::notFound : PResult::ok;
}
