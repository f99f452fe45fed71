#include "host/veskctl/Commands.h"

#include <CLI/CLI.hpp>
#include <map>

#include "host/veskctl/ChangeCommands.h"
#include "host/veskctl/EntryOptions.h"
#include "host/veskctl/ReadCommands.h"

namespace ctl {

namespace {

constexpr double kShortest = 0.1;  // s
constexpr double kLongest = 86400;
constexpr int kMostEvents = 1000;

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
  app.add_flag("-w,--watch{2}", options.watch,
               "Show it anew every so many seconds, 2 unless given, until Ctrl-C")
      ->type_name("SECONDS")
      ->check(CLI::Range(kShortest, kLongest))
      ->excludes("--check");
  app.add_option("--sort", options.sort, "Order: health (the worst first), name, cpu or mem")
      ->type_name("KEY")
      ->transform(CLI::CheckedTransformer(kSortKeys).description(""));
}

void declareEvents(CLI::App& app, Options& options) {
  auto* follow = app.add_flag("-f,--follow", options.isFollow,
                              "Go on with what comes, until Ctrl-C, also over a restart of veskd");
  app.add_flag("--no-reconnect", options.isWithoutReconnect,
               "End with --follow when the host goes away")
      ->needs(follow);
  app.add_option("--from", options.from, "Number of the first one")->type_name("N");
  app.add_option("--limit", options.limit, "How many, 1 to 1000")
      ->type_name("N")
      ->check(CLI::Range(1, kMostEvents));
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
