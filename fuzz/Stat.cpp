// What the kernel says about a process: whatever is accepted says what it was read as.

#include "fuzz/Fuzz.h"
#include "host/process/CpuMeter.h"
#include "host/process/ProcessTree.h"
#include "tests/host/process/FakeProc.h"

namespace {

/// The process, as another text says it.
FakeProcess processOf(ProcessStat const& stat) {
  return {stat.comm,        stat.state,      stat.parentPid,     stat.cpuTicks,
          stat.threadCount, stat.startTicks, stat.residentPages, "",
          stat.flags};
}

void requireSame(ProcessStat const& stat, FakeProcess const& process) {
  REQUIRE(stat.comm == process.comm && stat.state == process.state);
  REQUIRE(stat.parentPid == process.parentPid && stat.cpuTicks == process.cpuTicks);
  REQUIRE(stat.threadCount == process.threads && stat.startTicks == process.startTicks);
  REQUIRE(stat.residentPages == process.pages && stat.flags == process.flags);
  REQUIRE(!(stat.isDead() && stat.isRunning()));
}

}  // namespace

FUZZ_TARGET(stat) {
  CpuMeter meter(100);
  ProcessStat stat;
  if (ProcessTree::parseStat(input, stat) == 0) {
    REQUIRE(input.find("(" + stat.comm + ") " + stat.state + " ") != std::string_view::npos);
    ProcessStat again;
    REQUIRE(ProcessTree::parseStat(statText(1, processOf(stat)), again) == 0);
    requireSame(again, processOf(stat));
    meter.measure({stat, std::chrono::seconds(1), std::chrono::seconds(2)});
  } else {
    stat.cpuTicks = input.size();
  }
  // Any name, and more time than a moment has.
  const char state = "RSDITtZXxKWP"[input.size() % 12];
  const FakeProcess process =
      processOf({std::string(input), state, 7, 8, stat.cpuTicks, 9, stat.startTicks, 10});
  const std::string text = statText(4194304, process);
  REQUIRE(ProcessTree::parseStat(text, stat) == 0);
  requireSame(stat, process);
  meter.measure({stat, std::chrono::seconds(3), std::chrono::seconds(4)});
  // The last number ends where the text does, and none may be missing.
  const std::size_t end = text.rfind(' ');
  REQUIRE(ProcessTree::parseStat(text.substr(0, end), stat) == 0);
  REQUIRE(ProcessTree::parseStat(text.substr(0, text.rfind(' ', end - 1)), stat) != 0);
  REQUIRE(ProcessTree::nameIn(process.comm + "\n") == process.comm);
}
