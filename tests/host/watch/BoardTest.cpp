#include <gmock/gmock.h>

#include <cstdlib>
#include <new>
#include <thread>

#include "framework/PResult.h"
#include "host/watch/ObservedUtilities.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

thread_local bool isMemorySpent = false;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  void* memory = isMemorySpent ? nullptr : std::malloc(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

struct FixedClock : IWatchClock {
  std::chrono::microseconds monotonic() const override { return now; }
  WallTime wall() const override { return {}; }
  std::chrono::microseconds now = std::chrono::seconds(1);
};

/// One process, number 9, under every name.
struct OneProcess : IProcessUtilities {
  int find(std::string const&, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parentPids) override {
    const bool wasSpent = std::exchange(isMemorySpent, false);
    pids = {9};
    parentPids = {1};
    isMemorySpent = wasSpent;
    return PResult::ok;
  }
  int getCPUUsage(unsigned int, unsigned int& percent) override { return percent = 7, 0; }
  int getMemoryUsage(unsigned int, unsigned long long&) override { return -5; }
  int isRunning(unsigned int, bool& running) override { return running = true, 0; }
  int kill(unsigned int) override { return -3; }
  int start(std::string const&, std::string const&, std::string const&,
            unsigned int& pid) override {
    return pid = 77, 0;
  }
};

struct Board : testing::Test {
  void look(std::initializer_list<const char*> names) {
    std::vector<unsigned int> pids, parentPids;
    for (const char* name : names) utilities.find(name, pids, parentPids);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (auto const& entry : board->view().entries) all.push_back(entry.settings.name);
    return all;
  }
  void put(const char* name) {
    EntrySettings settings;
    settings.name = name;
    settings.cpuEnabled = true;
    settings.cpuLimit = 7;
    settings.period = 0;
    board->put(settings);
  }
  std::shared_ptr<FixedClock> clock = std::make_shared<FixedClock>();
  std::shared_ptr<RecordJournal> journal = std::make_shared<RecordJournal>(2);
  std::shared_ptr<WatchBoard> board = std::make_shared<WatchBoard>(journal, clock);
  std::shared_ptr<OneProcess> inner = std::make_shared<OneProcess>();
  ObservedUtilities utilities{inner, board};
  std::string reason;
};

TEST_F(Board, ShowsThePassesOfWhoeverAsksForMostEntries) {
  put("a");
  put("b");
  look({"b", "x"});  // somebody else, who happens to be the first
  std::thread([&] {
    look({"a", "b"});
    look({"a", "b", "new"});  // a name asked for again begins a pass
    look({"a"});
  }).join();
  look({"x", "b", "x", "y"});
  EXPECT_THAT(names(), ElementsAre("a", "b", "new"));
  EXPECT_THAT(board->doubtful(), ElementsAre("new"));
  EXPECT_EQ(board->view().pass.count, 3U);
  clock->now += ThreadPass::kPause * 2;  // now the pass is over that did without b
  EXPECT_THAT(board->doubtful(), ElementsAre("b"));
  board->drop("b");
  EXPECT_THAT(names(), ElementsAre("a"));
  board->beginAnew();
  EXPECT_FALSE(board->view().entries[0].lookedAt);
  look({"a"});  // on a thread that was not the watchdog's
  EXPECT_EQ(board->view().pass.count, 4U);
  EXPECT_THAT(board->view().entries[0].instances, SizeIs(1));
}

TEST_F(Board, KeepsTheTurnOfAWorkerThatWaitsElsewhere) {
  const auto pause = [&] { return clock->now += std::chrono::seconds(3), board->view().pass; };
  unsigned int percent = 0;
  put("a");
  put("b");
  look({"a"});
  utilities.getCPUUsage(9, percent);
  pause();  // for its log, with the limit reached
  utilities.kill(9);
  EXPECT_THAT(journal->read(1, 9).records[0].text, StartsWith("CPU average 7 of at most 7"));
  pause();
  look({"b"});
  const PassView pass = pause();
  EXPECT_EQ(pass.last, std::chrono::seconds(6));
  EXPECT_EQ(pass.longest, std::chrono::seconds(6));
  EXPECT_FALSE(pass.isUnderWay);
  put("_");
  look({"_"});  // is new, and the first of the next pass
  EXPECT_EQ(board->view().pass.count, 2U);
  utilities.kill(9);
  EXPECT_EQ(journal->read(2, 9).records.at(0).text, "reason not known to the host");
  EXPECT_THAT(board->doubtful(), ElementsAre("_")) << "nothing in its settings says so";
  put("_");
  EXPECT_THAT(board->doubtful(), IsEmpty());
}

TEST_F(Board, LosesNotesAndNothingElseWhenMemoryIsSpent) {
  const std::string name(100, 'n');
  std::vector<unsigned int> pids, parentPids;
  unsigned int percent = 0;
  look({"a"});
  board->setDryRun({false, {"other"}});
  isMemorySpent = true;
  EXPECT_EQ(utilities.find(name, pids, parentPids), 0);
  EXPECT_EQ(utilities.getCPUUsage(9, percent), 0);
  EXPECT_EQ(utilities.kill(9), -3);
  const bool isPretended = board->pretend(reason);
  isMemorySpent = false;
  EXPECT_THAT(pids, ElementsAre(9));
  EXPECT_EQ(percent, 7U);
  EXPECT_TRUE(isPretended) << "it may be the one that is in dry run";
  look({"a"});
  EXPECT_FALSE(board->pretend(reason));
}

}  // namespace
