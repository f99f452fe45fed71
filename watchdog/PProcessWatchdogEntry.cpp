#include "watchdog/PProcessWatchdogEntry.h"

#include "watchdog/Guarded.h"

namespace {

/// Copies `text` unless memory runs out, in which case `target` keeps its text:
/// these operations have no result that could say so.
void copyText(PString& target, PLiteral const& text) noexcept {
  static_cast<void>(guarded([&] {
    target = text;
    return FrameworkResult::ok;
  }));
}

}  // namespace

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
