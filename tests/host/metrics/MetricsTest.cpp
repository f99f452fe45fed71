#include "host/metrics/Metrics.h"

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

#include "tests/host/process/TemporaryFolder.h"

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class MetricsText : public testing::Test {
 protected:
  MetricsText() {
    fView.pass = {7,
                  WallTime(milliseconds(1'700'000'000'250)),
                  true,
                  microseconds(1'500'000),
                  microseconds(1200),
                  microseconds(8900)};
    EntryView nginx = entry("nginx", 0,
                            {{1, 0, true, true, 30, 100, {}},
                             {2, 1, false, true, 12, 4'000'000, {}},
                             {3, 0, true, true, {}, {}, {}}});
    EntrySettings& settings = nginx.settings;
    settings.cpuEnabled = settings.memEnabled = settings.respawnEnabled = true;
    settings.cpuLimit = 80;
    settings.memLimit = 2'048;
    settings.respawnLimit = 2;
    nginx.totals = {1, 2, 3, 4, 5, 6, 7, 8};
    fView.entries.push_back(nginx);
    fJournal->append({});
  }

  static EntryView entry(std::string const& name, int findResult,
                         std::vector<InstanceView> const& instances) {
    EntryView made{{}, true, WallTime(), findResult, instances, {}};
    made.settings.name = name;
    return made;
  }

  std::string text() const {
    return Metrics({{"0.1.0", 9, WallTime(milliseconds(1'690'000'000'500)), "", {}},
                    [this] { return fView; },
                    fJournal,
                    [this] { return fCounters; },
                    [this] { return fRestarts; },
                    [] {
                      return OwnUsage{milliseconds(2'250), 6'815'744, 1, 40, 1024};
                    },
                    [] { return WallTime(milliseconds(1'700'000'001'500)); }})
        .text();
  }

  static std::vector<std::string> linesOf(std::string const& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) all.push_back(line);
    return all;
  }

  void expectLines(std::string const& expected) const {
    EXPECT_THAT(linesOf(text()), testing::IsSupersetOf(linesOf(expected)));
  }

  WatchView fView;
  const std::shared_ptr<RecordJournal> fJournal = std::make_shared<RecordJournal>();
  std::map<std::string, unsigned long long> fCounters{{"wd_proc_count", 0}};
  RestartState fRestarts{
      {{{std::chrono::sys_seconds(seconds(1'600'000'000)), {}, ""}, ""}}, {}, 1, 3};
};

TEST_F(MetricsText, SaysWhatIsKnownInBaseUnits) { expectLines(contentOf(GOLDEN "/expected.txt")); }

TEST_F(MetricsText, LeavesOutWhatIsOffOrUnknown) {
  fView.pass.begunAt.reset();
  fView.globals.cpuEnabled = false;
  fView.entries[0].findResult = -12;
  fView.entries.push_back(entry("gone", -504, {}));
  fRestarts = {};
  const std::string off = text();
  for (const std::string name :
       {"veskd_last_", "entry_cpu_limit", "entry_instance_limit", "entry_instances{entry=\"nginx",
        "entry_memory_limit_bytes{entry=\"gone", "entry_memory_bytes{entry=\"gone",
        "counted_instances{entry=\"gone"}) {
    EXPECT_THAT(off, Not(HasSubstr(name)));
  }
  expectLines(R"(veskd_entry_look_success{entry="nginx"} 0
veskd_entry_look_success{entry="gone"} 1
veskd_entry_instances{entry="gone"} 0)");
  fView.entries.clear();
  EXPECT_THAT(text(), AllOf(HasSubstr("\nveskd_entries 0\n"), Not(HasSubstr("entry"))));
}

TEST_F(MetricsText, IsValidWhateverTheNames) {
  using namespace std::string_literals;
  for (std::string const& name : {"a \"b\"\\\n"s, "\xff z"s, "n\0l"s, "größe"s, ""s}) {
    fView.entries.push_back(entry(name, 0, {}));
  }
  fView.entries[0].settings.respawnLimit = -1;
  fCounters = {{"my counter", 1}, {"veskd_passes_total", 2}, {"9é", 3}, {"a:b", 1ULL << 40}};
  expectLines(R"(veskd_entry_instances{entry="a \"b\"\\\n"} 0
veskd_entry_instances{entry="\\xff z"} 0
veskd_entry_instances{entry="n\\x00l"} 0
veskd_entry_instances{entry="größe"} 0
veskd_entry_instances{entry=""} 0
veskd_entry_respawn_limit{entry="nginx"} +Inf
# HELP U__my_20_counter External counter "my counter" of the framework.
U__my_20_counter 1
U__veskd__passes__total 2
U__9_e9_ 3
a:b 1099511627776)");
  // Names of foreign counters are not ours to choose; all else must please the linter.
  const TemporaryFolder folder;
  folder.makeFile("metrics", text());
  const std::string files = "<" + folder.path("metrics") + " >" + folder.path("found") + " 2>&1";
  EXPECT_EQ(std::system((PROMTOOL " check metrics " + files).c_str()), 3 << 8);
  EXPECT_THAT(linesOf(contentOf(folder.path("found"))),
              Each(MatchesRegex("(wd_proc_count|U__.*|a:b) .*")));
}

TEST_F(MetricsText, HasWhatIsDocumentedAndWhatIsAskedFor) {
  fView.entries[0].settings.instEnabled = true;
  fRestarts.lastRefusal.emplace();
  const auto namesIn = [](std::string const& content) {
    const std::regex name("\\b(veskd|process)_[a-z_]*[a-z]");
    std::set<std::string> names;
    for (std::sregex_iterator at(content.begin(), content.end(), name), end; at != end; ++at) {
      names.insert(at->str());
    }
    return names;
  };
  const auto exposed = namesIn(text());
  EXPECT_EQ(namesIn(contentOf(DOCUMENTS "/metrics.md")), exposed);
  for (const std::string file : {SHIPPED "/veskd.rules.yml", SHIPPED "/grafana-dashboard.json"}) {
    EXPECT_THAT(exposed, testing::IsSupersetOf(namesIn(contentOf(file)))) << file;
  }
}

}  // namespace
