#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "host/control/Deadlines.h"
#include "host/control/HttpMessages.h"
#include "host/process/UniqueFd.h"

struct MHD_Daemon;

/// What clients may take of the host.
struct HttpLimits {
  unsigned int connections = 64;

  /// Of the connections, those that may carry an answer without an end; whoever
  /// follows leaves room for whoever asks.
  unsigned int streams = 32;
  std::size_t headBytes = std::size_t{32} * 1024;
  std::size_t bodyBytes = std::size_t{64} * 1024;

  /// For a whole request to come, and for an answer, or a piece of a stream, to be
  /// taken.
  std::chrono::milliseconds patience{10'000};
};

/// Answers HTTP requests on a socket that listens. Every connection has a thread, so
/// a handler may wait, and a slow client costs nobody else's time.
class HttpListener {
 public:
  /// Called on the connections' threads, several at a time. What it throws is
  /// answered with 503.
  using Handler = std::function<HttpAnswer(HttpRequest const&)>;

  /// @return null, with the reason in `cause`, when it cannot be started.
  static std::unique_ptr<HttpListener> start(UniqueFd socket, HttpLimits const& limits,
                                             Handler handler, std::string& cause);

  /// How long the last answers have at the end.
  static constexpr std::chrono::seconds kFarewell{1};

  /// Takes no more requests, lets those that are being answered be answered unless
  /// that takes too long, and waits for handlers that have not returned.
  ~HttpListener();
  HttpListener(HttpListener const&) = delete;
  HttpListener& operator=(HttpListener const&) = delete;

 private:
  struct Callbacks;

  HttpListener(HttpLimits const& limits, Handler handler);

  const HttpLimits fLimits;
  const Handler fHandler;
  Deadlines fDeadlines;
  std::atomic<bool> fIsStopping = false;
  std::atomic<unsigned int> fStreams = 0;
  MHD_Daemon* fDaemon = nullptr;

  std::mutex fMutex;  ///< guards what follows
  std::condition_variable fAnswered;
  unsigned int fBeingAnswered = 0;  ///< requests
};
