#include "tests/faults/Scenario.h"

#include "framework/PUtils.h"

/// The plug-in's one call to a class that is not scripted which has a result.
extern "C" int __real__ZN6PUtils10int32ToStrEiR7PString(int value, PString& text);
extern "C" int __wrap__ZN6PUtils10int32ToStrEiR7PString(int value, PString& text) {
  const int res = framework().quiet("int32ToStr");
  return res == PResult::ok ? __real__ZN6PUtils10int32ToStrEiR7PString(value, text) : res;
}

namespace {
const char* const kKinds[] = {"cpu", "mem", "ins", "res"};
}

Scenario::Scenario(Fault fault, World world) : fFault(fault), fWorld(std::move(world)) {
  const wchar_t* const actions[] = {L"none", L"terminate", L"restart", L"osrestart"};
  for (unsigned int pid = 0; std::string const kind : kKinds) {
    for (const char* number : {"1", "2", "3"}) {
      pid += 10;
      processes[kind + number] = {{pid, 1, 60, 6000}, {pid + 1, 1, 60, 6000}};
    }
    configure(std::to_string(pid / 30), kind, actions[pid / 30 - 1]);
  }
  if (auto const& key = fWorld.key; key.ends_with(".name")) {
    config.erase(key);
  } else if (auto const at = config.find(key); at != config.end()) {
    auto& value = at->second;
    if (std::holds_alternative<bool>(value)) value = key.ends_with(".send_event");
    if (std::holds_alternative<int>(value)) value = key.ends_with(".period") ? 5 : 0;
    if (std::holds_alternative<PString>(value)) value = key.ends_with(".action") ? L"none" : L"";
  }
}

void Scenario::configure(std::string const& number, std::string const& kind,
                         const wchar_t* action) {
  const std::pair<const char*, std::variant<bool, int, PString>> values[] = {
      {"name", PUtils::fromUtf8(kind + "1")},
      {"period", 1},
      {"cpu_enabled", kind == "cpu"},
      {"cpu_limit", 50},
      {"mem_enabled", kind == "mem"},
      {"mem_limit", 5000},
      {"inst_enabled", kind == "ins"},
      {"inst_limit", 1},
      {"respawn_enabled", kind == "res"},
      {"count_only_diff_parents", true},
      {"count_only_running", true},
      {"send_event", kind != "mem"},
      {"action", action},
      {"executable", PUtils::fromUtf8("/bin/" + kind)},
      {"arguments", L"-x yz"},
      {"working_dir", L"/srv"}};
  for (auto const& [key, value] : values) config["watchdog.process." + number + "." + key] = value;
}

int Scenario::meddle(std::string const& line, int result) {
  const Side side(false);
  if (line.starts_with("find ")) narrow(line.substr(5), result);
  if (line.ends_with("Thread loop finished")) fWorkerEnded = true;
  note(line);
  return fFault.result != 0 && fLines.size() - 1 == fFault.at ? fFault.result : result;
}

void Scenario::narrow(std::string const& name, int& result) {
  if (!fNarrowed.empty()) processes[std::exchange(fNarrowed, {})] = fNotFound;
  if (fFinds >= fWorld.firstFind && fFinds < fWorld.endOfFinds) {
    fNarrowed = name;
    fNotFound = processes[name];
    processes[name].resize(std::min(fWorld.found, fNotFound.size()));
    if (fWorld.found == 0) result = PResult::notFound;
  }
  ++fFinds;
}

Lines Scenario::play() {
  Memory::made = 0;
  Memory::refused = fFault.allocation;
  start();
  if (service() != nullptr) {
    for (std::string const kind : kKinds) {
      for (const int number : {2, 3}) addEntry(kind, number);
    }
    tick(0);
    useRegistry();
    tick(1);
    tick(2);
  }
  note("> end");
  {
    const Side side(true);
    fPlugin->decRef();
  }
  Memory::refused = 0;
  for (Entry* entry : fEntries) {
    if (entry->decRef() != 0) note("an entry is still held");
  }
  if (references != 0) note("services are still held");
  return std::move(fLines);
}

void Scenario::operate(std::string const& name, int expected,
                       std::function<int()> const& operation) {
  int res = expected + 1;
  for (int attempt = 0; attempt < 2 && res != expected; ++attempt) {
    note("> " + name);
    {
      const Side side(true);
      res = operation();
    }
    if (name == "init" && res != 0 && (references != 0 || service() != nullptr)) note("kept");
    note("= " + std::to_string(res));
  }
}

