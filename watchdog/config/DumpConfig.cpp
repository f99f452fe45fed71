// Logging the configuration in force, key by key, in the words of the store.

#include <array>
#include <variant>

#include "watchdog/PProcessWatchdog.h"
#include "watchdog/config/Keys.h"

namespace {

using Info = IProcessWatchdogInfo;

using Getter = std::variant<bool (Info::*)() const, char (Info::*)() const,
                            unsigned int (Info::*)() const, int (Info::*)() const,
                            unsigned long long (Info::*)() const, void (Info::*)(PString&) const>;

struct Row {
  const wchar_t* suffix;
  Getter getter;
};

/// What is dumped of an entry, in this order. The action is not.
constexpr std::array<Row, 16> kRows = {{
    {Keys::name, &Info::getName},
    {Keys::period, &Info::getPeriod},
    {Keys::cpuEnabled, &Info::getCpuEnabled},
    {Keys::cpuLimit, &Info::getCpuLimit},
    {Keys::memEnabled, &Info::getMemEnabled},
    {Keys::memLimit, &Info::getMemLimit},
    {Keys::instEnabled, &Info::getInstEnabled},
    {Keys::instLimit, &Info::getInstLimit},
    {Keys::respawnEnabled, &Info::getRespawnEnabled},
    {Keys::respawnLimit, &Info::getRespawnLimit},
    {Keys::countOnlyDiffParents, &Info::getShouldCountOnlyDiffParents},
    {Keys::countOnlyRunning, &Info::getShouldCountOnlyRunning},
    {Keys::sendEvent, &Info::getShouldSendEvent},
    {Keys::executable, &Info::getExecutable},
    {Keys::arguments, &Info::getArguments},
    {Keys::workingDir, &Info::getWorkingDir},
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

  void dump(const wchar_t* key, Info const& info, Getter const& getter) const {
    std::visit([&](auto get) { dumpValue(key, info, get); }, getter);
  }

 private:
  template <class Value>
  void dumpValue(const wchar_t* key, Info const& info, Value (Info::*get)() const) const {
    dump(key, (info.*get)());
  }
  void dumpValue(const wchar_t* key, Info const& info, void (Info::*get)(PString&) const) const {
    PString text;
    (info.*get)(text);
    dump(key, text.c_str());
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
