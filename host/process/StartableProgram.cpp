#include "host/process/StartableProgram.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "host/process/CommandLine.h"
#include "host/process/ExecutableLookup.h"
#include "host/trust/TrustedPath.h"

namespace {

/// As many bytes of a name as the kernel keeps.
constexpr std::size_t kKeptLength = 15;

std::string baseName(std::string const& path) { return path.substr(path.find_last_of('/') + 1); }

/// @return empty where a bare name is nowhere.
std::string fileOf(std::string const& executable, std::string const& workingDir,
                   std::string& passedOver) {
  const std::string found = resolveExecutable(executable, &passedOver);
  return found.empty() ? found : (std::filesystem::path(workingDir) / found).string();
}

}  // namespace

StartableProgram::StartableProgram(std::string const& executable, std::string const& workingDir)
    : fFile(fileOf(executable, workingDir, fPassedOver)) {}

StartObstacle StartableProgram::obstacle() const {
  if (fFile.empty() && !fPassedOver.empty()) return {ENOENT, fPassedOver};
  if (fFile.empty()) {
    return {ENOENT, "not found in PATH (relative and untrusted folders are not searched)"};
  }
  std::error_code error;
  const auto status = std::filesystem::status(fFile, error);
  if (!std::filesystem::exists(status)) return {error ? error.value() : ENOENT, error.message()};
  if (std::filesystem::is_directory(status)) {
    return {EACCES, std::generic_category().message(EISDIR)};
  }
  if (!std::filesystem::is_regular_file(status)) return {EACCES, "not a program"};
  if (::access(fFile.c_str(), X_OK) == 0) return {};
  const int cause = errno;
  return {cause, std::generic_category().message(cause)};
}

std::string StartableProgram::distrust() const { return distrustOf(fFile); }

std::string StartableProgram::keptName() const { return baseName(fFile).substr(0, kKeptLength); }

bool StartableProgram::isFoundAs(std::string const& name, std::string const& arguments) const {
  if (keptName() != name.substr(0, kKeptLength)) return false;
  if (name.size() <= kKeptLength || baseName(fFile) == name) return true;
  // A longer name may be that of the file behind a link, or of a first argument.
  std::error_code ignored;
  if (std::filesystem::canonical(fFile, ignored).filename() == name) return true;
  std::vector<std::string> words;
  splitCommandLine(arguments, words);
  constexpr std::size_t kWords = 2;
  words.resize(std::min(words.size(), kWords));
  return std::ranges::any_of(words,
                             [&](std::string const& word) { return baseName(word) == name; });
}
