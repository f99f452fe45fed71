#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What the fuzz targets share. A target takes any bytes, has the code work on them, and
/// ends the process where what comes out is not what it must be.

#define REQUIRE(condition)                                                         \
  do {                                                                             \
    if (!(condition)) {                                                            \
      std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                \
    }                                                                              \
  } while (false)

/// An input that is taken apart.
class Input {
 public:
  explicit Input(std::string_view bytes) : fRest(bytes) {}
  std::string_view rest() const { return fRest; }

  /// The next byte; 0 at the end.
  unsigned int byte() { return static_cast<unsigned char>(take(1).append(1, '\0').front()); }

  std::string take(std::size_t count) {
    std::string taken(fRest.substr(0, count));
    fRest.remove_prefix(taken.size());
    return taken;
  }

  /// What is before the separator, which is taken too.
  std::string upTo(std::string_view separator) {
    std::string taken = take(fRest.find(separator));
    take(separator.size());
    return taken;
  }

 private:
  std::string_view fRest;
};

struct FuzzTarget {
  std::string_view name;
  void (*run)(std::string_view input);
};

void fuzzApi(std::string_view input);
void fuzzCommandLine(std::string_view input);
void fuzzConfiguration(std::string_view input);
void fuzzHttp(std::string_view input);
void fuzzLog(std::string_view input);
void fuzzMatch(std::string_view input);
void fuzzRestarts(std::string_view input);
void fuzzStat(std::string_view input);

inline constexpr std::array<FuzzTarget, 8> kFuzzTargets = {{
    {"api", fuzzApi},
    {"command_line", fuzzCommandLine},
    {"configuration", fuzzConfiguration},
    {"http", fuzzHttp},
    {"log", fuzzLog},
    {"match", fuzzMatch},
    {"restarts", fuzzRestarts},
    {"stat", fuzzStat},
}};

inline FuzzTarget const& fuzzTarget(const char* name) {
  for (FuzzTarget const& target : kFuzzTargets) {
    if (name != nullptr && target.name == name) return target;
  }
  std::fputs("no such target\n", stderr);
  std::exit(2);
}
