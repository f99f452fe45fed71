#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

/// Cuts connections whose other end is late, however busy it looks: a byte now and
/// then earns nothing. Any thread may call.
class Deadlines {
 public:
  explicit Deadlines(std::chrono::milliseconds patience);
  ~Deadlines();
  Deadlines(Deadlines const&) = delete;
  Deadlines& operator=(Deadlines const&) = delete;

  /// From now on the other end has the whole patience for the next thing that it
  /// owes. Without memory to note that, it has none.
  void begin(int socket) noexcept;

  /// The other end owes nothing. To be called before the socket is closed.
  void lift(int socket) noexcept;

 private:
  using Clock = std::chrono::steady_clock;

  void run();

  const std::chrono::milliseconds fPatience;
  std::mutex fMutex;  ///< guards what follows; held while a socket is cut
  std::condition_variable fChanged;
  std::map<int, Clock::time_point> fEnds;  ///< by socket
  bool fIsStopping = false;
  std::thread fThread;
};
