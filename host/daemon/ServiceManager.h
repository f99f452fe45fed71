#pragma once

#include <chrono>
#include <string>

/// What the service manager that started this process says in the environment.
struct ServiceManager {
  /// Datagram socket that it hears this process on: a path, or '@' and an abstract
  /// name. Empty: nobody listens.
  std::string notifySocket;

  /// It wants a sign of life at least this often; zero: it does not.
  std::chrono::microseconds watchdogInterval{0};

  /// Whether standard error is read by the journal.
  bool isJournalOnStderr = false;
};

/// Reads the variables and removes them, so that nothing this process starts takes
/// them for its own. What cannot be read counts as absent. Before any thread is
/// started.
ServiceManager takeServiceManager();
