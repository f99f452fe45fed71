// Logging the configuration in force, key by key, in the words of the store.

#include <array>
#include <variant>

#include "watchdog/PProcessWatchdog.h"
#include "watchdog/config/Keys.h"

namespace {

using Entry = PProcessWatchdogEntry;

using Getter = std::variant<bool (Entry::*)() const, char (Entry::*)() const,
                            unsigned int (Entry::*)() const, int (Entry::*)() const,
                            unsigned long long (Entry::*)() const, PString (*)(Entry const&)>;

/// Not through the getters, which cannot say that memory ran out.
template <auto kRead>
PString textOf(Entry const& entry) {
  return (entry.*kRead)();
}

struct Row {
  const wchar_t* suffix;
  Getter getter;
};

/// What is dumped of an entry, in this order. The action is not.
constexpr std::array<Row, 16> kRows = {{
    {Keys::name, textOf<&Entry::name>},
    {Keys::period, &Entry::getPeriod},
    {Keys::cpuEnabled, &Entry::getCpuEnabled},
    {Keys::cpuLimit, &Entry::getCpuLimit},
    {Keys::memEnabled, &Entry::getMemEnabled},
    {Keys::memLimit, &Entry::getMemLimit},
    {Keys::instEnabled, &Entry::getInstEnabled},
    {Keys::instLimit, &Entry::getInstLimit},
    {Keys::respawnEnabled, &Entry::getRespawnEnabled},
    {Keys::respawnLimit, &Entry::getRespawnLimit},
    {Keys::countOnlyDiffParents, &Entry::getShouldCountOnlyDiffParents},
    {Keys::countOnlyRunning, &Entry::getShouldCountOnlyRunning},
    {Keys::sendEvent, &Entry::getShouldSendEvent},
    {Keys::executable, textOf<&Entry::executable>},
    {Keys::arguments, textOf<&Entry::arguments>},
    {Keys::workingDir, textOf<&Entry::workingDir>},
}};

}  // namespace

/// Logs one value in the format of its type. Value lines carry no method name.
class PProcessWatchdog::EntryDumper {
 public:
  explicit EntryDumper(PProcessWatchdog const& watchdog) : fWatchdog(watchdog) {}

  void dump(const wchar_t* key, bool value) const { dump(key, value ? L"true" : L"false"); }
  void dump(const wchar_t* key, const wchar_t* value) const {
    fWatchdog.__logDebug(L"\t%ls = %ls", key, value);
  }
  void dump(const wchar_t* key, char value) const {
    dump(key, static_cast<unsigned int>(static_cast<unsigned char>(value)));
  }
  void dump(const wchar_t* key, unsigned int value) const {
    fWatchdog.__logDebug(L"\t%ls = %u", key, value);
  }
  void dump(const wchar_t* key, int value) const {
    fWatchdog.__logDebug(L"\t%ls = %i", key, value);
  }
  void dump(const wchar_t* key, unsigned long long value) const {
    fWatchdog.__logDebug(L"\t%ls = %lu", key, value);
  }

  void dump(const wchar_t* key, Entry const& entry, Getter const& getter) const {
    std::visit([&](auto get) { dumpValue(key, entry, get); }, getter);
  }

 private:
  template <class Value>
  void dumpValue(const wchar_t* key, Entry const& entry, Value (Entry::*get)() const) const {
    dump(key, (entry.*get)());
  }
  void dumpValue(const wchar_t* key, Entry const& entry, PString (*get)(Entry const&)) const {
    dump(key, get(entry).c_str());
  }

  PProcessWatchdog const& fWatchdog;
};

void PProcessWatchdog::_dumpConfig() {
  const EntryDumper dumper(*this);
  __logDebug(L"[%s] ProcessWatchdog configuration: ", "_dumpConfig");
  dumper.dump(Keys::globalCpuEnabled, fCpuEnabled);
  dumper.dump(Keys::globalMemEnabled, fMemEnabled);
  dumper.dump(Keys::globalInstEnabled, fInstEnabled);
  __logDebug(L"\t%ls = %d", Keys::globalSampleTime, fSampleTime);

  unsigned int position = 0;
  PString key;
  for (auto const& [name, procEntry] : fProcEntries) {
    ++position;
    for (Row const& row : kRows) {
      __buildProcessEntryKey(Keys::memberPrefix, position, row.suffix, key);
      dumper.dump(key.c_str(), *procEntry.entry, row.getter);
    }
  }
}
