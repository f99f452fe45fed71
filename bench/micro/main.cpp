// The process utilities by themselves. Takes the options of Google Benchmark, such
// as --benchmark_filter=REGEX.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  // As the host does for itself; root may go beyond what it was given.
  constexpr rlim_t kDescriptors = 65'536;
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit raised{kDescriptors, std::max(kDescriptors, limit.rlim_max)};
  if (::setrlimit(RLIMIT_NOFILE, &raised) != 0) {
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
