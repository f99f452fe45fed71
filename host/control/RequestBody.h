#pragma once

#include <optional>
#include <string>

#include "host/control/ApiResult.h"

/// Reads a body as one object. Refused are what is no JSON or beyond its numbers, a
/// field that is given twice, and what is nested more deeply than any request is.
ApiResult readObject(std::string const& body);

/// Refuses a body where none has a meaning. An object without fields is none.
std::optional<ApiError> refuseBody(std::string const& body);
