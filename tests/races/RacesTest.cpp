// Clients use the watchdog on many threads while its host ends and starts it, and other
// watchdogs are stopped at random moments.   races_tests --seconds N --threads N

#include <dlfcn.h>
#include <spdlog/sinks/null_sink.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <new>
#include <random>
#include <shared_mutex>
#include <thread>

#include "framework/PConditionalVar.h"
#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "host/daemon/PluginLibrary.h"
#include "host/libvesk/Runtime.h"
#include "host/services/ConfigManager.h"
#include "host/services/EventDispatcher.h"
#include "host/services/ExtCounters.h"
#include "host/services/Logger.h"
#include "plugin/PBaseptr.h"
#include "watchdog/IProcessWatchdog.h"

namespace {

using std::chrono::milliseconds, std::chrono::steady_clock;
using Info = IProcessWatchdogInfo;
using Entry = IProcessWatchdogEntry;
constexpr unsigned int kNames = 3;  ///< of the shared entries, and of each client's own

std::atomic<long> objects = 0, faults = 0, operations = 0, ticks = 0, stops = 0, nextSlow = 0,
                  slowestStop = 0;
steady_clock::time_point end;
/// A lookup adds no reference: nobody may let the service go before its finder holds it.
std::shared_mutex letGo;
PBaseptr<Entry> shared[kNames];  ///< held throughout, so that any client may use them

/// A watchdog of one program, which takes long to look for and is named by its number here.
struct Slow {
  std::atomic<long> ticks = 0, waits = 0;
  long ticksAtStop = 0, waitsAtStop = 0;
};
Slow slowOnes[1000];                ///< taken in turn
thread_local Slow* slow = nullptr;  ///< whose worker this thread is, or whom it stops

void check(bool holds, const char* what) {
  if (!holds && ++faults < 10) std::fprintf(stderr, "races: %s\n", what);
}

unsigned int random(unsigned int bound) {
  static std::atomic<unsigned int> seed = 1;
  thread_local std::mt19937 generator(++seed);
  return static_cast<unsigned int>(generator() % bound);
}

/// A text that shows whether all of it belongs together.
PString text(unsigned int kind) {
  return std::wstring(kind + 1, static_cast<wchar_t>(L'A' + kind)).c_str();
}
bool isWhole(std::string const& text) {
  return text.empty() || text == std::string(text[0] - 'A' + 1U, text[0]);
}

struct Utilities : IProcessUtilities {
  using Pid = unsigned int;
  using Text = std::string const&;
  int find(Text name, std::vector<Pid>& pids, std::vector<Pid>& parentPids) override {
    pids = {10, 11};
    parentPids = {1, 10};
    if (name >= "A") return check(isWhole(name), "looked for a torn name"), PResult::ok;
    slow = &slowOnes[std::stoul(name)];
    ++slow->ticks;
    std::this_thread::sleep_for(milliseconds(random(30)));
    return PResult::notFound;
  }
  // What is not set is the caller's 0.
  int getCPUUsage(Pid, unsigned int&) override { return 0; }
  int getMemoryUsage(Pid, unsigned long long&) override { return 0; }
  int isRunning(Pid, bool& running) override { return running = true, 0; }
  int kill(Pid) override { return 0; }
  int start(Text executable, Text arguments, Text workingDir, Pid&) override {
    check(isWhole(executable) && isWhole(arguments) && isWhole(workingDir), "started a torn text");
    return 0;
  }
};

template <class Interface>
void find(const wchar_t* id, PBaseptr<Interface>& found) {
  const std::shared_lock lock(letGo);
  IBase* instance = nullptr;
  if (!found && veskGetInstance(id, instance) == 0) found = static_cast<Interface*>(instance);
}

void change(Entry& entry) {
  for (auto set : {&Entry::setCpuEnabled, &Entry::setMemEnabled, &Entry::setInstEnabled,
                   &Entry::setRespawnEnabled, &Entry::setShouldCountOnlyDiffParents,
                   &Entry::setShouldCountOnlyRunning, &Entry::setShouldSendEvent}) {
    (entry.*set)(random(2) == 0);
  }
  const unsigned int number = random(4);
  for (auto set : {&Entry::setPeriod, &Entry::setInstLimit}) (entry.*set)(number);
  entry.setCpuLimit(static_cast<char>(number));
  entry.setMemLimit(number);
  entry.setRespawnLimit(static_cast<int>(number));
  entry.setAction(static_cast<ProcessWatchdogActionEnum>(number));
  for (auto set : {&Entry::setExecutable, &Entry::setArguments, &Entry::setWorkingDir}) {
    (entry.*set)(text(random(20)));
  }
}

void read(Info const& info) {
  for (auto get :
       {&Info::getName, &Info::getExecutable, &Info::getArguments, &Info::getWorkingDir}) {
    PString text;
    (info.*get)(text);
    check(isWhole(PUtils::toUtf8(text)), "read a torn text");
  }
  check((info.getPeriod() | info.getInstLimit() | info.getMemLimit() | info.getCpuEnabled() |
         info.getMemEnabled() | info.getInstEnabled() | info.getRespawnEnabled() |
         info.getShouldSendEvent() | info.getShouldCountOnlyDiffParents() |
         info.getShouldCountOnlyRunning()) < 8 &&
            info.getRespawnLimit() < 4 && info.getCpuLimit() < 4 && info.getAction() < 4,
        "read what nobody set");
}

/// One operation on an entry and a name that are both shared or both the client's own.
void operate(IProcessWatchdog& watchdog, Entry* entry, PLiteral const& name) {
  const unsigned int choice = random(6);
  Info* info = nullptr;
  if (choice == 0) watchdog.addProcessEntry(entry);
  if (choice == 1) watchdog.removeProcessEntry(name);
  if (choice == 2) watchdog.containsProcess(name);
  if (choice == 3) entry->setName(name);
  if (choice == 4) change(*entry);
  if (choice == 5 && watchdog.getProcessInfo(name, info) == 0) {
    PBaseptr<Info> held;
    held = info;
    read(*held);
  }
}

void runClient(unsigned int number) {
  PBaseptr<IProcessWatchdog> watchdog;
  PBaseptr<Entry> own;
  for (; steady_clock::now() < end; ++operations) {
    // What is dropped may still be watched, or used by other clients, or it ends here.
    if (random(20) == 0) watchdog = nullptr;
    if (random(20) == 0) own = nullptr;
    if (random(20) == 0) std::this_thread::sleep_for(milliseconds(1));
    find(ID_IPROCESSWATCHDOG, watchdog);
    find(ID_IPROCESSWATCHDOGENTRY, own);
    if (!watchdog || !own) continue;
    const bool isOwn = random(2) == 0;
    operate(*watchdog, isOwn ? own.get() : shared[random(kNames)].get(),
            text(random(kNames) + (isOwn ? kNames * (number + 1) : 0)));
  }
}

void runHost(PluginLibrary& library) {
  for (; steady_clock::now() < end; ++stops) {
    std::this_thread::sleep_for(milliseconds(random(10)));
    library.stop();
    const std::lock_guard lock(letGo);
    library.release();
    check(library.start() == 0, "cannot be started again");
  }
}

/// From the moment when it is told to stop, a watchdog may begin the tick for which it had
/// decided before, and one wait.
void stopSlowOnes(IPlugin* (*make)()) {
  for (; steady_clock::now() < end; ++stops) {
    const long number = nextSlow++ % static_cast<long>(std::size(slowOnes));
    IPlugin* const plugin = make();
    plugin->incRef();
    check(plugin->init() == 0, "cannot be started");
    IBase* entry = nullptr;
    IBase* watchdog = nullptr;
    plugin->getInstance(ID_IPROCESSWATCHDOGENTRY, entry);
    plugin->getInstance(ID_IPROCESSWATCHDOG, watchdog);
    static_cast<Entry*>(entry)->setName(std::to_wstring(number).c_str());
    static_cast<IProcessWatchdog*>(watchdog)->addProcessEntry(static_cast<Entry*>(entry));
    std::this_thread::sleep_for(milliseconds(random(60)));
    slow = &slowOnes[number];
    const auto asked = steady_clock::now();
    plugin->decRef();
    const long took = (steady_clock::now() - asked) / milliseconds(1);
    check(slow->ticks - slow->ticksAtStop <= 1, "more than one tick after the stop");
    check(slow->waits - slow->waitsAtStop <= 1, "more than one wait after the stop");
    for (long past = slowestStop; past < took && !slowestStop.compare_exchange_weak(past, took);)
      continue;
  }
}

void run(milliseconds length, unsigned int clients) {
  end = steady_clock::now() + length;
  const auto output = std::make_shared<LogOutput>(std::make_shared<spdlog::sinks::null_sink_mt>(),
                                                  spdlog::level::debug);
  Runtime::install(std::make_shared<Utilities>());
  Runtime::provide(ID_ILOGGER, [output](IBase*& logger) {
    logger = new Logger(output);
    return PResult::ok;
  });
  Runtime::provide(ID_ICONFIGMANAGER,
                   new ConfigManager({"", std::get<TomlFile>(readTomlFile(CONFIGURATION))},
                                     output->logger("config")));
  Runtime::provide(ID_IEVENTDISPATCHER, new EventDispatcher(output->logger("events")));
  Runtime::provide(ID_IEXTCOUNTERS, new ExtCounters);

  std::string cause;
  const auto library = PluginLibrary::open(WATCHDOG_LIBRARY, cause);
  check(library->start() == 0, "cannot be started");
  for (auto& entry : shared) find(ID_IPROCESSWATCHDOGENTRY, entry);
  const auto factory = ::dlsym(::dlopen(WATCHDOG_LIBRARY, RTLD_NOW), "_Z13veskGetPluginv");
  std::vector<std::thread> threads;
  for (unsigned int i = 0; i < clients; ++i) threads.emplace_back(runClient, i);
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back(stopSlowOnes, reinterpret_cast<IPlugin* (*)()>(factory));
  }
  runHost(*library);
  for (std::thread& thread : threads) thread.join();
  for (auto& entry : shared) entry = nullptr;
  library->stop();
  library->release();
  Runtime::reset();
}

