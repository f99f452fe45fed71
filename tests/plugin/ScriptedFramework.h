#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "framework/IBase.h"
#include "framework/PResult.h"

/// A framework that does what a test wrote down and writes down what it is asked.
///
/// Everything that the plug-in does to the world is one line of the journal, such
/// as "kill 10" or "error [init] ...". A result is scripted under that same line,
/// or under its first word. The plug-in's worker runs on a real thread that parks
/// in every wait until the test lets it go; the script is changed only meanwhile.
/// One object at a time is the framework in force, from its construction on.
class ScriptedFramework {
 public:
  struct Process {
    unsigned int pid = 0, parent = 1, cpu = 0;
    unsigned long long mem = 0;
    bool running = true;
  };
  using Value = std::variant<bool, int, std::wstring>;
  using Prefixes = std::vector<std::string_view>;

  ScriptedFramework();
  ~ScriptedFramework() { current = nullptr; }
  static inline ScriptedFramework* current = nullptr;

  std::map<std::string, std::vector<Process>> processes;  ///< by name
  std::map<std::string, Value> config;                    ///< by key
  std::map<std::string, IBase*> services;                 ///< by interface identifier
  std::map<std::string, int> results;                     ///< by line or first word
  std::map<std::string, void (*)()> raises;               ///< likewise: what a service throws
  long long now = 1000, tickStep = 0;  ///< tick count, ms, and what a reading adds to it
  IBase* eventSource = nullptr;        ///< of the last event
  std::atomic<int> references = 0;     ///< to services, held by the plug-in
  std::atomic<int> locks = 0;          ///< how often a mutex was taken

  /// Lets a new worker run up to its first wait, if there is a worker.
  void settle();
  /// Ends the worker's wait with `result`; returns in its next wait or at its end.
  void tick(int result = PResult::timedOut);
  /// Takes the journal without, or with only, the lines of these beginnings. A line
  /// break stands before, between and after the lines.
  std::string take(Prefixes const& prefixes = {}, bool only = false);

  // For the scripted classes.
  void record(std::string line);
  /// Records a call and returns its scripted result. What the worker calls, it has
  /// to call with the mutex held.
  int call(std::string const& line, int otherwise = PResult::ok);
  void raiseFor(std::string const& line);
  Process const& processOf(unsigned int pid) const;
  void workerCreated();
  void workerBegins();
  void workerEnds();
  int park();    ///< the worker's wait
  void drain();  ///< waits end by themselves from now on
  static inline thread_local int mutexesHeld = 0;
  static inline thread_local bool isWorker = false;

 private:
  std::shared_ptr<void> const fServices;
  std::mutex fMutex;
  std::condition_variable fChanged;
  std::vector<std::string> fJournal;
  std::optional<int> fRelease;
  bool fRunning = false, fGateOpen = false, fParked = false, fDraining = false;
};

/// Makes the services and enters them where a lookup finds them.
std::shared_ptr<void> makeServices(ScriptedFramework& framework);
