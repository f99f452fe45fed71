// Has a target work on all files of a folder: `replay TARGET FOLDER`.

#include <filesystem>

#include "fuzz/Fuzz.h"
#include "tests/host/process/TemporaryFolder.h"

int main(int argc, char** argv) {
  const FuzzTarget target = fuzzTarget(argc == 3 ? argv[1] : nullptr);
  int count = 0;
  for (auto const& file : std::filesystem::directory_iterator(argv[2])) {
    std::puts(file.path().c_str());
    std::fflush(stdout);
    target(contentOf(file.path()));
    ++count;
  }
  return count > 0 ? 0 : 2;
}
