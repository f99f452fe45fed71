#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/plugin/ScriptedFramework.h"

using Lines = std::vector<std::string>;

/// What the plug-in allocates, wherever it does.
struct Memory {
  static inline std::atomic<long> made = 0, live = 0;
  static inline std::atomic<long> refused = 0;         ///< the number of the one that fails
  static inline std::size_t journal = 0;               ///< its lines so far
  static inline std::array<std::size_t, 4096> places;  ///< lines before each, from 1 on
};

/// What goes wrong once: a call ends with `result`, or an allocation is refused.
struct Fault {
  std::size_t at = 0;  ///< the journal's line that fails, or that memory is needed before
  int result = 0;
  long allocation = 0;  ///< its number; 0: none
  bool isLast = false;  ///< the last allocation before that line
};

/// What is different about a world in which nothing goes wrong.
struct World {
  std::string key;                            ///< has its default, or no value
  std::size_t firstFind = 0, endOfFinds = 0;  ///< these find only
  std::size_t found = 0;                      ///< so many processes at most
  auto operator<=>(World const&) const = default;
};

/// A plug-in's life: start, three entries of each kind, windows, every action, stop. The
/// host and the client repeat what fails.
class Scenario final : public ScriptedFramework {
 public:
  explicit Scenario(Fault fault = {}, World world = {});

  /// @return every call, and in "> operation" and "= result" what host and client do.
  Lines play();

 private:
  using Entry = IProcessWatchdogEntry;

  int meddle(std::string const& line, int result) override;
  void narrow(std::string const& name, int& result);
  void configure(std::string const& number, std::string const& kind, const wchar_t* action);
  void operate(std::string const& name, int expected, std::function<int()> const& operation);
  void start();
  void addEntry(std::string const& kind, int number);
  void useRegistry();
  void tick(int number);
  IProcessWatchdog* service();
  void note(std::string const& line) {
    fLines.push_back(line);
    Memory::journal = fLines.size();
  }

  Fault fFault;
  World fWorld;
  Lines fLines;
  IPlugin* fPlugin = nullptr;
  std::vector<Entry*> fEntries;
  bool fWorkerEnded = false;
  std::size_t fFinds = 0;
  std::string fNarrowed;
  std::vector<Process> fNotFound;
};
