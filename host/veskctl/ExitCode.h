#pragma once

#include <array>

namespace ctl {

/// What the exit status of `veskctl` says; where the daemon has the same number it
/// means the same kind of thing.
enum class ExitCode : int {
  fine = 0,
  refused = 1,
  notOk = 2,
  badCommandLine = 64,
  noInput = 66,
  unreachable = 69,
  notUnderstood = 70,
  noOutput = 74,
};

struct ExitCodeMeaning {
  ExitCode code;
  const char* meaning;
};

/// All of them, as `--help` shows them.
inline constexpr std::array<ExitCodeMeaning, 8> kExitCodes = {{
    {ExitCode::fine, "done; also when Ctrl-C ends --watch or --follow"},
    {ExitCode::refused, "the host refused, and said why"},
    {ExitCode::notOk, "--check: a program is missing, high or unknown"},
    {ExitCode::badCommandLine, "wrong command line"},
    {ExitCode::noInput, "the file of --from-json cannot be read, or is no JSON object"},
    {ExitCode::unreachable,
     "the host cannot be reached, went away, or can take no more: try again"},
    {ExitCode::notUnderstood, "the host's answer is not understood"},
    {ExitCode::noOutput, "the output cannot be written"},
}};

}  // namespace ctl
