#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "host/daemon/ServiceManager.h"
#include "host/process/UniqueFd.h"

/// Tells the service manager how this process is, as sd_notify(3) describes it.
/// Does nothing where nobody listens. A message that cannot be sent is reported
/// once and stops nothing. Any thread may call.
class ServiceNotifier {
 public:
  ServiceNotifier(ServiceManager const& manager, std::shared_ptr<spdlog::logger> log);

  /// Everything is started. @param status one line for whoever asks how it is.
  void ready(std::string const& status);

  /// The configuration is being read again, until `reloaded`.
  void reloading();
  void reloaded();

  /// The end has begun.
  void stopping(std::string const& status);

  /// How often `feed` is to be called; zero: never, nobody waits for it.
  std::chrono::microseconds feedInterval() const { return fFeedInterval; }

  /// Gives the sign of life, but only if processes were looked for since the last
  /// one, or never were, or nothing is to be looked for: then the life of the
  /// calling thread is all that there is.
  /// @param finds how often they were looked for, modulo the type; 0 for never, and
  ///        where nothing is to be looked for.
  void feed(unsigned int finds);

 private:
  void connect(std::string const& socket);
  void send(std::string const& state);
  void reportHeld();

  std::shared_ptr<spdlog::logger> fLog;
  std::chrono::microseconds fFeedInterval{0};
  std::mutex fMutex;  ///< guards what follows
  UniqueFd fSocket;
  std::string fReadyStatus;
  unsigned int fFinds = 0;  ///< at the last sign of life
  int fHeldFor = 0;         ///< calls of `feed` in a row without one
  bool fIsFailureReported = false;
};
