#include "tests/plugin/ScriptedFramework.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

template <class Script>
auto scriptFor(Script& script, std::string const& line) {
  const auto found = script.find(line);
  return found != script.end() ? found : script.find(line.substr(0, line.find(' ')));
}

}  // namespace

ScriptedFramework::ScriptedFramework() : fServices(makeServices(*this)) {
  current = this;
  config = {{"watchdog.process.cpu_enabled", true},
            {"watchdog.process.mem_enabled", true},
            {"watchdog.process.inst_enabled", true},
            {"watchdog.process.sample_time", 2}};
}

void ScriptedFramework::record(std::string line) {
  const std::lock_guard lock(fMutex);
  fJournal.push_back(std::move(line));
}

void ScriptedFramework::raiseFor(std::string const& line) {
  if (const auto raise = scriptFor(raises, line); raise != raises.end()) raise->second();
}

int ScriptedFramework::call(std::string const& line, int otherwise) {
  record(line);
  if (isWorker && mutexesHeld != 1) ADD_FAILURE() << line << " with mutex held " << mutexesHeld;
  raiseFor(line);
  const auto result = scriptFor(results, line);
  return result != results.end() ? result->second : otherwise;
}

auto ScriptedFramework::processOf(unsigned int pid) const -> Process const& {
  for (auto const& [name, instances] : processes) {
    for (Process const& process : instances) {
      if (process.pid == pid) return process;
    }
  }
  throw std::out_of_range("no such process");
}

std::string ScriptedFramework::take(Prefixes const& prefixes, bool only) {
  const std::lock_guard lock(fMutex);
  std::string text;
  for (std::string const& line : std::exchange(fJournal, {})) {
    const bool matches = std::any_of(prefixes.begin(), prefixes.end(),
                                     [&](auto prefix) { return line.starts_with(prefix); });
    if (matches == only) text += (text.empty() ? "\n" : "") + line + "\n";
  }
  return text;
}

void ScriptedFramework::settle() {
  std::unique_lock lock(fMutex);
  fGateOpen = true;
  fChanged.notify_all();
  fChanged.wait(lock, [this] { return fParked || !fRunning; });
}

void ScriptedFramework::tick(int result) {
  {
    const std::lock_guard lock(fMutex);
    fRelease = result;
    fParked = false;
  }
  settle();
}

void ScriptedFramework::workerCreated() {
  const std::lock_guard lock(fMutex);
  fRunning = true;
  fGateOpen = fDraining = false;
}

void ScriptedFramework::workerBegins() {
  std::unique_lock lock(fMutex);
  isWorker = true;
  fChanged.wait(lock, [this] { return fGateOpen || fDraining; });
}

void ScriptedFramework::workerEnds() {
  const std::lock_guard lock(fMutex);
  fRunning = false;
  fChanged.notify_all();
}

int ScriptedFramework::park() {
  std::unique_lock lock(fMutex);
  fParked = true;
  fChanged.notify_all();
  fChanged.wait(lock, [this] { return fRelease || fDraining; });
  fParked = false;
  return std::exchange(fRelease, {}).value_or(PResult::ok);
}

void ScriptedFramework::drain() {
  const std::lock_guard lock(fMutex);
  fDraining = true;
  fChanged.notify_all();
}
