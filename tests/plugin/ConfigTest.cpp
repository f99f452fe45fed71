#include <sstream>

#include "tests/plugin/PluginFixture.h"

namespace {

class Configuration : public PluginFixture {};

/// A member's key, a value, and what the dump says of that and of the default, if anything.
const struct {
  const char* suffix;
  std::variant<bool, int, PString> value;
  const char* dumped = nullptr;
  const char* byDefault = nullptr;
} kKeys[] = {
    {".name", L"zeta", "zeta", ""},
    {".period", 7, "7", "5"},
    {".cpu_enabled", true, "true", "false"},
    {".cpu_limit", 99, "99", "0"},
    {".mem_enabled", true, "true", "false"},
    {".mem_limit", 2147483647, "2147483647", "0"},
    {".inst_enabled", true, "true", "false"},
    {".inst_limit", 11, "11", "0"},
    {".respawn_enabled", true, "true", "false"},
    {".respawn_limit", 3, "3", "-1"},
    {".count_only_diff_parents", true, "true", "false"},
    {".count_only_running", true, "true", "false"},
    {".send_event", false, "false", "true"},
    {".action", L"osrestart"},
    {".executable", L"/bin/zeta", "/bin/zeta", ""},
    {".arguments", L"-a \u00e4", "-a \u00e4", ""},
    {".working_dir", L"/srv", "/srv", ""},
};

TEST_F(Configuration, IsReadAndDumpedInOrderOfNames) {
  config["watchdog.process.mem_enabled"] = false;
  config["watchdog.process.sample_time"] = 0;
  config["watchdog.process.2.name"] = L"";
  // A value that cannot be read leaves the default, and nothing is said.
  config["watchdog.process.2.cpu_limit"] = 55;
  results["getInt watchdog.process.2.cpu_limit"] = -7;
  config["watchdog.process.3.name"] = L"zeta";  // the earlier one stays
  config["watchdog.process.5.name"] = L"late";
  std::string dump = R"(
error [__loadGlobalConfig] Invalid value 0 for key `watchdog.process.sample_time', ignoring
debug [_dumpConfig] ProcessWatchdog configuration: 
debug 	watchdog.process.cpu_enabled = true
debug 	watchdog.process.mem_enabled = false
debug 	watchdog.process.inst_enabled = true
debug 	watchdog.process.sample_time = 2
)";
  for (const std::string index : {"1", "2"}) {
    for (auto const& key : kKeys) {
      const std::string fullKey = "watchdog.process." + index + key.suffix;
      if (index == "1") config[fullKey] = key.value;
      const char* const value = index == "1" ? key.byDefault : key.dumped;
      if (value) dump += "debug \t" + fullKey + " = " + value + "\n";
    }
  }
  ASSERT_EQ(fPlugin->init(), 0);
  EXPECT_EQ(take("error|debug \\[_dump|debug \t"), dump);
  EXPECT_TRUE(service()->containsProcess(L""));
}

TEST_F(Configuration, DumpsAsMuchOfAMemoryLimitAsItsFormatHolds) {
  for (const char* key : {"cpu_enabled", "mem_enabled", "inst_enabled"}) {
    config["watchdog.process." + std::string(key)] = false;
  }
  PBaseptr<PProcessWatchdog> watchdog;
  watchdog = new PProcessWatchdog;
  constexpr unsigned long long kLimit = 5'000'000'000;
  const Entry entry = newEntry(L"large");
  entry->setMemLimit(kLimit);
  ASSERT_EQ(watchdog->init(), 0);
  ASSERT_EQ(watchdog->addProcessEntry(entry.get()), 0);
  ASSERT_EQ(watchdog->init(), 0);
  EXPECT_EQ(take("debug \twatchdog.process.1.mem_limit"),
            "\ndebug \twatchdog.process.1.mem_limit = " +
                std::to_string(static_cast<unsigned long>(kLimit)) + "\n");
}

TEST_F(Configuration, ChecksLimitsAndActionsOfMembers) {
  const struct {
    const wchar_t* action;
    std::map<std::string, int> limits;
    const char* outcome;  ///< number of the action, limits, and which switches are on
  } members[] = {
      {L"none",
       {{"period", 1}, {"cpu", 0}, {"mem", 0}, {"inst", 0}, {"respawn", 1}},
       "0 1 0 0 0 1 1111"},
      {L"terminate", {{"cpu", 100}, {"mem", 2147483647}}, "1 5 100 2147483647 0 -1 1111"},
      {L"restart",
       {{"period", 0}, {"cpu", 101}, {"mem", -1}, {"inst", -1}, {"respawn", 0}},
       "2 1 0 0 0 -1 0000"},
      {L"osrestart", {{"cpu", -1}}, "3 5 0 0 0 -1 0111"},
      {L"restart ", {{"cpu", 356}}, "0 5 0 0 0 -1 0111"},
  };
  std::string member = "watchdog.process.0.";
  for (auto const& row : members) {
    ++member[17];
    config[member + "name"] = row.action;
    config[member + "action"] = row.action;
    for (const std::string key : {"cpu", "mem", "inst", "respawn"}) {
      config[member + key + "_enabled"] = true;
    }
    for (auto const& [key, limit] : row.limits) {
      config[member + key + (key == "period" ? "" : "_limit")] = limit;
    }
  }
  ASSERT_EQ(fPlugin->init(), 0);
  for (auto const& row : members) {
    IProcessWatchdogInfo* info = nullptr;
    ASSERT_EQ(service()->getProcessInfo(row.action, info), 0);
    std::ostringstream out;
    out << info->getAction() << ' ' << info->getPeriod() << ' ' << int{info->getCpuLimit()} << ' '
        << info->getMemLimit() << ' ' << info->getInstLimit() << ' ' << info->getRespawnLimit()
        << ' ' << info->getCpuEnabled() << info->getMemEnabled() << info->getInstEnabled()
        << info->getRespawnEnabled();
    EXPECT_EQ(out.str(), row.outcome);
  }
  EXPECT_EQ(take("error|debug \\[__load"), R"(
error [__loadProcessEntryConfig] Invalid value `0' for key `watchdog.process.3.period', setting to 1
error [__loadProcessEntryConfig] Invalid value `101' for key `watchdog.process.3.cpu_limit', disabling CPU monitoring
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.3.mem_limit', disabling memory monitoring
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.3.inst_limit', disabling instance monitoring
debug [__loadProcessEntryConfig] value `0' for key `watchdog.process.3.respawn_limit', disabling process respawn monitoring
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.4.cpu_limit', disabling CPU monitoring
error [__loadProcessEntryConfig] Invalid value `356' for key `watchdog.process.5.cpu_limit', disabling CPU monitoring
error [__stringToAction] Invalid action string `restart ', defaulting to `none'
)");
}

}  // namespace
