#pragma once

/// What the watchdog does to a program that reaches one of its limits.
///
/// Of a fixed type: an entry holds whatever a client stored, and a value of no
/// meaning is a case that the watchdog answers.
enum ProcessWatchdogActionEnum : unsigned int {
  none = 0,       ///< only says so
  terminate = 1,  ///< ends the process, or all of them at the instance limit
  restart = 2,    ///< ends and starts the program anew
  osrestart = 3   ///< restarts the operating system
};
