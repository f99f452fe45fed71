#include "bench/whole/Scratch.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

Scratch::Scratch() {
  std::string pattern = std::filesystem::temp_directory_path() / "vesk-bench-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot make a folder like " + pattern);
  }
  fPath = pattern;
}

Scratch::~Scratch() {
  std::error_code ignored;
  std::filesystem::remove_all(fPath, ignored);
}

std::string Scratch::write(std::string const& name, std::string const& text) const {
  std::string file = path(name);
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  ::chmod(file.c_str(), S_IRUSR | S_IWUSR);
  out << text << std::flush;
  if (!out) throw std::runtime_error("cannot write " + file);
  return file;
}

std::string readText(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
