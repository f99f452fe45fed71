#pragma once

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/host/daemon/ChildProcess.h"
#include "tests/host/process/TemporaryFolder.h"

inline const std::string kHost = "[host]\nplugins = ['" WATCHDOG "']\n";
inline const std::string kGlobals =
    "[watchdog.process]\ncpu_enabled = true\nmem_enabled = true\ninst_enabled = true\n"
    "sample_time = 1\n";

/// The real daemon, on a file in a folder of the test's own.
class VeskdFixture : public testing::Test {
 protected:
  /// Ends what the daemon started and left running, whatever the test came to.
  void TearDown() override {
    for (auto const& process : std::filesystem::directory_iterator("/proc")) {
      std::error_code none;
      const auto program = std::filesystem::read_symlink(process.path() / "exe", none).string();
      if (program.starts_with(path())) ::kill(std::stoi(process.path().filename()), SIGKILL);
    }
  }

  /// Writes the file and runs the daemon on it, behind `words` if there are any.
  std::unique_ptr<ChildProcess> run(std::string const& text, std::vector<std::string> words = {}) {
    fFolder.makeFile("v.toml", text);
    words.insert(words.end(), {VESKD, "-c", path("v.toml")});
    return std::make_unique<ChildProcess>(words);
  }

  /// Has the daemon read another file.
  void reload(ChildProcess const& veskd, std::string const& text) {
    fFolder.makeFile("v.toml", text);
    veskd.signal(SIGHUP);
  }

  /// A table that keeps a copy of `program` alive. @return its text.
  std::string entryOf(std::string const& program, std::string const& arguments,
                      std::string const& suffix = "", int number = 1) {
    const std::string name = fName + suffix;
    std::filesystem::copy_file(program, path(name));
    return "[watchdog.process." + std::to_string(number) + "]\nname = '" + name +
           "'\nexecutable = '" + path(name) + "'\narguments = '" + arguments +
           "'\nrespawn_enabled = true\nrespawn_limit = 1\n";
  }

  /// The process that the daemon says it has started under the name; 0 when it does not.
  static pid_t awaitStart(ChildProcess& veskd, std::string const& name) {
    const std::string line = veskd.awaitLine("Successfully restarted `" + name + "'");
    return line.empty() ? 0 : std::stoi(line.substr(line.rfind('=') + 1));
  }

  std::string path(std::string const& name = "") const { return fFolder.path(name); }

  TemporaryFolder fFolder;
  const std::string fName = "veskt" + std::to_string(::getpid());
};
