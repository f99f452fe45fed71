#include "host/watch/Explain.h"

#include <gmock/gmock.h>

namespace {

/// An entry with one process that has been sampled three times in four seconds.
EntryView sampled() {
  EntryView entry;
  entry.isKnown = true;
  entry.lookedAt = WallTime{};
  entry.settings.cpuEnabled = true;
  entry.settings.cpuLimit = 80;
  entry.settings.action = "restart";
  entry.settings.executable = "/sbin/web";
  entry.settings.arguments = "-x";
  entry.instances = {{99, 1, true, true, 3, 10, {3, std::chrono::milliseconds(4004), 79, 10}}};
  return entry;
}

std::string textOf(EntryView const& entry, GlobalSettings const& globals = {}) {
  const Explanation explanation = explain(entry, globals);
  std::string text = "\n";
  for (auto const& check : explanation.checks) text += check.text + '\n';
  return text + nameOf(explanation.health) + ": " + explanation.nextAct + '\n';
}

TEST(Explain, SaysWhatHasNotHappenedYetAndWhatComesNext) {
  EntryView entry = sampled();
  EXPECT_EQ(textOf(entry), R"(
process 99: CPU average 79 of 80 percent over 3 samples; the window is open for 4.0 of 5 s
the memory check is off
no limit of instances is set
the program is not started when it is missing
ok: nothing: no limit is reached
)");
  entry.instances[0].window.cpuAverage = 80;
  entry.settings.dryRun = true;
  EXPECT_EQ(textOf(entry), R"(
process 99: CPU average 80 of 80 percent over 3 samples; the limit is reached if that stays so: the window is open for 4.0 of 5 s
the memory check is off
no limit of instances is set
the program is not started when it is missing
high: end process 99 and start `/sbin/web -x' when the window is over, in 1.0 s at the soonest, if the average stays; the dry run holds that back
)");
  entry.settings.respawnEnabled = entry.settings.instEnabled = true;
  entry.settings.instLimit = 1;
  EXPECT_EQ(textOf(entry, {false, true, true, 2}), R"(
the CPU check is off for all programs
the memory check is off
1 instance counts, 1 is too many; not judged while some are missing
1 instance counts, and one more is started at every sample: no limit is set
missing: start `/sbin/web -x' at every sample; the dry run holds that back
)");
  entry.settings.respawnLimit = 1;
  entry.settings.dryRun = false;
  entry.settings.executable = "";
  EXPECT_EQ(textOf(entry, {false, true, true, 2}), R"(
the CPU check is off for all programs
the memory check is off
1 instance counts, 1 is too many
1 instance counts, at least 1 is wanted
high: end process 99 at the next sample, and nothing can be started again: no executable is set
)");
  entry.settings.respawnEnabled = false;
  entry.instances.clear();
  entry.findResult = -504;
  EXPECT_EQ(explain(entry, {}).nextAct,
            "nothing: there is no process of that name, and none is to be started");
  entry.findResult = -13;
  EXPECT_EQ(explain(entry, {}).nextAct, "nothing: its processes cannot be listed (result -13)");
}

TEST(Explain, ReckonsWithWindowsOfOthersThatAreOverBefore) {
  EntryView entry = sampled();
  entry.instances.resize(3, entry.instances[0]);
  entry.instances[0] = {7, 1, true, true, 3, 10, {1, std::chrono::milliseconds(4), 90, 10}};
  EXPECT_EQ(explain(entry, {}).nextAct,
            "end process 7 and start `/sbin/web -x' when the window is over, in 11.0 s at the "
            "soonest, if the average stays; its window begins anew when that of process 99 is "
            "over, in 1.0 s, and then when 1 other window is");
  entry.instances[0].window.age = std::chrono::milliseconds(4000);  // of the same pass
  EXPECT_THAT(explain(entry, {}).nextAct,
              testing::EndsWith("in 1.0 s at the soonest, if the average stays"));
}

}  // namespace