template <class Result, class... Arguments>
Result next(const char* name, Arguments... arguments) {
  static const auto operation =
      reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, name));
  return operation(arguments...);
}

}  // namespace

// In front of the framework's own, which they call: ticks follow each other at once, but for
// those of the slow watchdogs.

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) noexcept {
  ++(slow != nullptr ? slow->waits : ticks);
  return next<int>("_ZN15PConditionalVar4waitEP6PMutexj", this, mutex,
                   slow != nullptr ? timeoutMs : random(2));
}

int PConditionalVar::notifyAll() noexcept {
  if (slow != nullptr) slow->ticksAtStop = slow->ticks, slow->waitsAtStop = slow->waits;
  return next<int>("_ZN15PConditionalVar9notifyAllEv", this);
}

// What lives. All forms of single objects: a sanitizer has others of its own.

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  ++objects;
  return std::malloc(size);
}
void* operator new(std::size_t size) {
  void* const object = operator new(size, std::nothrow);
  return object != nullptr ? object : throw std::bad_alloc();
}
void operator delete(void* object) noexcept {
  if (object != nullptr) --objects;
  std::free(object);
}
void operator delete(void* object, std::size_t) noexcept { operator delete(object); }

int main(int argc, char** argv) {
  run(milliseconds(0), 1);  // makes what is made once
  const long before = objects;
  run(std::chrono::seconds(argc > 2 ? std::atol(argv[2]) : 2),
      argc > 4 ? static_cast<unsigned int>(std::atoi(argv[4])) : 8);
  const long lost = objects - before;
  check(lost == 0, "references lost");
  std::printf(
      "proof: races: %ld operations, %ld ticks, %ld stops, %ld references lost, "
      "slowest stop %ld ms (tick of up to 30 ms + sample time)\n",
      operations.load(), ticks.load(), stops.load(), lost, slowestStop.load());
  return faults == 0 ? 0 : 1;
}
