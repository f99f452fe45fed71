#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/veskctl/Result.h"

namespace ctl {

struct Request {
  const char* method = "GET";
  std::string path;  ///< with its query, percent-encoded
  std::string body{};
};

struct Response {
  long status = 0;
  std::string body;
};

constexpr bool isSuccess(long status) { return status >= 200 && status < 300; }

/// The way to the host.
class IApi {
 public:
  virtual ~IApi() = default;

  /// One request and its whole answer, whatever its status.
  virtual Result<Response> send(Request const& request) = 0;

  /// Takes a line without its newline; false to hear no more.
  using LineTaker = std::function<bool(std::string_view line)>;

  /// A request whose answer comes line by line, until the host or the taker ends it.
  /// An answer that is no success is not given to the taker, but is the result.
  /// @return nothing when the taker, or whoever may interrupt, ended it; a success when
  ///         the host did.
  virtual std::optional<Result<Response>> stream(Request const& request, LineTaker const& take) = 0;
};

}  // namespace ctl
