#pragma once

#include <cstdio>
#include <cstdlib>
#include <map>
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

using FuzzTarget = void (*)(std::string_view input);

inline std::map<std::string_view, FuzzTarget>& fuzzTargets() {
  static std::map<std::string_view, FuzzTarget> targets;
  return targets;
}

/// Begins a target of this name.
#define FUZZ_TARGET(name)                                \
  static void name##Target(std::string_view input);      \
  [[maybe_unused]] static const bool name##IsThere =     \
      fuzzTargets().emplace(#name, name##Target).second; \
  static void name##Target(std::string_view input)

inline FuzzTarget fuzzTarget(const char* name) {
  const auto found = fuzzTargets().find(name != nullptr ? name : "");
  if (found != fuzzTargets().end()) return found->second;
  std::fputs("no such target\n", stderr);
  std::exit(2);
}
