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
    : fDirectory(std::move(sources.directory)),
      fReported(std::move(sources.reported)),
      fLog(std::move(log)) {
  if (sources.mainFile) fMain = makeDocument(std::move(*sources.mainFile));
}

std::shared_ptr<ConfigDocument> ConfigManager::makeDocument(TomlFile file) const {
  static const std::set<std::string> kNone;
  const auto reported = fReported.find(file.path);
  return std::make_shared<ConfigDocument>(std::move(file), fLog,
                                          reported != fReported.end() ? reported->second : kNone);
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
    if (fDirectory.empty()) return openMain(id, config);
    return openFile(id, std::filesystem::path(fDirectory) / (name + ".toml"), config);
  });
}

int ConfigManager::openFile(PLiteral const& id, std::string const& path,
                            PBaseptr<IConfig>& config) const {
  auto read = readTomlFile(path);
  if (auto const* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    fLog->error("{}", failure->message);
    return failure->code == -ENOENT ? PResult::notFound : failure->code;
  }
  handOut(id, makeDocument(std::get<TomlFile>(std::move(read))), config);
  return PResult::ok;
}

int ConfigManager::openMain(PLiteral const& id, PBaseptr<IConfig>& config) const {
  if (fMain == nullptr) {
    fLog->error("there is no configuration for `{}': no file was given", PUtils::toUtf8(id));
    return PResult::notFound;
  }
  handOut(id, fMain, config);
  return PResult::ok;
}

void ConfigManager::reportUnused() const {
  if (fMain != nullptr) fMain->reportUnused();
}
