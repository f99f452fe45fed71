#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

/// The least that a look at every process costs on this machine: list /proc, and
/// on descriptors that are kept open read `comm` of every process and `stat` of
/// the watched ones. What is read is thrown away.
class FloorLoop {
 public:
  explicit FloorLoop(std::vector<pid_t> const& watched);
  ~FloorLoop();
  FloorLoop(FloorLoop const&) = delete;
  FloorLoop& operator=(FloorLoop const&) = delete;

  /// One pass, after the first with every descriptor at hand.
  /// @return the processor time that it took.
  /// @throws std::runtime_error if it could not read what it should.
  std::chrono::nanoseconds pass();

 private:
  struct Descriptors {
    int comm = -1;
    int stat = -1;
    bool isWatched = false;
  };

  void lookAtAll();
  void lookAt(std::size_t pid);
  bool readComm(std::size_t pid, Descriptors& descriptors) const;
  int openFile(std::size_t pid, const char* file) const;

  int fProc;
  std::vector<Descriptors> fDescriptors;  ///< by pid
  std::vector<char> fEntries;
  std::size_t fWatched;
  std::size_t fWatchedRead = 0;
};
