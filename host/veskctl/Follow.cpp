#include "host/veskctl/Follow.h"

#include <fmt/format.h>

#include <utility>

#include "host/veskctl/Answer.h"
#include "host/veskctl/Print.h"

namespace ctl {

namespace {

constexpr unsigned int kBefore = 10;  // events shown before those that come
constexpr std::chrono::seconds kPatience{1};

/// What tells one run of the host from the next.
struct Run {
  std::string startedAt;
  long long pid = 0;
  bool operator==(Run const&) const = default;
};

class Follower {
 public:
  explicit Follower(Context const& context) : fContext(context) {}

  Outcome run();

 private:
  Result<Run> askRun() const;
  std::optional<Failure> begin();
  std::optional<Failure> listen();
  Result<bool> awaitHost();
  std::optional<Failure> show(Json const& line);

  Context const& fContext;
  Run fRun;
  unsigned long long fNext = 1;
};

Outcome Follower::run() {
  if (auto failure = begin()) return *failure;
  while (true) {
    const auto failure = listen();
    if (!failure) return ExitCode::fine;
    const bool isGone = failure->code == ExitCode::unreachable;
    if (!isGone || fContext.options.isWithoutReconnect) return *failure;
    fContext.tell(failure->text + "; waiting for it to come back, Ctrl-C ends");
    const auto isBack = awaitHost();
    if (auto const* why = std::get_if<Failure>(&isBack)) return *why;
    if (!std::get<bool>(isBack)) return ExitCode::fine;
  }
}

Result<Run> Follower::askRun() const {
  const auto answer = ask(fContext.api, {"GET", "/v1/status"});
  if (auto const* failure = std::get_if<Failure>(&answer)) return *failure;
  Json const& status = std::get<Answer>(answer).json;
  return Run{textOf(status, "started_at"), integerOf(status, "pid")};
}

/// Learns where to begin, and shows what was before.
std::optional<Failure> Follower::begin() {
  auto run = askRun();
  if (auto const* failure = std::get_if<Failure>(&run)) return *failure;
  fRun = std::get<Run>(std::move(run));
  if (fContext.options.from) {
    fNext = *fContext.options.from;
    return std::nullopt;
  }
  const unsigned int before = fContext.options.limit.value_or(kBefore);
  const auto answer = ask(fContext.api, {"GET", "/v1/events?limit=" + std::to_string(before)});
  if (auto const* failure = std::get_if<Failure>(&answer)) return *failure;
  Json const& batch = std::get<Answer>(answer).json;
  for (Json const& event : listOf(batch, "events")) {
    if (auto failure = show(event)) return failure;
  }
  fNext = static_cast<unsigned long long>(integerOf(batch, "next", 1));
  return std::nullopt;
}

/// @return nothing when it is to stop.
std::optional<Failure> Follower::listen() {
  std::optional<Failure> trouble;
  const auto take = [&](std::string_view text) {
    const auto line = understandLine(text);
    auto const* failure = std::get_if<Failure>(&line);
    trouble = failure != nullptr ? *failure : show(std::get<Json>(line));
    return !trouble;
  };
  const Request request{"GET", "/v1/events?follow=true&from=" + std::to_string(fNext)};
  auto end = fContext.api.stream(request, take);
  if (!end) return trouble;
  if (auto const* failure = std::get_if<Failure>(&*end)) return *failure;
  const auto answer = understand(std::get<Response>(std::move(*end)));
  if (auto const* failure = std::get_if<Failure>(&answer);
      failure != nullptr && failure->code != ExitCode::notUnderstood) {
    return *failure;
  }
  return Failure{ExitCode::unreachable, "the host ended the stream"};
}

/// @return false when it is to stop.
Result<bool> Follower::awaitHost() {
  while (fContext.wait(kPatience) != Interrupts::Wake::stop) {
    auto run = askRun();
    if (auto const* failure = std::get_if<Failure>(&run)) {
      if (failure->code == ExitCode::unreachable) continue;
      return *failure;
    }
    const bool isSame = fRun == std::get<Run>(run);
    fRun = std::get<Run>(std::move(run));
    if (!isSame) fNext = 1;
    fContext.tell(isSame ? "the host is back"
                         : fmt::format("the host was started anew, as process {}", fRun.pid));
    return true;
  }
  return false;
}

std::optional<Failure> Follower::show(Json const& line) {
  fNext = static_cast<unsigned long long>(
      integerOf(line, "number", static_cast<long long>(fNext) - 1) + 1);
  fNext += static_cast<unsigned long long>(integerOf(line, "missed"));
  if (fContext.options.isJson) {
    const std::string json = line.dump();
    return fContext.output.write((fContext.terminal.isTerminal() ? withoutControls(json) : json) +
                                 '\n');
  }
  return fContext.output.write(renderEventLine(line, fContext.terminal.view()));
}

}  // namespace

Outcome follow(Context const& context) {
  try {
    return Follower(context).run();
  } catch (Json::exception const& error) {
    return notUnderstood(error.what());
  }
}

}  // namespace ctl
