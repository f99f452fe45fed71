// Reading one member of the list: a table of its keys, and how each is read,
// checked and stored.

#include <array>
#include <limits>
#include <new>
#include <variant>

#include "watchdog/PProcessWatchdog.h"
#include "watchdog/config/Keys.h"

namespace {

using Entry = PProcessWatchdogEntry;
using LogOperation = int (ILogger::*)(int, const wchar_t*, ...);

struct BoolKey {
  void (Entry::*store)(bool);
};

/// A number within [least, most], or else a message and a fallback.
struct IntKey {
  void (*store)(Entry&, int);
  int least;
  int most;
  void (*fallBack)(Entry&);
  LogOperation log;
  const wchar_t* message;
};

struct TextKey {
  void (Entry::*store)(PLiteral const&);
  PString (Entry::*stored)() const;
};

/// A text that names an action.
struct ActionKey {};

struct Row {
  const wchar_t* suffix;
  std::variant<BoolKey, IntKey, TextKey, ActionKey> key;
};

constexpr int kMost = std::numeric_limits<int>::max();

constexpr IntKey kPeriod = {
    [](Entry& entry, int value) { entry.setPeriod(static_cast<unsigned int>(value)); },
    1,
    kMost,
    [](Entry& entry) { entry.setPeriod(1); },
    &ILogger::error,
    L"[%s] Invalid value `%d' for key `%ls', setting to 1"};

constexpr IntKey kCpuLimit = {
    [](Entry& entry, int value) { entry.setCpuLimit(static_cast<char>(value)); },
    0,
    100,
    [](Entry& entry) { entry.setCpuEnabled(false); },
    &ILogger::error,
    L"[%s] Invalid value `%d' for key `%ls', disabling CPU monitoring"};

constexpr IntKey kMemLimit = {
    [](Entry& entry, int value) { entry.setMemLimit(static_cast<unsigned long long>(value)); },
    0,
    kMost,
    [](Entry& entry) { entry.setMemEnabled(false); },
    &ILogger::error,
    L"[%s] Invalid value `%d' for key `%ls', disabling memory monitoring"};

constexpr IntKey kInstLimit = {
    [](Entry& entry, int value) { entry.setInstLimit(static_cast<unsigned int>(value)); },
    0,
    kMost,
    [](Entry& entry) { entry.setInstEnabled(false); },
    &ILogger::error,
    L"[%s] Invalid value `%d' for key `%ls', disabling instance monitoring"};

// No "Invalid", and at debug level: a limit below 1 is a way to switch respawn off.
constexpr IntKey kRespawnLimit = {
    [](Entry& entry, int value) { entry.setRespawnLimit(value); },
    1,
    kMost,
    [](Entry& entry) { entry.setRespawnEnabled(false); },
    &ILogger::debug,
    L"[%s] value `%d' for key `%ls', disabling process respawn monitoring"};

/// The keys after ".name", in the order in which they are read: every switch
/// before its limit, so that an invalid limit has the last word.
constexpr std::array<Row, 16> kRows = {{
    {Keys::period, kPeriod},
    {Keys::cpuEnabled, BoolKey{&Entry::setCpuEnabled}},
    {Keys::cpuLimit, kCpuLimit},
    {Keys::memEnabled, BoolKey{&Entry::setMemEnabled}},
    {Keys::memLimit, kMemLimit},
    {Keys::instEnabled, BoolKey{&Entry::setInstEnabled}},
    {Keys::instLimit, kInstLimit},
    {Keys::respawnEnabled, BoolKey{&Entry::setRespawnEnabled}},
    {Keys::respawnLimit, kRespawnLimit},
    {Keys::countOnlyDiffParents, BoolKey{&Entry::setShouldCountOnlyDiffParents}},
    {Keys::countOnlyRunning, BoolKey{&Entry::setShouldCountOnlyRunning}},
    {Keys::sendEvent, BoolKey{&Entry::setShouldSendEvent}},
    {Keys::action, ActionKey{}},
    {Keys::executable, TextKey{&Entry::setExecutable, &Entry::executable}},
    {Keys::arguments, TextKey{&Entry::setArguments, &Entry::arguments}},
    {Keys::workingDir, TextKey{&Entry::setWorkingDir, &Entry::workingDir}},
}};

/// Stores a text. The setter cannot say that memory ran out; half an entry is
/// worse than none.
void storeText(Entry& entry, TextKey const& key, PString const& text) {
  (entry.*key.store)(text);
  if (!((entry.*key.stored)() == text)) throw std::bad_alloc();
}

}  // namespace

/// Reads one key for each kind of row, all of one type into the same variable. A
/// value that is not read leaves the entry as it is, without a word.
class PProcessWatchdog::EntryLoader {
 public:
  EntryLoader(PProcessWatchdog const& watchdog, IConfig& config, Entry& entry)
      : fWatchdog(watchdog), fConfig(config), fEntry(entry) {}

  int loadName(PString const& key) {
    const int res = fConfig.getString(key, fText);
    if (res == FrameworkResult::ok) storeText(fEntry, {&Entry::setName, &Entry::name}, fText);
    return res;
  }

  void load(Row const& row, PString const& key) {
    fKey = &key;
    std::visit(*this, row.key);
  }

  void operator()(BoolKey const& key) {
    if (fConfig.getBool(*fKey, fBool) == FrameworkResult::ok) (fEntry.*key.store)(fBool);
  }

  void operator()(IntKey const& key) {
    if (fConfig.getInt(*fKey, fInt) != FrameworkResult::ok) return;
    if (fInt >= key.least && fInt <= key.most) {
      key.store(fEntry, fInt);
      return;
    }
    fWatchdog.__log(key.log, key.message, "__loadProcessEntryConfig", fInt, fKey->c_str());
    key.fallBack(fEntry);
  }

  void operator()(TextKey const& key) {
    if (fConfig.getString(*fKey, fText) == FrameworkResult::ok) storeText(fEntry, key, fText);
  }

  void operator()(ActionKey const& /*key*/) {
    if (fConfig.getString(*fKey, fText) == FrameworkResult::ok) {
      fEntry.setAction(fWatchdog.__stringToAction(fText));
    }
  }

 private:
  PProcessWatchdog const& fWatchdog;
  IConfig& fConfig;
  Entry& fEntry;
  PString const* fKey = nullptr;
  bool fBool = false;
  int fInt = 0;
  PString fText;
};

// By value, so that the entry stays held for as long as it is being filled.
// NOLINTBEGIN(performance-unnecessary-value-param)
int PProcessWatchdog::__loadProcessEntryConfig(unsigned int index, PBaseptr<IConfig>& config,
                                               PBaseptr<PProcessWatchdogEntry> entry) {
  EntryLoader loader(*this, *config, *entry);
  PString key;
  __buildProcessEntryKey(Keys::memberPrefix, index, Keys::name, key);
  const int res = loader.loadName(key);
  if (res != FrameworkResult::ok) return res;

  for (Row const& row : kRows) {
    __buildProcessEntryKey(Keys::memberPrefix, index, row.suffix, key);
    loader.load(row, key);
  }
  return FrameworkResult::ok;
}
// NOLINTEND(performance-unnecessary-value-param)
