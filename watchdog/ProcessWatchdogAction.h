#pragma once

/// What the watchdog does to a program that reaches one of its limits.
enum ProcessWatchdogActionEnum {
  none = 0,       ///< only says so
  terminate = 1,  ///< ends the process, or all of them at the instance limit
  restart = 2,    ///< ends and starts the program anew
  osrestart = 3   ///< restarts the operating system
};
