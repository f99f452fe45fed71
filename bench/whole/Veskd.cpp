#include "bench/whole/Veskd.h"

#include <fmt/format.h>

#include <iterator>
#include <limits>

#include "bench/whole/Interruption.h"

namespace {

constexpr int kNever = std::numeric_limits<int>::max();

/// The configuration up to the first entry.
std::string hostPart(const char* logLevel, Variant variant) {
  return fmt::format(
      "[host]\nplugins = [\"{}\"]\nlog_level = \"{}\"\n{}"
      "[watchdog.process]\ncpu_enabled = true\nmem_enabled = true\ninst_enabled = true\n"
      "sample_time = {}\n",
      WATCHDOG, logLevel, variant == Variant::scanOnly ? "process_events = false\n" : "",
      Veskd::kSampleSeconds);
}

void appendEntry(std::string& configuration, std::size_t index, std::string const& name,
                 unsigned int instLimit) {
  fmt::format_to(std::back_inserter(configuration),
                 "[watchdog.process.{}]\nname = \"{}\"\n"
                 "cpu_enabled = true\ncpu_limit = 100\nmem_enabled = true\nmem_limit = {}\n"
                 "inst_enabled = true\ninst_limit = {}\n",
                 index, name, kNever, instLimit);
}

std::string watchAll(Watched const& watched, const char* logLevel, Variant variant,
                     unsigned int instLimit) {
  std::string configuration = hostPart(logLevel, variant);
  std::size_t index = 0;
  for (std::string const& name : watched.names) {
    appendEntry(configuration, ++index, name, instLimit);
  }
  return configuration;
}

std::size_t occurrences(std::string const& text, std::string const& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace

Veskd::Veskd(Scratch const& scratch, std::string const& configuration)
    : fLog(scratch.write("veskd.log", "")),
      fProcess(VESKD, {"veskd", "-c", scratch.write("veskd.toml", configuration)}, fLog) {}

Veskd Veskd::watching(Scratch const& scratch, Watched const& watched, Variant variant) {
  return {scratch, watchAll(watched, "warning", variant, kNever)};
}

Veskd Veskd::restarting(Scratch const& scratch, std::string const& name,
                        std::string const& executable, std::string const& arguments) {
  std::string configuration = hostPart("info", Variant::asItComes);
  appendEntry(configuration, 1, name, 1);
  configuration += fmt::format(
      "action = \"restart\"\nexecutable = \"{}\"\n"
      "arguments = \"{}\"\n",
      executable, arguments);
  return {scratch, configuration};
}

bool Veskd::knowsVariants(Scratch const& scratch) {
  // Nothing to run either way; a wrong [host] table is found first.
  constexpr int kNoPlugin = 69;
  const std::string file = scratch.write("variants.toml", "[host]\nprocess_events = false\n");
  return Child(VESKD, {"veskd", "-c", file}).wait() == kNoPlugin;
}

void Veskd::expectToSee(Scratch const& scratch, Watched const& watched) {
  Veskd veskd(scratch, watchAll(watched, "info", Variant::asItComes, watched.instances));
  const std::string line = fmt::format("(current={}, limit=", watched.instances);
  await("the host sees every process", [&] {
    veskd.expectAlive();
    return occurrences(readText(veskd.fLog), line) >= watched.names.size();
  });
}
