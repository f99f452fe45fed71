#include "host/services/ConfigManager.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PUtils.h"
#include "host/services/TomlConfig.h"
#include "plugin/PBaseptr.h"

namespace {

/// An identifier names a file in one folder and leads nowhere else.
bool isFileName(std::string const& id) {
  return !id.empty() && id.front() != '.' && id.find('/') == std::string::npos;
}

void handOut(PLiteral const& id, std::shared_ptr<ConfigDocument> document,
             PBaseptr<IConfig>& config) {
  pTake<IConfig>(config, new TomlConfig(id, std::move(document)));
}

}  // namespace

ConfigManager::ConfigManager(ConfigSources sources, std::shared_ptr<spdlog::logger> log)
    : fLog(std::move(log)) {
  replace(std::move(sources));
}

void ConfigManager::replace(ConfigSources sources) {
  auto opened = std::make_shared<Opened>();
  opened->directory = std::move(sources.directory);
  opened->reported = std::move(sources.reported);
  opened->files = std::move(sources.files);
  if (sources.mainFile) opened->main = makeDocument(*opened, std::move(*sources.mainFile));
  const std::lock_guard lock(fMutex);
  fOpened = std::move(opened);
  fFilesRead.clear();
}

std::map<std::string, TomlFile> ConfigManager::filesRead() const {
  const std::lock_guard lock(fMutex);
  return fFilesRead;
}

std::shared_ptr<const ConfigManager::Opened> ConfigManager::opened() const {
  const std::lock_guard lock(fMutex);
  return fOpened;
}

std::shared_ptr<ConfigDocument> ConfigManager::makeDocument(Opened const& from,
                                                            TomlFile file) const {
  static const std::set<std::string> kNone;
  const auto reported = from.reported.find(file.path);
  return std::make_shared<ConfigDocument>(
      std::move(file), fLog, reported != from.reported.end() ? reported->second : kNone);
}

int ConfigManager::loadByPath(PLiteral const& path, PBaseptr<IConfig>& config) {
  return pGuarded([&] { return openFile(path, PUtils::toUtf8(path), config); });
}

int ConfigManager::loadByID(PLiteral const& id, PBaseptr<IConfig>& config) {
  return pGuarded([&] {
    const std::string name = PUtils::toUtf8(id);
    if (!isFileName(name)) {
      fLog->error("`{}' is no identifier of a configuration", name);
      return -EINVAL;
    }
    const std::string directory = opened()->directory;
    if (directory.empty()) return openMain(id, config);
    return openOfFolder(id, std::filesystem::path(directory) / (name + ".toml"), config);
  });
}

int ConfigManager::openOfFolder(PLiteral const& id, std::string const& path,
                                PBaseptr<IConfig>& config) {
  const auto from = opened();
  const auto kept = from->files.find(path);
  std::variant<TomlFile, TomlFailure> read;
  if (kept != from->files.end()) {
    read = kept->second;
  } else {
    read = readTomlFile(path);
  }
  if (auto const* file = std::get_if<TomlFile>(&read)) {
    const std::lock_guard lock(fMutex);
    fFilesRead[path] = *file;
  }
  return handOutRead(id, std::move(read), config);
}

int ConfigManager::openFile(PLiteral const& id, std::string const& path,
                            PBaseptr<IConfig>& config) const {
  return handOutRead(id, readTomlFile(path), config);
}

int ConfigManager::handOutRead(PLiteral const& id, std::variant<TomlFile, TomlFailure> read,
                               PBaseptr<IConfig>& config) const {
  if (auto const* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    fLog->error("{}", failure->message);
    return failure->code == -ENOENT ? PResult::notFound : failure->code;
  }
  handOut(id, makeDocument(*opened(), std::get<TomlFile>(std::move(read))), config);
  return PResult::ok;
}

int ConfigManager::openMain(PLiteral const& id, PBaseptr<IConfig>& config) const {
  const auto main = opened()->main;
  if (main == nullptr) {
    fLog->error("there is no configuration for `{}': no file was given", PUtils::toUtf8(id));
    return PResult::notFound;
  }
  handOut(id, main, config);
  return PResult::ok;
}

void ConfigManager::reportUnused() const {
  if (const auto main = opened()->main; main != nullptr) main->reportUnused();
}
