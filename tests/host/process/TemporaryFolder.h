#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline std::string contentOf(std::string const& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A fresh folder, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "vesk-test-XXXXXX";
    fPath = ::mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
  }
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;

  std::string path(std::string const& name = "") const { return fPath / name; }

  void makeFile(std::string const& name, std::string const& text) const {
    std::filesystem::create_directories((fPath / name).parent_path());
    std::ofstream(fPath / name, std::ios::binary) << text;
  }

 private:
  std::filesystem::path fPath;
};
