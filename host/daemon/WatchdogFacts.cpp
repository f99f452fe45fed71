#include "host/daemon/WatchdogFacts.h"

#include <algorithm>

#include "host/check/KeyTable.h"
#include "host/check/WatchdogKeys.h"

WatchdogFacts readWatchdogFacts(TomlFile const& file) {
  Findings none;
  const KeyTable table(file, kWatchdogTable, none);
  WatchdogFacts facts;
  facts.globals.cpuEnabled = table.isTrue("cpu_enabled");
  facts.globals.memEnabled = table.isTrue("mem_enabled");
  facts.globals.instEnabled = table.isTrue("inst_enabled");
  const int sampleTime = table.integer("sample_time").value_or(0);
  if (sampleTime > 0) facts.globals.sampleTime = static_cast<unsigned int>(sampleTime);
  for (unsigned int number = 1;; ++number) {
    const KeyTable program(file, table.fullKey(std::to_string(number)), none);
    std::string const* name = program.text("name");
    if (name == nullptr) return facts;
    if (std::ranges::find(facts.names, *name) != facts.names.end()) continue;
    facts.names.push_back(*name);
    if (program.isTrue("dry_run")) facts.dryRun.names.insert(*name);
  }
}
