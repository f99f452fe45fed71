#pragma once

#include <array>

/// What the daemon's exit status says.
enum class ExitCode : int {
  stopped = 0,
  badCommandLine = 64,
  noConfiguration = 66,
  pluginFailed = 69,
  systemFailed = 71,
  noOutput = 73,
  badConfiguration = 78,
};

struct ExitCodeMeaning {
  ExitCode code;
  const char* meaning;
};

/// All of them, as `--help` shows them.
inline constexpr std::array<ExitCodeMeaning, 7> kExitCodes = {{
    {ExitCode::stopped, "stopped by request (SIGTERM or SIGINT); --check: no error"},
    {ExitCode::badCommandLine, "wrong command line"},
    {ExitCode::noConfiguration, "configuration file missing, unreadable or not trusted"},
    {ExitCode::pluginFailed, "a plug-in cannot be loaded, started or reloaded, or none is given"},
    {ExitCode::systemFailed, "the operating system refused something"},
    {ExitCode::noOutput,
     "log file, program output, state folder, control socket or metrics address cannot be opened"},
    {ExitCode::badConfiguration, "wrong content of the configuration file; --check: an error"},
}};
