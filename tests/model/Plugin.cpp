// The plug-in as a subject, on a framework that leads all of its calls into the world. One
// thread plays everything: the worker runs when told to, and the history goes on within its
// waits.

#include "framework/PConditionalVar.h"
#include "framework/PProcess.h"
#include "framework/PThread.h"
#include "framework/PTime.h"
#include "framework/veskGetInstance.h"
#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/model/World.h"
#include "tests/plugin/AllServices.h"

namespace {

World* gWorld;
std::function<void()> gWorker;

std::string narrow(PLiteral const& text) { return {text.c_str(), text.c_str() + text.length()}; }
std::wstring wide(std::string const& text) { return {text.begin(), text.end()}; }

struct Services : AllServices {
  int incRef() override { return 2; }
  int decRef() override { return gWorld->say("release"), 1; }
  int init(PLiteral const& logName) override { return gWorld->say("init %", narrow(logName)), 0; }
  int log(const char* level, const wchar_t* format, const wchar_t* text) override {
    ++gWorld->seen[format];
    const bool isOfRegistry = std::wcsstr(format, L"in list") || std::wcsstr(format, L"to list") ||
                              std::wcsstr(format, L"from list") ||
                              std::wcsstr(format, L"entry named");
    if (isOfRegistry && gWorld->held != 1) gWorld->say("without the lock:");
    return gWorld->say("%%", level, text), 0;
  }
  int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) override {
    if (!(id == L"veskp.watchdog.process")) return -1;
    config = this;
    return gWorld->say("loadByID"), 0;
  }
  template <class Store>
  int get(const char* word, PLiteral const& key, Store store) {
    const auto value = gWorld->configured(word, narrow(key));
    if (value) store(*value);
    return value ? 0 : World::kNotFound;
  }
  int getString(PLiteral const& key, PString& out) override {
    return get("getString", key, [&](long long value) { out = wide(text(value)).c_str(); });
  }
  int getInt(PLiteral const& key, int& out) override {
    return get("getInt", key, [&](long long value) { out = static_cast<int>(value); });
  }
  int getBool(PLiteral const& key, bool& out) override {
    return get("getBool", key, [&](long long value) { out = value != 0; });
  }
  int postEvent(PLiteral const& topic, IBase* source, int value) override {
    PString name, executable;
    static_cast<IProcessWatchdogEntry*>(source)->getName(name);
    static_cast<IProcessWatchdogEntry*>(source)->getExecutable(executable);
    return gWorld->call(World::event, 0,
                        narrow(topic) + " " + std::to_string(value) + " " + narrow(name) + " " +
                            narrow(executable));
  }
  int increment(PLiteral const& name) override {
    return gWorld->call(World::increment, 0, narrow(name));
  }
  int restart(int mode) override { return gWorld->call(World::restart, 0, mode); }
};

using E = IProcessWatchdogEntry;
struct Setting {
  void (*set)(E&, long long);
  long long (*get)(E const&);
};
template <auto kSet, auto kGet>
constexpr Setting setting() {
  if constexpr (requires(E const& entry) { (entry.*kGet)(); }) {
    return {[](E& entry, long long value) {
              (entry.*kSet)(static_cast<decltype((entry.*kGet)())>(value));
            },
            [](E const& entry) { return static_cast<long long>((entry.*kGet)()); }};
  } else {
    return {[](E& entry, long long value) { (entry.*kSet)(wide(text(value)).c_str()); },
            [](E const& entry) {
              PString words;
              (entry.*kGet)(words);
              return numberOf(narrow(words));
            }};
  }
}
/// As in `kSettings`.
#define SETTING(Name) setting<&E::set##Name, &E::get##Name>()
// clang-format off
constexpr Setting kAll[] = {
    SETTING(Name), SETTING(Period), SETTING(CpuEnabled), SETTING(CpuLimit), SETTING(MemEnabled),
    SETTING(MemLimit), SETTING(InstEnabled), SETTING(InstLimit), SETTING(RespawnEnabled),
    SETTING(RespawnLimit), SETTING(ShouldCountOnlyDiffParents), SETTING(ShouldCountOnlyRunning),
    SETTING(ShouldSendEvent), SETTING(Action), SETTING(Executable), SETTING(Arguments),
    SETTING(WorkingDir)};
// clang-format on

class Plugin : public Subject {
 public:
  Plugin() { fPlugin = veskGetPlugin(); }

