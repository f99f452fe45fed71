// Reading the configuration, and writing it to the log.

#include <array>
#include <sstream>

#include "framework/PUtils.h"
#include "tests/plugin/PluginFixture.h"

namespace {

const std::string kPrefix = "watchdog.process.";

class Configuration : public PluginFixture {
 protected:
  IProcessWatchdogInfo const& infoOf(PLiteral const& name) {
    IProcessWatchdogInfo* info = nullptr;
    EXPECT_EQ(service()->getProcessInfo(name, info), 0);
    return *info;
  }
};

/// A member's key, how it is read, what it is set to, and what the dump says of
/// that and of its default, where it says anything.
const struct {
  const char* suffix;
  const char* read;
  ScriptedFramework::Value value;
  const char* dumped = nullptr;
  const char* byDefault = nullptr;
} kKeys[] = {
    {".name", "getString ", L"zeta", "zeta", "alpha"},
    {".period", "getInt ", 7, "7", "5"},
    {".cpu_enabled", "getBool ", true, "true", "false"},
    {".cpu_limit", "getInt ", 99, "99", "0"},
    {".mem_enabled", "getBool ", true, "true", "false"},
    {".mem_limit", "getInt ", 2147483647, "2147483647", "0"},
    {".inst_enabled", "getBool ", true, "true", "false"},
    {".inst_limit", "getInt ", 11, "11", "0"},
    {".respawn_enabled", "getBool ", true, "true", "false"},
    {".respawn_limit", "getInt ", 3, "3", "-1"},
    {".count_only_diff_parents", "getBool ", true, "true", "false"},
    {".count_only_running", "getBool ", true, "true", "false"},
    {".send_event", "getBool ", false, "false", "true"},
    {".action", "getString ", L"osrestart"},
    {".executable", "getString ", L"/bin/zeta", "/bin/zeta", ""},
    {".arguments", "getString ", L"-a \u00e4", "-a \u00e4", ""},
    {".working_dir", "getString ", L"/srv", "/srv", ""},
};

TEST_F(Configuration, IsReadInOrderAndDumpedInOrderOfNames) {
  fFramework.config["watchdog.process.mem_enabled"] = false;
  fFramework.config["watchdog.process.2.name"] = L"alpha";
  // A value that cannot be read leaves the default, and nothing is said.
  fFramework.config["watchdog.process.2.cpu_limit"] = 55;
  fFramework.results["getInt watchdog.process.2.cpu_limit"] = -7;
  std::string reads = R"(
getBool watchdog.process.cpu_enabled
getBool watchdog.process.mem_enabled
getBool watchdog.process.inst_enabled
getInt watchdog.process.sample_time
)";
  std::string dump =
      "debug [_dumpConfig] ProcessWatchdog configuration: \n"
      "debug \twatchdog.process.cpu_enabled = true\n"
      "debug \twatchdog.process.mem_enabled = false\n"
      "debug \twatchdog.process.inst_enabled = true\n"
      "debug \twatchdog.process.sample_time = 2\n";
  for (const std::string index : {"1", "2"}) {
    for (auto const& key : kKeys) {
      const std::string fullKey = kPrefix + index + key.suffix;
      if (index == "1") fFramework.config[fullKey] = key.value;
      reads.append(key.read).append(fullKey).append("\n");
      const char* const value = index == "1" ? key.byDefault : key.dumped;
      if (value) dump.append("debug \t").append(fullKey).append(" = ").append(value).append("\n");
    }
  }
  reads += "getString watchdog.process.3.name\n";
  ASSERT_EQ(fPlugin->init(), 0);
  EXPECT_EQ(fFramework.take({"get", "error", "debug [_dump", "debug \t"}, true), reads + dump);
  EXPECT_EQ(infoOf(L"zeta").getAction(), osrestart);
  EXPECT_EQ(infoOf(L"alpha").getAction(), none);
}

TEST_F(Configuration, ListEndsAtTheFirstMissingName) {
  const std::array names = {L"web", L"web", L"", L"", L"late"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string member = kPrefix + std::to_string(i + 1);
    if (i != 3) fFramework.config[member + ".name"] = names[i];
    fFramework.config[member + ".period"] = static_cast<int>(i + 1);
  }
  ASSERT_EQ(fPlugin->init(), 0);
  EXPECT_EQ(infoOf(L"web").getPeriod(), 1U);  // the earlier of two of that name
  EXPECT_TRUE(service()->containsProcess(L""));
  EXPECT_FALSE(service()->containsProcess(L"late"));
}

