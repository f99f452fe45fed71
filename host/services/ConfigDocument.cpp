#include "host/services/ConfigDocument.h"

#include <algorithm>
#include <utility>
#include <vector>

ConfigDocument::ConfigDocument(TomlFile file, std::shared_ptr<spdlog::logger> log,
                               std::set<std::string> const& reported)
    : fFile(std::move(file)), fLog(std::move(log)), fAsked(reported), fWarned(reported) {
  for (std::string const& table : reported) {
    const std::string prefix = table + '.';
    for (auto at = fFile.entries.lower_bound(prefix);
         at != fFile.entries.end() && at->first.starts_with(prefix); ++at) {
      fAsked.insert(at->first);
    }
  }
}

ConfigEntry const* ConfigDocument::ask(std::string const& key) {
  const auto found = fFile.entries.find(key);
  if (found == fFile.entries.end()) return nullptr;
  const std::lock_guard lock(fMutex);
  fAsked.insert(key);
  return &found->second;
}

ConfigEntry const* ConfigDocument::firstOf(std::string const& key) const {
  const std::string prefix = key + '.';
  const auto found = fFile.entries.lower_bound(prefix);
  if (found == fFile.entries.end() || !found->first.starts_with(prefix)) return nullptr;
  return &found->second;
}

void ConfigDocument::warnUnreadable(std::string const& key, FilePosition position,
                                    std::string const& found, std::string const& expected) {
  {
    const std::lock_guard lock(fMutex);
    if (!fWarned.insert(key).second) return;
  }
  fLog->warn("{}`{}' is {}, but {} is expected; the value is not read",
             atPosition(fFile.path, position), key, found, expected);
}

void ConfigDocument::reportUnused() const {
  std::vector<std::pair<FilePosition, std::string>> unused;
  {
    const std::lock_guard lock(fMutex);
    for (auto const& [key, entry] : fFile.entries) {
      if (!fAsked.contains(key)) unused.emplace_back(entry.keyPosition, key);
    }
  }
  std::sort(unused.begin(), unused.end());
  for (auto const& [position, key] : unused) {
    fLog->warn("{}`{}' is not used", atPosition(fFile.path, position), key);
  }
}