  int start() override { return fPlugin->init(); }
  void stop() override { fPlugin = veskGetPlugin(); }
  void work() override {
    if (gWorker) std::exchange(gWorker, nullptr)();
  }
  void create(long long slot) override {
    fSlots[slot] = instance<IProcessWatchdogEntry>(ID_IPROCESSWATCHDOGENTRY);
  }
  void set(long long slot, long long setting, long long value) override {
    kAll[setting].set(*fSlots[slot], value);
  }
  int add(long long slot) override {
    return service().addProcessEntry(slot == kSlots ? nullptr : fSlots[slot].get());
  }
  int remove(std::string const& name) override {
    return service().removeProcessEntry(wide(name).c_str());
  }
  int info(std::string const& name) override {
    gWorld->say("contains %", service().containsProcess(wide(name).c_str()));
    IProcessWatchdogInfo* info = nullptr;
    const int res = service().getProcessInfo(wide(name).c_str(), info);
    if (!info) return res;
    const auto holds = [info](auto& slot) { return slot.get() == info; };
    gWorld->say("slot %", std::find_if(fSlots, std::end(fSlots), holds) - fSlots);
    for (auto const& setting : kAll) gWorld->say("%", setting.get(*static_cast<E*>(info)));
    return res;
  }

 private:
  template <class Interface>
  Interface* instance(const wchar_t* id) {
    IBase* object = nullptr;
    fPlugin->getInstance(id, object);
    return static_cast<Interface*>(object);
  }
  IProcessWatchdog& service() { return *instance<IProcessWatchdog>(ID_IPROCESSWATCHDOG); }

  PBaseptr<IPlugin> fPlugin;
  PBaseptr<IProcessWatchdogEntry> fSlots[kSlots];
};

}  // namespace

std::unique_ptr<Subject> makePlugin(World& world) {
  gWorld = &world;
  world.held = 0;
  return std::make_unique<Plugin>();
}

// The framework, linked in place of the host's.

int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept {
  static Services services;
  const int number = Services::numberOf(id);
  const std::string name = narrow(id).substr(sizeof "com.telmor.vesk." - 1);
  const int res = number > 0 ? gWorld->call(World::lookup, number, name) : 0;
  instance = res == 0 ? services.service(number) : nullptr;
  return res == World::kGivesNone ? 0 : res;
}

PMutex::~PMutex() { gWorld->say("~PMutex"); }
int PMutex::init(bool recursive) noexcept {
  gWorld->say("mutex init");
  return recursive ? 0 : -1;
}
int PMutex::lock() noexcept { return ++gWorld->held, 0; }
int PMutex::unlock() noexcept { return --gWorld->held, 0; }

PConditionalVar::~PConditionalVar() { gWorld->say("~PConditionalVar"); }
int PConditionalVar::init() noexcept { return gWorld->say("cond init"), 0; }
int PConditionalVar::wait(PMutex* /*mutex*/, unsigned int timeoutMs) noexcept {
  gWorld->say("wait %", timeoutMs);
  --gWorld->held;
  const int res = gWorld->play();
  ++gWorld->held;
  return res;
}
int PConditionalVar::notifyAll() noexcept { return gWorld->say("notifyAll"), 0; }

PThread::~PThread() { gWorld->say("~PThread"); }
int PThread::pcreate(StartRoutine routine, void* argument) noexcept {
  gWorker = [routine, argument] { routine(argument); };
  return gWorld->say("pcreate"), 0;
}
int PThread::pjoin(void*&) noexcept {
  gWorld->say("pjoin");
  if (gWorker) std::exchange(gWorker, nullptr)();
  return 0;
}
int PThread::pdetach() noexcept { return gWorld->say("pdetach"), 0; }
void* PThread::getThreadId() const noexcept { return reinterpret_cast<void*>(17); }
void* PThread::getCurrentThreadId() noexcept { return reinterpret_cast<void*>(34); }
int PThread::setName(const char* name) noexcept { return gWorld->say("setName %", name), 0; }

long long PTime::getTickCount() noexcept { return gWorld->now(); }
long long PTime::getTickCountDiff(long long from, long long to) noexcept { return to - from; }

int PProcess::find(PLiteral const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) noexcept {
  return gWorld->look(numberOf(narrow(name)), pids, parentPids);
}
template <class Value>
static int read(World::Call which, unsigned int pid, Value& value) {
  unsigned long long reading = value;
  const int res = gWorld->read(which, pid, reading);
  value = static_cast<Value>(reading);
  return res;
}
int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  return read(World::cpu, pid, percent);
}
int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  return read(World::mem, pid, kib);
}
int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  return read(World::isRunning, pid, running);
}
int PProcess::kill(unsigned int pid) noexcept { return gWorld->end(pid); }
int PProcess::start(PLiteral const& executable, PLiteral const& arguments,
                    PLiteral const& workingDir, unsigned int& pid) noexcept {
  return gWorld->launch(narrow(executable) + "|" + narrow(arguments) + "|" + narrow(workingDir),
                        pid);
}
