#pragma once

#include <spdlog/logger.h>

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "host/services/TomlFile.h"

/// A configuration file together with what was asked of it, so that a mistyped
/// key comes to light without the host knowing the keys of its plug-ins. Any
/// thread may use it.
class ConfigDocument {
 public:
  /// @param reported keys, and tables with all that is in them, that are not warned
  /// about any more.
  ConfigDocument(TomlFile file, std::shared_ptr<spdlog::logger> log,
                 std::set<std::string> const& reported = {});

  /// What stands under `key`, which now counts as asked for; null for nothing.
  ConfigEntry const* ask(std::string const& key);

  /// The first value inside the table `key`; null when there is no such table.
  /// Does not count as asking for it.
  ConfigEntry const* firstOf(std::string const& key) const;

  /// Warns, once per key, that what stands at `position` is not what is expected
  /// there. @param found and @param expected in the words of a message.
  void warnUnreadable(std::string const& key, FilePosition position, std::string const& found,
                      std::string const& expected);

  /// Warns about every value that nobody has asked for yet.
  void reportUnused() const;

 private:
  TomlFile fFile;
  std::shared_ptr<spdlog::logger> fLog;
  mutable std::mutex fMutex;      ///< guards the two that follow
  std::set<std::string> fAsked;   ///< or reported elsewhere
  std::set<std::string> fWarned;  ///< likewise
};
