#include "host/process/ProgramLimits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace {

struct LimitName {
  const char* name;
  int resource;
};

constexpr std::array<LimitName, 16> kLimits = {{
    {"as", RLIMIT_AS},
    {"core", RLIMIT_CORE},
    {"cpu", RLIMIT_CPU},
    {"data", RLIMIT_DATA},
    {"fsize", RLIMIT_FSIZE},
    {"locks", RLIMIT_LOCKS},
    {"memlock", RLIMIT_MEMLOCK},
    {"msgqueue", RLIMIT_MSGQUEUE},
    {"nice", RLIMIT_NICE},
    {"nofile", RLIMIT_NOFILE},
    {"nproc", RLIMIT_NPROC},
    {"rss", RLIMIT_RSS},
    {"rtprio", RLIMIT_RTPRIO},
    {"rttime", RLIMIT_RTTIME},
    {"sigpending", RLIMIT_SIGPENDING},
    {"stack", RLIMIT_STACK},
}};

std::optional<rlim_t> parseValue(std::string_view text) {
  if (text == "unlimited") return RLIM_INFINITY;
  rlim_t value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  // The greatest number is how the system writes "unlimited".
  if (error != std::errc() || rest != end || value == RLIM_INFINITY) return std::nullopt;
  return value;
}

}  // namespace

std::optional<ProgramLimit> parseProgramLimit(std::string_view text) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const auto* named = std::ranges::find(kLimits, text.substr(0, equals), &LimitName::name);
  if (named == kLimits.end()) return std::nullopt;

  const std::string_view values = text.substr(equals + 1);
  const auto colon = values.find(':');
  const auto soft = parseValue(values.substr(0, colon));
  const auto hard = colon == std::string_view::npos ? soft : parseValue(values.substr(colon + 1));
  if (!soft || !hard || *soft > *hard) return std::nullopt;
  return ProgramLimit{named->resource, *soft, *hard};
}

const char* limitName(int resource) {
  const auto* named = std::ranges::find(kLimits, resource, &LimitName::resource);
  return named != kLimits.end() ? named->name : "unknown";
}
