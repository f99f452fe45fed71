// The parser of configuration files, compiled with what guides the fuzzer, in place of the
// one in the system's library; without its assertions, as there.

#undef TOML_SHARED_LIB
#define TOML_ASSERT(expr) static_assert(true)
#define TOML_IMPLEMENTATION
#include <toml++/toml.h>
