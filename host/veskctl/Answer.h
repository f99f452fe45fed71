#pragma once

#include <string>

#include "host/veskctl/Fields.h"
#include "host/veskctl/IApi.h"

namespace ctl {

/// A success of the host.
struct Answer {
  std::string body;  ///< as it came
  Json json;         ///< an object
};

/// Sends the request and understands the answer.
Result<Answer> ask(IApi& api, Request const& request);

/// What an answer comes to.
Result<Answer> understand(Response response);

/// What a line of a stream comes to.
Result<Json> understandLine(std::string_view line);

/// For what threw `Json::exception` when it was read.
Failure notUnderstood(std::string const& why);

/// The text as a part of a path or a query.
std::string percentEncoded(std::string_view text);

/// The path of an entry's resources.
std::string entryPath(std::string const& name);

}  // namespace ctl
