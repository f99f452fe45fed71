#include "watchdog/PProcessWatchdogEntry.h"

#include "watchdog/Guarded.h"

PString PProcessWatchdogEntry::copyOf(PLiteral const& text) const {
  const std::lock_guard lock(fTextMutex);
  // From the view: copies of a framework's own text might share what no lock guards.
  return PString(text);
}

/// Copies `text` from or to this entry unless memory runs out, in which case `target`
/// keeps its text: these operations have no result that could say so.
void PProcessWatchdogEntry::copyText(PString& target, PLiteral const& text) const noexcept {
  static_cast<void>(guarded([&] {
    const std::lock_guard lock(fTextMutex);
    target = text;
    return FrameworkResult::ok;
  }));
}

int PProcessWatchdogEntry::incRef() { return ++fRefCount; }

int PProcessWatchdogEntry::decRef() {
  const int holders = fRefCount.change(-1);
  if (holders == 0) delete this;
  return holders;
}

void PProcessWatchdogEntry::getName(PString& name) const { copyText(name, fName); }

void PProcessWatchdogEntry::getExecutable(PString& executable) const {
  copyText(executable, fExecutable);
}

void PProcessWatchdogEntry::getArguments(PString& arguments) const {
  copyText(arguments, fArguments);
}

void PProcessWatchdogEntry::getWorkingDir(PString& workingDir) const {
  copyText(workingDir, fWorkingDir);
}

void PProcessWatchdogEntry::setName(PLiteral const& name) { copyText(fName, name); }

void PProcessWatchdogEntry::setExecutable(PLiteral const& executable) {
  copyText(fExecutable, executable);
}

void PProcessWatchdogEntry::setArguments(PLiteral const& arguments) {
  copyText(fArguments, arguments);
}

void PProcessWatchdogEntry::setWorkingDir(PLiteral const& workingDir) {
  copyText(fWorkingDir, workingDir);
}