TEST_F(Configuration, EveryGlobalKeyIsNeeded) {
  std::string reads;
  for (const std::string read :
       {"getBool watchdog.process.cpu_enabled", "getBool watchdog.process.mem_enabled",
        "getBool watchdog.process.inst_enabled", "getInt watchdog.process.sample_time"}) {
    reads += "\n" + read;
    fFramework.results = {{read, -9}};
    EXPECT_EQ(fPlugin->init(), -9);
    EXPECT_EQ(fFramework.take({"get", "error"}, true),
              reads + "\nerror [__loadGlobalConfig] Error reading value for key `" +
                  read.substr(read.find(' ') + 1) + "', res=-9" + R"(
error [_loadConfig] Error reading global configuration for ProcessWatchdog, res=-9
error [init] Error loading ProcessWatchdog configuration, res=-9
)");
  }
}

TEST_F(Configuration, IgnoresASampleTimeBelowOne) {
  for (const int seconds : {0, -5}) {
    fFramework.config["watchdog.process.sample_time"] = seconds;
    start();
    EXPECT_EQ(fFramework.take({"error", "wait"}, true),
              "\nerror [__loadGlobalConfig] Invalid value " + std::to_string(seconds) +
                  " for key `watchdog.process.sample_time', ignoring\nwait 2000\n");
  }
}

TEST_F(Configuration, ChecksLimitsAndActionsOfMembers) {
  constexpr int kMost = 2147483647;
  constexpr int kLeast = -kMost - 1;
  const std::array limitKeys = {".period", ".cpu_limit", ".mem_limit", ".inst_limit",
                                ".respawn_limit"};
  const struct {
    const wchar_t* action;
    std::array<int, 5> limits;  ///< by the keys above, their switches being on
    const char* outcome;        ///< number of the action, limits, and which switches are on
  } members[] = {
      {L"none", {1, 0, 0, 0, 1}, "0: 1 0 0 0 1, on: 1111"},
      {L"terminate",
       {kMost, 100, kMost, kMost, kMost},
       "1: 2147483647 100 2147483647 2147483647 2147483647, on: 1111"},
      {L"restart", {0, 101, -1, -1, 0}, "2: 1 0 0 0 -1, on: 0000"},
      {L"osrestart", {kLeast, -1, 7, 7, 7}, "3: 1 0 7 7 7, on: 0111"},
      {L"Restart", {7, 356, 7, 7, 7}, "0: 7 0 7 7 7, on: 0111"},
      {L"restart ", {7, 7, 7, 7, 7}, "0: 7 7 7 7 7, on: 1111"},
      {L"", {7, 7, 7, 7, 7}, "0: 7 7 7 7 7, on: 1111"},
  };
  int index = 0;
  for (auto const& row : members) {
    const std::string member = kPrefix + std::to_string(++index);
    fFramework.config[member + ".name"] = L"p" + std::to_wstring(index);
    fFramework.config[member + ".action"] = row.action;
    for (std::size_t i = 0; i < row.limits.size(); ++i) {
      fFramework.config[member + limitKeys[i]] = row.limits[i];
    }
    for (const char* key : {".cpu", ".mem", ".inst", ".respawn"}) {
      fFramework.config[member + key + "_enabled"] = true;
    }
  }
  ASSERT_EQ(fPlugin->init(), 0);
  index = 0;
  for (auto const& row : members) {
    auto const& info = infoOf((L"p" + std::to_wstring(++index)).c_str());
    std::ostringstream outcome;
    outcome << info.getAction() << ": " << info.getPeriod() << ' ' << int{info.getCpuLimit()} << ' '
            << info.getMemLimit() << ' ' << info.getInstLimit() << ' ' << info.getRespawnLimit()
            << ", on: " << info.getCpuEnabled() << info.getMemEnabled() << info.getInstEnabled()
            << info.getRespawnEnabled();
    EXPECT_EQ(outcome.str(), row.outcome);
  }
  EXPECT_EQ(fFramework.take({"error", "debug [__load"}, true), R"(
error [__loadProcessEntryConfig] Invalid value `0' for key `watchdog.process.3.period', setting to 1
error [__loadProcessEntryConfig] Invalid value `101' for key `watchdog.process.3.cpu_limit', disabling CPU monitoring
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.3.mem_limit', disabling memory monitoring
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.3.inst_limit', disabling instance monitoring
debug [__loadProcessEntryConfig] value `0' for key `watchdog.process.3.respawn_limit', disabling process respawn monitoring
error [__loadProcessEntryConfig] Invalid value `-2147483648' for key `watchdog.process.4.period', setting to 1
error [__loadProcessEntryConfig] Invalid value `-1' for key `watchdog.process.4.cpu_limit', disabling CPU monitoring
error [__loadProcessEntryConfig] Invalid value `356' for key `watchdog.process.5.cpu_limit', disabling CPU monitoring
error [__stringToAction] Invalid action string `Restart', defaulting to `none'
error [__stringToAction] Invalid action string `restart ', defaulting to `none'
error [__stringToAction] Invalid action string `', defaulting to `none'
)");
}

}  // namespace
