#pragma once

#include <functional>
#include <optional>
#include <string>

/// A whole request.
struct HttpRequest {
  std::string method;
  std::string target;  ///< path and query, still percent-encoded
  std::string body;
  bool isTooLarge = false;             ///< the body did not come for its size
  std::optional<unsigned int> client;  ///< pid of the other end, where that can be known
};

/// Fills in what comes next of an answer without an end, after a wait of a second at
/// most; it may find nothing. @return false at the end.
using HttpStream = std::function<bool(std::string& text)>;

struct HttpAnswer {
  unsigned int status = 200;
  std::string type = "application/json";
  std::string body;
  std::string allow;  ///< the methods that there are; empty: not told
  HttpStream stream;  ///< in place of the body, if it is set
};
