#include "host/process/ExecutableLookup.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "host/trust/TrustedPath.h"

std::string resolveExecutable(std::string const& executable, std::string* passedOver) {
  if (executable.find('/') != std::string::npos) return executable;
  const char* path = std::getenv("PATH");
  std::string_view rest = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
  while (!rest.empty()) {
    const auto length = std::min(rest.find(':'), rest.size());
    std::string candidate = std::string(rest.substr(0, length)) + "/" + executable;
    std::error_code ignored;
    if (candidate.front() == '/' && length > 0 &&
        std::filesystem::is_regular_file(candidate, ignored) &&
        ::access(candidate.c_str(), X_OK) == 0) {
      std::string obstacle = obstacleTo(candidate);
      if (obstacle.empty()) return candidate;
      if (passedOver != nullptr && passedOver->empty()) *passedOver = std::move(obstacle);
    }
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return "";
}
