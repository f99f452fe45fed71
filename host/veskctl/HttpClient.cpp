#include "host/veskctl/HttpClient.h"

#include <fmt/format.h>

#include <utility>

#include "host/veskctl/SocketTrouble.h"
#include "host/veskctl/Transfer.h"

namespace ctl {

namespace {

constexpr const char* kWentAway = "the host went away in the middle of its answer";
constexpr const char* kSaidNothing =
    "the host has too many connections, or has just ended: try again";

Failure failureAtTheEnd(Transfer const& transfer, HttpSettings const& settings) {
  switch (const CURLcode code = transfer.code()) {
    case CURLE_COULDNT_CONNECT:
      return {ExitCode::unreachable, whyUnreachable(settings.socket)};
    case CURLE_OPERATION_TIMEDOUT:
      return {ExitCode::unreachable,
              fmt::format("no answer within {:g} s; --timeout lets it take longer",
                          std::chrono::duration<double>(settings.timeout).count())};
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return {ExitCode::unreachable, transfer.isHeard() ? kWentAway : kSaidNothing};
    default:
      return {ExitCode::notUnderstood, fmt::format("what listens on {} does not speak as veskd: {}",
                                                   settings.socket, ::curl_easy_strerror(code))};
  }
}

Failure failureOf(Transfer::End end, Transfer const& transfer, HttpSettings const& settings) {
  switch (end) {
    case Transfer::End::interrupted:
      return {ExitCode::fine, ""};
    case Transfer::End::silent:
      return {ExitCode::unreachable,
              fmt::format("nothing comes from the host any more, for {:g} s by now",
                          std::chrono::duration<double>(settings.silence).count())};
    case Transfer::End::tooLarge:
      return {ExitCode::notUnderstood, fmt::format("the host's answer is larger than {} MiB",
                                                   HttpClient::kLargest / 1024 / 1024)};
    default:
      return failureAtTheEnd(transfer, settings);
  }
}

}  // namespace

HttpClient::HttpClient(HttpSettings settings) : fSettings(std::move(settings)) {}

Result<Response> HttpClient::send(Request const& request) {
  HttpSettings settings = fSettings;
  settings.output = -1;
  Transfer transfer(settings, request, nullptr);
  const Transfer::End end = transfer.run();
  if (end == Transfer::End::done && transfer.code() == CURLE_OK) return transfer.response();
  return failureOf(end, transfer, fSettings);
}

std::optional<Result<Response>> HttpClient::stream(Request const& request, LineTaker const& take) {
  Transfer transfer(fSettings, request, &take);
  const Transfer::End end = transfer.run();
  if (end == Transfer::End::interrupted) return std::nullopt;
  if (end == Transfer::End::done && transfer.code() == CURLE_OK) return transfer.response();
  return failureOf(end, transfer, fSettings);
}

}  // namespace ctl
