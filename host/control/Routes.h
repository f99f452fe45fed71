#pragma once

#include <array>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/control/ApiResult.h"
#include "host/control/ControlApi.h"

/// A request whose path and query are known to be right.
struct ApiCall {
  ControlApi const& api;
  HttpRequest const& request;
  std::string name;  ///< what stands in the path where a name belongs
  std::map<std::string, std::string> query;
};

/// One row of the API's table.
struct Route {
  std::string_view method;
  std::string_view path;                      ///< "*" stands for any name
  std::array<std::string_view, 3> arguments;  ///< of the query
  HttpAnswer (*answer)(ApiCall const& call);
};

std::span<Route const> controlRoutes();

/// The one for the metrics.
std::span<Route const> metricsRoutes();

/// Answers by the row that fits, or with what is wrong.
HttpAnswer answerBy(std::span<Route const> routes, ControlApi const& api,
                    HttpRequest const& request);

/// @param status of success.
HttpAnswer answerOf(ApiResult const& result, unsigned int status = 200);
HttpAnswer refuse(ApiError::Code code, std::string text);
