// All targets in one program for libFuzzer; VESK_FUZZ_TARGET names the one to run.

#include <cstdint>

#include "fuzz/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzTarget target = fuzzTarget(std::getenv("VESK_FUZZ_TARGET"));
  target({reinterpret_cast<const char*>(bytes), size});
  return 0;
}
