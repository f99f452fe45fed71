#pragma once

#include <filesystem>
#include <string>

/// A folder of the benchmark's own, removed with all that is in it.
class Scratch {
 public:
  /// @throws std::runtime_error
  Scratch();
  ~Scratch();
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;

  std::string path(std::string const& name) const { return fPath / name; }

  /// Writes a file that only its owner may read. @return its path.
  /// @throws std::runtime_error
  std::string write(std::string const& name, std::string const& text) const;

 private:
  std::filesystem::path fPath;
};

/// The whole of a file; empty when it cannot be read.
std::string readText(std::string const& path);
