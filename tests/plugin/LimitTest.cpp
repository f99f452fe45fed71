// What a reached limit leads to, act by act.

#include <optional>

#include "tests/plugin/PluginFixture.h"

namespace {

/// The limits that are watched, and what a reached one leads to.
struct Watched {
  std::optional<unsigned char> cpu = {};
  std::optional<unsigned long long> mem = {};
  std::optional<unsigned int> inst = {};
  std::optional<int> respawn = {};
  int action = none;
  bool sendEvent = true;
};

void setUp(IProcessWatchdogEntry& entry, Watched const& watched) {
  entry.setCpuEnabled(watched.cpu.has_value());
  entry.setCpuLimit(static_cast<char>(watched.cpu.value_or(0)));
  entry.setMemEnabled(watched.mem.has_value());
  entry.setMemLimit(watched.mem.value_or(0));
  entry.setInstEnabled(watched.inst.has_value());
  entry.setInstLimit(watched.inst.value_or(0));
  entry.setRespawnEnabled(watched.respawn.has_value());
  entry.setRespawnLimit(watched.respawn.value_or(0));
  entry.setAction(static_cast<ProcessWatchdogActionEnum>(watched.action));
  entry.setShouldSendEvent(watched.sendEvent);
  entry.setShouldCountOnlyRunning(true);
}

const struct {
  const char* name;
  Watched watched;
  std::vector<ScriptedFramework::Process> processes;
  std::map<std::string, int> results;
  const char* journal;  ///< of one tick, without readings
} kCases[] = {
    {"CpuNoneAt200", {.cpu = 200}, {{9, 1, 199}, {10, 1, 200}}, {}, R"(
info [__takeCpuAction] CPU too high (average=200, limit=200) for process `web', pid 10'
postEvent event.watchdog.process.cpu_high web 10
info [__executeAction] Executing action `none' to pid 10
)"},
    {"CpuRestart", {.cpu = 50, .action = restart}, {{10, 1, 49}, {11, 1, 99}}, {}, R"(
info [__takeCpuAction] CPU too high (average=99, limit=50) for process `web', pid 11'
postEvent event.watchdog.process.cpu_high web 11
info [__executeAction] Executing action `restart' to pid 11
info [__restartProcess] Terminating process 11 for `web' before restarting
kill 11
start /bin/web|-x|/srv
info [__startProcess] Successfully restarted `web' '-x', new pid=500
)"},
    {"CpuRestartOfAMissingProcess", {.cpu = 0, .action = restart}, {{10}}, {{"kill", -504}}, R"(
info [__takeCpuAction] CPU too high (average=0, limit=0) for process `web', pid 10'
postEvent event.watchdog.process.cpu_high web 10
info [__executeAction] Executing action `restart' to pid 10
info [__restartProcess] Terminating process 10 for `web' before restarting
kill 10
error [__restartProcess] Error terminating process 10 for `web'
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-504
)"},
    {"MemRestartThatDoesNotStart",
     {.mem = 9, .action = restart},
     {{9, 1, 0, 8}, {10, 1, 0, 9}},
     {{"start", -2}},
     R"(
info [__takeMemAction] Memory too high (average=9, limit=9) for process `web', pid 10
postEvent event.watchdog.process.mem_high web 10
info [__executeAction] Executing action `restart' to pid 10
info [__restartProcess] Terminating process 10 for `web' before restarting
kill 10
start /bin/web|-x|/srv
error [__startProcess] Error restarting `/bin/web', res=-2
error [__restartProcess] Error starting process for `web', res=-2
error [__updateEntry] Error taking memory action for proces `web', pid=10, res=-2
)"},
    {"MemTerminateAndEventFail",
     {.mem = 0, .action = terminate},
     {{10}},
     {{"kill", -1}, {"postEvent", -1}},
     R"(
info [__takeMemAction] Memory too high (average=0, limit=0) for process `web', pid 10
postEvent event.watchdog.process.mem_high web 10
error [__sendEvent] Error sending `event.watchdog.process.mem_high' event for process `web', res=-1
info [__executeAction] Executing action `terminate' to pid 10
info [__terminateProcess] Terminating process 10 for `web'
kill 10
error [__updateEntry] Error taking memory action for proces `web', pid=10, res=-1
)"},
    {"CpuOsRestartRefused", {.cpu = 0, .action = osrestart}, {{10}}, {{"restart", -1}}, R"(
info [__takeCpuAction] CPU too high (average=0, limit=0) for process `web', pid 10'
postEvent event.watchdog.process.cpu_high web 10
info [__executeAction] Executing action `osrestart' to pid 10
instance com.telmor.vesk.os.restart
info [__restartOs] Restarting OS
restart 0
error [__restartOs] Error restaring OS, res=-1
release os restart
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-1
)"},
    {"AllThreeOfAnUnknownActionWithoutEvents",
     {.cpu = 1, .mem = 1, .inst = 1, .action = 7, .sendEvent = false},
     {{10, 1, 1, 1}},
     {},
     R"(
info [__takeCpuAction] CPU too high (average=1, limit=1) for process `web', pid 10'
info [__sendEvent] Not sending event with topic `event.watchdog.process.cpu_high', because events are disabled
error [__actionToString] Invalid action `7', assuming `none'
info [__executeAction] Executing action `none' to pid 10
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-500
info [__takeMemAction] Memory too high (average=1, limit=1) for process `web', pid 10
info [__sendEvent] Not sending event with topic `event.watchdog.process.mem_high', because events are disabled
error [__actionToString] Invalid action `7', assuming `none'
info [__executeAction] Executing action `none' to pid 10
error [__updateEntry] Error taking memory action for proces `web', pid=10, res=-500
error [__actionToString] Invalid action `7', assuming `none'
info [__takeInstAction] Instance count too high (current=1, limit=1) for process `web', taking action none
info [__sendEvent] Not sending event with topic `event.watchdog.process.inst_high', because events are disabled
increment wd_proc_count
)"},
    {"InstOneBelow", {.inst = 2, .action = terminate}, {{10}}, {}, ""},
    {"InstTerminateAlsoWhatIsNotCounted",
     {.inst = 1, .action = terminate},
     {{10}, {11, 1, 0, 0, false}, {12, 1, 0, 0, false}},
     {{"kill 10", -3}, {"kill 12", -504}, {"increment", -1}},
     R"(
info [__takeInstAction] Instance count too high (current=1, limit=1) for process `web', taking action terminate
postEvent event.watchdog.process.inst_high web 1
increment wd_proc_count
info [__takeInstAction] Killing all processes named `web'
kill 10
error [__terminateAllProcesses] Error killing process pid=10, res=-3
kill 11
kill 12
)"},
    {"InstRestartThoughKillingFails", {.inst = 1, .action = restart}, {{10}}, {{"kill", -3}}, R"(
info [__takeInstAction] Instance count too high (current=1, limit=1) for process `web', taking action restart
postEvent event.watchdog.process.inst_high web 1
increment wd_proc_count
info [__takeInstAction] Killing all processes named `web' before restarting the process
kill 10
error [__terminateAllProcesses] Error killing process pid=10, res=-3
error [__takeInstAction] Error terminating all processes, res=-3
start /bin/web|-x|/srv
info [__startProcess] Successfully restarted `web' '-x', new pid=500
)"},
    {"InstOsRestartMissing",
     {.inst = 0, .action = osrestart},
     {{10}},
     {{"instance com.telmor.vesk.os.restart", -9}},
     R"(
info [__takeInstAction] Instance count too high (current=1, limit=0) for process `web', taking action osrestart
postEvent event.watchdog.process.inst_high web 1
increment wd_proc_count
instance com.telmor.vesk.os.restart
error [__restartOs] Error obtaining instance of IOSRestart, res=-9
error [__updateEntry] Error taking instance count action for proces `web', res=-9
)"},
    {"RespawnBeforeTooMany", {.inst = 0, .respawn = 2, .action = terminate}, {{10}}, {}, R"(
debug [__takeInstAction] Respawning [web] current=1, limit=2
info [__takeInstAction] Instance count too Low (current=1, limit=2) for process `web', taking action Respawn
start /bin/web|-x|/srv
info [__startProcess] Successfully restarted `web' '-x', new pid=500
)"},
    {"RespawnOfANegativeMinimumFails",
     {.inst = 0, .respawn = -1, .action = terminate},
     {},
     {{"start", -2}},
     R"(
debug [__takeInstAction] Respawning [web] current=0, limit=4294967295
info [__takeInstAction] Instance count too Low (current=0, limit=4294967295) for process `web', taking action Respawn
start /bin/web|-x|/srv
error [__startProcess] Error restarting `/bin/web', res=-2
error [__updateEntry] Error taking instance count action for proces `web', res=-2
)"},
    {"NoRespawnForAMinimumOfZero", {.inst = 0, .respawn = 0, .action = terminate}, {}, {}, R"(
info [__takeInstAction] Instance count too high (current=0, limit=0) for process `web', taking action terminate
postEvent event.watchdog.process.inst_high web 0
increment wd_proc_count
info [__takeInstAction] Killing all processes named `web'
)"},
};

class Limits : public PluginFixture {};

TEST_F(Limits, LeadToTheseActsAtEveryTick) {
  start();
  for (auto const& row : kCases) {
    SCOPED_TRACE(row.name);
    const Entry entry = monitor([&row](E& e) { setUp(e, row.watched); });
    fFramework.processes["web"] = row.processes;
    fFramework.results = row.results;
    for (int tick = 0; tick < 2; ++tick) {
      fFramework.eventSource = nullptr;
      const std::string journal = tickAfter(0, kReadings);
      EXPECT_EQ(journal, row.journal);
      IBase* const source = journal.find("postEvent") != std::string::npos ? entry.get() : nullptr;
      EXPECT_EQ(fFramework.eventSource, source);
    }
    EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  }
}

}  // namespace
