#pragma once

#include <spdlog/logger.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "framework/IConfigManager.h"
#include "host/RefCounted.h"
#include "host/services/ConfigDocument.h"

/// Where configurations are looked up by identifier.
struct ConfigSources {
  /// The folder that holds one file per identifier, `<identifier>.toml`. Empty:
  /// the main file serves every identifier.
  std::string directory;

  /// The host's own file, without the host's own table; nothing when there is none.
  std::optional<TomlFile> mainFile;

  /// By file, the keys and tables that were reported before and are not again.
  std::map<std::string, std::set<std::string>> reported{};
};

/// Opens TOML files. What is wrong with a file is logged here; clients get a
/// code.
class ConfigManager : public RefCounted<IConfigManager> {
 public:
  ConfigManager(ConfigSources sources, std::shared_ptr<spdlog::logger> log);

  /// What is opened from now on comes from there. Any thread may call.
  void replace(ConfigSources sources);

  int loadByPath(PLiteral const& path, PBaseptr<IConfig>& config) override;
  int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) override;

  /// Warns about all of the main file that no plug-in has asked for. For the end
  /// of the start: the main file has as many readers as there are plug-ins.
  void reportUnused() const;

 private:
  ~ConfigManager() override = default;

  /// The sources, opened as far as there is something to open.
  struct Opened {
    std::string directory;
    std::map<std::string, std::set<std::string>> reported;
    std::shared_ptr<ConfigDocument> main;
  };

  std::shared_ptr<const Opened> opened() const;
  std::shared_ptr<ConfigDocument> makeDocument(Opened const& from, TomlFile file) const;
  int openFile(PLiteral const& id, std::string const& path, PBaseptr<IConfig>& config) const;
  int openMain(PLiteral const& id, PBaseptr<IConfig>& config) const;

  std::shared_ptr<spdlog::logger> fLog;
  mutable std::mutex fMutex;  ///< guards the pointer that follows
  std::shared_ptr<const Opened> fOpened;
};
