#include "bench/whole/Monit.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::string writeControlFile(Scratch const& scratch, Watched const& watched) {
  std::string text = fmt::format("set daemon {}\nset pidfile {}\nset idfile {}\nset statefile {}\n",
                                 Monit::kCycleSeconds, scratch.path("monit.pid"),
                                 scratch.path("monit.id"), scratch.path("monit.state"));
  for (std::string const& name : watched.names) {
    fmt::format_to(std::back_inserter(text),
                   "check process {0} matching \"^{0}\"\n"
                   "  if cpu > 99% then alert\n"
                   "  if memory > 99% then alert\n",
                   name);
  }
  return scratch.write("monitrc", text);
}

}  // namespace

std::string Monit::findProgram() {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::string program = folder + "/monit";
    if (::access(program.c_str(), X_OK) == 0) return program;
  }
  return "";
}

std::string Monit::version(Scratch const& scratch, std::string const& program) {
  const std::string output = scratch.path("monit.version");
  if (Child(program, {"monit", "--version"}, output).wait() != 0) return "";
  const std::string text = readText(output);
  const auto number = text.find_first_of("0123456789");
  return number == std::string::npos ? "" : text.substr(number, text.find('\n') - number);
}

Monit::Monit(Scratch const& scratch, std::string const& program, Watched const& watched)
    : fLog(scratch.write("monit.log", "")),
      fProcess(program, {"monit", "-I", "-c", writeControlFile(scratch, watched)}, fLog) {}

void Monit::expectHealthy() {
  fProcess.expectAlive(fLog);
  const std::string log = readText(fLog);
  if (log.find("not running") != std::string::npos) {
    throw std::runtime_error("monit misses processes that are there:\n" + log);
  }
}
