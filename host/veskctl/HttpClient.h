#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "host/veskctl/IApi.h"
#include "host/veskctl/Interrupts.h"

namespace ctl {

struct HttpSettings {
  std::string socket;                    ///< path
  std::chrono::milliseconds timeout{0};  ///< for a whole answer; zero for none
  /// For the next line of a stream, zero for none; the host is silent for 15 s at most.
  std::chrono::milliseconds silence = std::chrono::seconds(60);
  Interrupts* interrupts = nullptr;  ///< who may end a transfer
  int output = -1;                   ///< a stream ends when nobody reads this descriptor any more
};

/// HTTP/1.1 over a UNIX socket, one connection for each request.
class HttpClient : public IApi {
 public:
  /// The most that is taken of an answer, or of one line of a stream, in bytes.
  static constexpr std::size_t kLargest = std::size_t{64} * 1024 * 1024;

  explicit HttpClient(HttpSettings settings);

  Result<Response> send(Request const& request) override;
  std::optional<Result<Response>> stream(Request const& request, LineTaker const& take) override;

 private:
  HttpSettings fSettings;
};

}  // namespace ctl
