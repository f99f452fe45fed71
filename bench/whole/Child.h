#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// Raises the number of descriptors that this process may open to `wanted`, or as
/// far as it goes. Children get back what this process was started with.
void raiseDescriptorLimit(unsigned long wanted);

/// A process that lives no longer than this object, nor than this process, be it
/// killed.
class Child {
 public:
  /// Starts a program with standard input from /dev/null and standard output and
  /// error to a file. To be called by the main thread, with whose end the child
  /// would end.
  /// @param arguments from the zeroth on, which need not be the program's name.
  /// @throws std::runtime_error
  Child(std::string const& program, std::vector<std::string> const& arguments,
        std::string const& output = "/dev/null");
  ~Child();
  Child(Child&& other) noexcept : fPid(other.fPid) { other.fPid = 0; }
  Child& operator=(Child&&) = delete;

  pid_t pid() const { return fPid; }

  /// Waits for the end. @return the exit status, or 128 and the signal.
  int wait();

  /// @throws std::runtime_error with `log`'s content if the process has ended.
  void expectAlive(std::string const& log);

 private:
  pid_t fPid;  ///< 0 once it is reaped
};
