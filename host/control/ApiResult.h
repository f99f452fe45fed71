#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <variant>

/// Why a request is not served.
struct ApiError {
  /// What it comes to; each has its HTTP status and its word in the API.
  enum class Code {
    badRequest,    ///< 400 "bad_request": no JSON, a wrong type, a missing field
    unknownField,  ///< 400 "unknown_field"
    badValue,      ///< 400 "bad_value": of the right type, but not acceptable
    notFound,      ///< 404 "not_found"
    badMethod,     ///< 405 "bad_method"
    conflict,      ///< 409 "conflict": the name is watched already
    tooLarge,      ///< 413 "too_large"
    refused,       ///< 422 "refused": the new configuration has errors
    internal,      ///< 500 "internal"
    unavailable,   ///< 503 "unavailable": the host is stopping, or too much waits already
  };

  Code code;
  std::string text;  ///< for people: what is wrong and with what
};

/// The body of the answer, or why there is none.
using ApiResult = std::variant<nlohmann::json, ApiError>;
