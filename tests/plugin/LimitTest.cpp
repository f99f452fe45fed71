#include "tests/plugin/PluginFixture.h"

namespace {

class Limits : public PluginFixture {};

TEST_F(Limits, LeadToTheseActs) {
  const struct {
    Watch watch;
    std::vector<Process> found;
    std::map<std::string, int> scripted;
    const char* journal;  ///< of one tick, with all that is said if nothing fails
  } rows[] = {
      {{.on = "c", .limit = 200, .action = restart},
       {{9, 1, 199}, {10, 1, 200}, {11, 1, 255}},
       {{"kill 10", -504}},
       R"(
kill 10
error [__restartProcess] Error terminating process 10 for `web'
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-504
kill 11
start /bin/web|-x|/srv
)"},
      {{.on = "m", .action = restart}, {{10}}, {{"start", -2}}, R"(
kill 10
start /bin/web|-x|/srv
error [__startProcess] Error restarting `/bin/web', res=-2
error [__restartProcess] Error starting process for `web', res=-2
error [__updateEntry] Error taking memory action for proces `web', pid=10, res=-2
)"},
      {{.on = "m", .action = terminate}, {{10}}, {{"kill", -1}, {"postEvent", -1}}, R"(
error [__sendEvent] Error sending `event.watchdog.process.mem_high' event for process `web', res=-1
kill 10
error [__updateEntry] Error taking memory action for proces `web', pid=10, res=-1
)"},
      {{.on = "c", .action = osrestart}, {{10}}, {{"restart", throwsBadAlloc}}, R"(
instance com.telmor.vesk.os.restart
restart 0
error [__restartOs] Error restaring OS, res=-12
release
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-12
)"},
      {{.on = "cq", .limit = 1, .action = 4}, {{10, 1, 1, 1}}, {}, R"(
info [__takeCpuAction] CPU too high (average=1, limit=1) for process `web', pid 10'
info [__sendEvent] Not sending event with topic `event.watchdog.process.cpu_high', because events are disabled
error [__actionToString] Invalid action `4', assuming `none'
info [__executeAction] Executing action `none' to pid 10
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-500
)"},
      {{.on = "c", .action = osrestart}, {{10}}, {{"instance", givesNone}}, R"(
instance com.telmor.vesk.os.restart
error [__restartOs] Error obtaining instance of IOSRestart, res=-504
error [__updateEntry] Error taking CPU action for proces `web', pid=10, res=-504
)"},
      {{.on = "i", .limit = 2, .action = terminate}, {{10}}, {}, ""},
      {{.on = "i", .action = terminate}, {}, {}, ""},
      // All found are killed, also one that does not count; the last result counts.
      {{.on = "in", .action = terminate},
       {{10}, {11, 1, 0, 0, false}},
       {{"kill 10", -3}},
       R"(
increment wd_proc_count
kill 10
error [__terminateAllProcesses] Error killing process pid=10, res=-3
kill 11
)"},
      {{.on = "i", .action = restart}, {{9}, {10}}, {{"kill 9", -504}, {"kill", -3}}, R"(
increment wd_proc_count
kill 9
kill 10
error [__terminateAllProcesses] Error killing process pid=10, res=-3
error [__takeInstAction] Error terminating all processes, res=-3
start /bin/web|-x|/srv
)"},
      // A respawn comes before the limit of instances, and a negative minimum is a large one.
      {{.on = "ir", .action = terminate, .respawnLimit = 2}, {{10}}, {{"start", -2}}, R"(
start /bin/web|-x|/srv
error [__startProcess] Error restarting `/bin/web', res=-2
error [__updateEntry] Error taking instance count action for proces `web', res=-2
)"},
      {{.on = "ir", .action = terminate, .respawnLimit = -1}, {}, {}, R"(
debug [__takeInstAction] Respawning [web] current=0, limit=4294967295
info [__takeInstAction] Instance count too Low (current=0, limit=4294967295) for process `web', taking action Respawn
start /bin/web|-x|/srv
info [__startProcess] Successfully restarted `web' '-x', new pid=500
)"},
      {{.on = "ir", .action = terminate}, {}, {}, R"(
info [__takeInstAction] Instance count too high (current=0, limit=0) for process `web', taking action terminate
postEvent 0 event.watchdog.process.inst_high
increment wd_proc_count
info [__takeInstAction] Killing all processes named `web'
)"},
  };

  start();
  for (auto const& row : rows) {
    const Entry entry = monitor(row.watch);
    processes["web"] = row.found;
    results = row.scripted;
    eventSource = entry.get();
    EXPECT_EQ(tickAfter(0, results.empty() ? "(?!find|isRun|get|wait)"
                                           : "(?!find|isRun|get|wait|post|info|debug)"),
              row.journal);
    EXPECT_EQ(eventSource, entry.get());
    EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  }
}

}  // namespace
