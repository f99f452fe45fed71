#include "host/control/RecentText.h"

#include <utility>

RecentText::RecentText(std::function<std::string()> make, Clock now)
    : fMake(std::move(make)), fNow(std::move(now)) {}

std::string RecentText::get() {
  const std::lock_guard lock(fMutex);
  if (!fMadeAt || fNow() - *fMadeAt >= kKept) {
    fText = fMake();
    fMadeAt = fNow();
  }
  return fText;
}
