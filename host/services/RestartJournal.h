#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "host/process/UniqueFd.h"
#include "host/services/RestartBrake.h"

/// The restarts of the operating system in a file of their own, `restarts` in a
/// folder that must exist: a line with the version, then one for each restart, the
/// oldest first. One thread at a time.
class RestartJournal {
 public:
  static constexpr const char* kBootIdFile = "/proc/sys/kernel/random/boot_id";

  struct Content {
    std::vector<PastRestart> past;
    bool isWhole = true;  ///< not so if there is, or was, a file that cannot be believed
  };

  RestartJournal(std::string folder, std::shared_ptr<spdlog::logger> log);

  /// Reads the file; none is an empty past. One that is corrupt, is not a file, is
  /// larger than 64 KiB or belongs to neither root nor this user is set aside as
  /// `restarts.bad`. Whatever goes wrong is logged.
  Content load() const;

  /// How long a disk may take to write the file. One that hangs must not hold up
  /// the restart that may be its cure.
  static constexpr std::chrono::seconds kStoreTime{10};

  /// Replaces the file by one that survives a crash of the machine.
  /// @return 0, or a negated errno: then the file is the former or the new one, and
  ///         which of them a crash would leave is not known. -ETIMEDOUT while the
  ///         disk hangs.
  int store(std::vector<PastRestart> const& past);

  std::string path() const;

 private:
  Content unknown(std::string const& why) const;
  Content setAside(UniqueFd const& folder, char const* why) const;

  std::string fFolder;
  std::shared_ptr<spdlog::logger> fLog;
  std::future<int> fStoring;  ///< valid while the disk has not answered
};

/// What tells this boot from any other; "unknown" where the kernel does not say.
std::string readBootId(std::string const& path = RestartJournal::kBootIdFile);
