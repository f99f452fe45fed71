#pragma once

#include <spdlog/logger.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <variant>

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

  /// By path, files of the folder that are served as they are here, whatever is on
  /// the disk by now.
  std::map<std::string, TomlFile> files{};
};

/// Opens TOML files. What is wrong with a file is logged here; clients get a
/// code.
class ConfigManager : public RefCounted<IConfigManager> {
 public:
  ConfigManager(ConfigSources sources, std::shared_ptr<spdlog::logger> log);

  /// What is opened from now on comes from there. Any thread may call.
  void replace(ConfigSources sources);

  /// By path, the files that were opened from the folder since the last `replace`, as
  /// they were when they were last read. Any thread may call.
  std::map<std::string, TomlFile> filesRead() const;

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
    std::map<std::string, TomlFile> files;
    std::shared_ptr<ConfigDocument> main;
  };

  std::shared_ptr<const Opened> opened() const;
  std::shared_ptr<ConfigDocument> makeDocument(Opened const& from, TomlFile file) const;
  int openFile(PLiteral const& id, std::string const& path, PBaseptr<IConfig>& config) const;
  int openOfFolder(PLiteral const& id, std::string const& path, PBaseptr<IConfig>& config);
  int handOutRead(PLiteral const& id, std::variant<TomlFile, TomlFailure> read,
                  PBaseptr<IConfig>& config) const;
  int openMain(PLiteral const& id, PBaseptr<IConfig>& config) const;

  std::shared_ptr<spdlog::logger> fLog;
  mutable std::mutex fMutex;  ///< guards what follows
  std::shared_ptr<const Opened> fOpened;
  std::map<std::string, TomlFile> fFilesRead;
};
