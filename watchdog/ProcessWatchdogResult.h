#pragma once

/// Results that the watchdog makes itself; all others come from the framework.
namespace ProcessWatchdogResult {

/// An entry's action has no meaning.
inline constexpr int unknownAction = -500;

/// The service object could not be made.
inline constexpr int noService = -501;

/// A null entry, or an empty name.
inline constexpr int invalidArgument = -502;

/// The name is registered already (adding) or not registered (asking).
inline constexpr int nameConflict = -509;

/// The plug-in does not offer the interface asked for.
inline constexpr int unknownInterface = -2001;

}  // namespace ProcessWatchdogResult
