#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "framework/IBase.h"
#include "framework/PResult.h"
#include "framework/PString.h"

/// A framework that writes every call to its journal, as a line such as "kill 10". The
/// worker is a real thread that parks in every wait until the test lets it go.
struct ScriptedFramework {
  struct Process {
    unsigned int pid = 0, parent = 1, cpu = 0;
    unsigned long long mem = 0;
    bool running = true;
  };
  /// Scripted in place of a result. A lookup may succeed and give no object.
  enum : int { throws = 1, throwsBadAlloc, givesNone };

  ScriptedFramework() { current = this; }
  virtual ~ScriptedFramework() = default;
  static inline ScriptedFramework* current = nullptr;

  std::map<std::string, std::vector<Process>> processes;  ///< by name
  std::map<std::string, std::variant<bool, int, PString>> config = {
      {"watchdog.process.cpu_enabled", true},
      {"watchdog.process.mem_enabled", true},
      {"watchdog.process.inst_enabled", true},
      {"watchdog.process.sample_time", 2}};
  long long now = 1000;             ///< tick count, ms
  std::atomic<int> references = 0;  ///< held to services

  /// Lets a new worker, if there is one, run up to its first wait or its end.
  void settle();
  /// Ends the worker's wait with `result`; returns in its next wait or at its end.
  void tick(int result = PResult::timedOut);
  /// Takes the lines that begin with `pattern`, with line breaks before and after.
  std::string take(const char* pattern = "");

  /// Sees every call, those too that the journal leaves out, and may change its result.
  virtual int meddle(std::string const& /*line*/, int result) { return result; }

  /// Whether this thread is in the plug-in; while it lives, on the side that it is told.
  static inline thread_local bool inPlugin = false;
  struct Side {
    explicit Side(bool plugin) : before(std::exchange(inPlugin, plugin)) {}
    ~Side() { inPlugin = before; }
    bool before;
  };

  // For the scripted classes.
  int call(std::string_view text, int otherwise = PResult::ok);
  /// A call that is not in the journal.
  int quiet(const char* line) { return heed(line, meddle(line, PResult::ok)); }
  static int heed(std::string const& line, int result);
  void join();
  static inline thread_local int mutexesHeld = 0;
  static inline thread_local bool isWorker = false;
  std::function<void()> worker;           ///< created and not yet running
  std::counting_semaphore<> parked{0};    ///< the worker waits, or has ended
  std::counting_semaphore<> released{0};  ///< the wait is over, with:
  std::atomic<int> waitResult = PResult::ok;
  std::map<unsigned int, Process> found;  ///< by process id

 private:
  std::thread fThread;
  std::mutex fMutex;
  std::vector<std::string> fJournal;
};

inline ScriptedFramework& framework() { return *ScriptedFramework::current; }
