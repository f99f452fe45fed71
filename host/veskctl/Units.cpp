#include "host/veskctl/Units.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace ctl {

namespace {

constexpr double kSecond = 1000;

struct Pair {
  double size;  ///< of the larger unit, in seconds
  const char* large;
  double inLarge;  ///< seconds of the smaller one
  const char* small;
};

constexpr std::array<Pair, 3> kPairs = {
    {{86400, "d", 3600, "h"}, {3600, "h", 60, "min"}, {60, "min", 1, "s"}}};

}  // namespace

std::string humanMemory(double kib) {
  static constexpr std::array<const char*, 4> kUnits = {"KiB", "MiB", "GiB", "TiB"};
  constexpr double kStep = 1024;
  constexpr double kLong = 100;  // no fraction from here on
  std::size_t unit = 0;
  for (; kib >= kStep && unit + 1 < kUnits.size(); ++unit) kib /= kStep;
  const int digits = unit == 0 || kib >= kLong ? 0 : 1;
  return fmt::format("{:.{}f} {}", kib, digits, kUnits.at(unit));
}

std::string humanDuration(double milliseconds) {
  constexpr double kLong = 10;
  if (milliseconds < kSecond) {
    return fmt::format("{:.{}f} ms", milliseconds, milliseconds < kLong ? 1 : 0);
  }
  const double seconds = milliseconds / kSecond;
  const auto* const pair = std::find_if(kPairs.begin(), kPairs.end(),
                                        [&](Pair const& row) { return seconds >= row.size; });
  if (pair == kPairs.end()) return fmt::format("{:.{}f} s", seconds, seconds < kLong ? 1 : 0);
  const auto large = static_cast<unsigned long long>(seconds / pair->size);
  const double rest = seconds - static_cast<double>(large) * pair->size;
  return fmt::format("{} {} {} {}", large, pair->large,
                     static_cast<unsigned long long>(rest / pair->inLarge), pair->small);
}

std::string counted(unsigned long long number, std::string const& one, std::string many) {
  if (many.empty()) many = one + 's';
  return fmt::format("{} {}", number, number == 1 ? one : many);
}

std::optional<WallTime> parseTime(std::string const& text) {
  std::tm parts{};
  int milliseconds = 0;
  char zone = 0;
  const int read = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3d%c", &parts.tm_year,
                               &parts.tm_mon, &parts.tm_mday, &parts.tm_hour, &parts.tm_min,
                               &parts.tm_sec, &milliseconds, &zone);
  if (read != 8 || zone != 'Z') return std::nullopt;
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  return WallTime(std::chrono::seconds(::timegm(&parts)) + std::chrono::milliseconds(milliseconds));
}

std::string ago(WallTime time, WallTime now) {
  const auto age = std::max(now - time, std::chrono::milliseconds(0));
  return humanDuration(static_cast<double>(age.count())) + " ago";
}

std::string localTime(WallTime time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto value = static_cast<std::time_t>(seconds.time_since_epoch().count());
  std::tm parts{};
  ::localtime_r(&value, &parts);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%F %T", &parts);
  return fmt::format("{}.{:03}", std::string_view(text.data(), length), (time - seconds).count());
}

}  // namespace ctl