void Scenario::start() {
  operate("factory", 0, [this] { return (fPlugin = veskGetPlugin()) != nullptr ? 0 : -1; });
  fPlugin->incRef();
  operate("interfaces", 2, [this] {
    unsigned int count = 9;
    const std::unique_ptr<PString[]> names(fPlugin->getInterfaces(count));
    const bool named =
        names && names[0] == ID_IPROCESSWATCHDOG && names[1] == ID_IPROCESSWATCHDOGENTRY;
    return static_cast<int>(count) - (named ? 0 : 1);
  });
  operate("init", 0, [this] { return fPlugin->init(); });
}

IProcessWatchdog* Scenario::service() {
  IBase* service = nullptr;
  fPlugin->getInstance(ID_IPROCESSWATCHDOG, service);
  return static_cast<IProcessWatchdog*>(service);
}

void Scenario::addEntry(std::string const& kind, int number) {
  Entry* entry = nullptr;
  operate("getInstance", 0, [&] {
    IBase* made = nullptr;
    const int res = fPlugin->getInstance(ID_IPROCESSWATCHDOGENTRY, made);
    entry = static_cast<Entry*>(made);
    return res == 0 && !made ? -1 : res;
  });
  entry->incRef();
  fEntries.push_back(entry);
  using Set = void (Entry::*)(PLiteral const&);
  using Get = void (Entry::*)(PString&) const;
  const std::tuple<Set, Get, PString> texts[] = {
      {&Entry::setName, &Entry::getName, PUtils::fromUtf8(kind + std::to_string(number))},
      {&Entry::setExecutable, &Entry::getExecutable, PUtils::fromUtf8("/bin/" + kind)},
      {&Entry::setArguments, &Entry::getArguments, L"-x yz"},
      {&Entry::setWorkingDir, &Entry::getWorkingDir, L"/srv"}};
  operate("set", 0, [&] {
    bool isKept = true;
    for (auto const& [set, get, text] : texts) {
      PString kept;
      (entry->*set)(text);
      (entry->*get)(kept);
      isKept = isKept && kept == text;
    }
    return isKept ? 0 : -1;
  });
  void (Entry::*const enable[])(bool) = {&Entry::setCpuEnabled, &Entry::setMemEnabled,
                                         &Entry::setInstEnabled, &Entry::setRespawnEnabled};
  for (std::size_t i = 0; i < std::size(kKinds); ++i) (entry->*enable[i])(kind == kKinds[i]);
  entry->setPeriod(number == 2 ? 0 : 1);
  entry->setCpuLimit(60);
  entry->setMemLimit(6000);
  entry->setInstLimit(1);
  entry->setRespawnLimit(3);
  operate("addProcessEntry", 0, [&] { return service()->addProcessEntry(entry); });
}

void Scenario::useRegistry() {
  auto& registry = *service();
  Entry* const last = fEntries.back();
  operate("addProcessEntry", -502, [&] { return registry.addProcessEntry(nullptr); });
  operate("addProcessEntry", -509, [&] { return registry.addProcessEntry(last); });
  operate("containsProcess", 1, [&] { return registry.containsProcess(L"res3") ? 1 : 0; });
  IProcessWatchdogInfo* info = nullptr;
  operate("getProcessInfo", -509, [&] { return registry.getProcessInfo(L"another", info); });
  operate("getProcessInfo", 0, [&] { return registry.getProcessInfo(L"res3", info); });
  if (info != last) note("another entry");
  operate("removeProcessEntry", 0, [&] { return registry.removeProcessEntry(L"another"); });
  operate("removeProcessEntry", 0, [&] { return registry.removeProcessEntry(L"res3"); });
  operate("addProcessEntry", 0, [&] { return registry.addProcessEntry(last); });
}

void Scenario::tick(int number) {
  for (int i = 0; auto* entry : fEntries) {
    entry->setAction(static_cast<ProcessWatchdogActionEnum>((i++ % 2 + 2 + 2 * number) % 5));
  }
  now += 1000;
  note("> tick");
  if (number == 0)
    settle();
  else if (!fWorkerEnded)
    ScriptedFramework::tick();
}
