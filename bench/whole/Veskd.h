#pragma once

#include <string>

#include "bench/whole/Child.h"
#include "bench/whole/Population.h"
#include "bench/whole/Scratch.h"

/// How the host is run: as it comes, or without the kernel's notes of processes
/// that start and end.
enum class Variant { asItComes, scanOnly };

/// The real host with the real plug-in, on a configuration of the benchmark's own.
class Veskd {
 public:
  static constexpr unsigned int kSampleSeconds = 1;

  /// Watches every name for processor time, memory and number of instances, with
  /// limits that are never reached.
  static Veskd watching(Scratch const& scratch, Watched const& watched, Variant variant);

  /// Has one entry, whose instance is restarted at every sample.
  static Veskd restarting(Scratch const& scratch, std::string const& name,
                          std::string const& executable, std::string const& arguments);

  /// Whether this host knows of the other variant at all.
  static bool knowsVariants(Scratch const& scratch);

  /// Has the host report the instances of every name once.
  /// @throws std::runtime_error unless it sees what there is.
  static void expectToSee(Scratch const& scratch, Watched const& watched);

  pid_t pid() const { return fProcess.pid(); }

  /// @throws std::runtime_error with the host's log if it has ended.
  void expectAlive() { fProcess.expectAlive(fLog); }

 private:
  Veskd(Scratch const& scratch, std::string const& configuration);

  std::string fLog;
  Child fProcess;
};
