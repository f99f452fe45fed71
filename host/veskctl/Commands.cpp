#include "host/veskctl/Commands.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <map>

#include "host/veskctl/ChangeCommands.h"
#include "host/veskctl/EntryOptions.h"
#include "host/veskctl/ReadCommands.h"
#include "host/veskctl/ValueOption.h"

namespace ctl {

namespace {

constexpr double kShortest = 0.1;  // s
constexpr double kLongest = 86400;
constexpr unsigned int kMostEvents = 1000;

const std::map<std::string, SortKey> kSortKeys = {{"health", SortKey::health},
                                                  {"name", SortKey::name},
                                                  {"cpu", SortKey::cpu},
                                                  {"mem", SortKey::memory}};

void declareNothing(CLI::App& /*app*/, Options& /*options*/) {}

void declareCheck(CLI::App& app, Options& options) {
  app.add_flag("--check", options.isCheck,
               "Exit with 2 when a program is missing, high or unknown");
}

void declareStatus(CLI::App& app, Options& options) {
  declareCheck(app, options);
  addNumber(app, "-w,--watch",
            "Show it anew every so many seconds, 2 unless given, until Ctrl-C; not with --check",
            kShortest, kLongest, [&options](double seconds) { options.watchSeconds = seconds; })
      ->expected(0, 1)
      ->default_str("2")
      ->option_text("[SECONDS]")
      ->excludes("--check");
  addWord(app, "--sort", "Order: health (the worst first), name, cpu or mem", kSortKeys,
          options.sort)
      ->type_name("KEY");
}

void declareEvents(CLI::App& app, Options& options) {
  auto* follow = app.add_flag("-f,--follow", options.isFollow,
                              "Go on with what comes, until Ctrl-C, also over a restart of veskd");
  app.add_flag("--no-reconnect", options.isWithoutReconnect,
               "End with --follow when the host goes away")
      ->needs(follow);
  addNumber(app, "--from", "Number of the first one", 0ULL,
            std::numeric_limits<unsigned long long>::max(),
            [&options](unsigned long long number) { options.from = number; })
      ->type_name("N");
  addNumber(app, "--limit", "How many, 1 to 1000", 1U, kMostEvents,
            [&options](unsigned int number) { options.limit = number; })
      ->type_name("N");
}

}  // namespace

const std::array<Command, 9> kCommands = {{
    {"status", "The host, and all programs, the worst first", false, false, declareStatus,
     runStatus},
    {"show", "One program: settings, processes, what was done", true, false, declareCheck, runShow},
    {"explain", "What the watchdog makes of a program, and what comes next", true, false,
     declareCheck, runExplain},
    {"match", "What a name matches right now, watched or not", true, false, declareNothing,
     runMatch},
    {"events", "What happened of late", false, false, declareEvents, runEvents},
    {"counters", "The counters", false, false, declareNothing, runCounters},
    {"add", "Watch one more program, until the host ends", true, true, declareEntryOptions, runAdd},
    {"remove", "Watch a program no more; its processes go on", true, true, declareNothing,
     runRemove},
    {"reload", "Read the configuration file again", false, true, declareNothing, runReload},
}};

}  // namespace ctl
