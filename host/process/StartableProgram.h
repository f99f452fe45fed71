#pragma once

#include <string>

/// Why a program cannot be executed.
struct StartObstacle {
  int error = 0;     ///< the errno that a start would meet; 0: nothing speaks against it
  std::string text;  ///< for people; empty likewise
};

/// A program as the host would start it, seen without starting it.
class StartableProgram {
 public:
  /// @param executable a path, or a name to look up in PATH.
  /// @param workingDir entered before; empty for the host's own.
  StartableProgram(std::string const& executable, std::string const& workingDir);

  /// Why it cannot be executed.
  StartObstacle obstacle() const;

  /// Why others than those that this process trusts could put something else in its
  /// place; empty if they cannot.
  std::string distrust() const;

  /// The name that the kernel keeps of it: a script's is its own, not that of its
  /// interpreter.
  std::string keptName() const;

  /// Whether the process, with these arguments, is found under `name`.
  bool isFoundAs(std::string const& name, std::string const& arguments) const;

 private:
  std::string fPassedOver;  ///< why, where a file was found only to be passed over
  std::string fFile;        ///< what is executed; empty for a bare name that is nowhere
};
