#include "host/process/DescriptorBudget.h"

#include <algorithm>

namespace {

/// Each kept descriptor costs the kernel some 4.5 KiB, and no device that this runs
/// on has more processes to watch.
constexpr rlim_t kMostUseful = 1U << 16U;

/// Where the limit itself cannot be learnt.
constexpr rlim_t kCustomaryLimit = 1024;

rlimit descriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) limit = {kCustomaryLimit, kCustomaryLimit};
  return limit;
}

}  // namespace

rlimit raiseDescriptorLimit() {
  const rlimit former = descriptorLimit();
  rlimit raised = former;
  raised.rlim_cur = std::max(former.rlim_cur, std::min(former.rlim_max, kMostUseful));
  // Refused, the former limit holds and the share of it is what is kept.
  static_cast<void>(::setrlimit(RLIMIT_NOFILE, &raised));
  return former;
}

std::size_t descriptorsToKeep() {
  return static_cast<std::size_t>(std::min(descriptorLimit().rlim_cur, kMostUseful) / 2);
}
