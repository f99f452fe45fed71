#include "host/services/LineSink.h"

#include <fmt/format.h>

#include <exception>
#include <system_error>
#include <utility>

namespace {

constexpr const char* kLogName = "vesk.log";

/// Errno's own text would say that the resource is temporarily unavailable.
std::string whyRefused(int error) {
  return error == EAGAIN ? "nobody reads them" : std::generic_category().message(error);
}

}  // namespace

LineSink::LineSink(PromptWriter writer, Complaint complaint)
    : fWriter(std::move(writer)), fComplaint(std::move(complaint)) {}

LineSink::~LineSink() {
  try {
    static_cast<void>(tellLoss());
  } catch (std::exception const&) {
    // Nor is there memory to say so.
  }
}

void LineSink::lose(std::string const& cause) {
  const std::lock_guard lock(mutex_);
  noteLoss(cause);
}

void LineSink::sink_it_(spdlog::details::log_msg const& message) {
  try {
    int res = tellLoss();
    if (res == 0) res = put(message);
    if (res != 0) noteLoss(whyRefused(-res));
  } catch (std::exception const& error) {
    noteLoss(error.what());
  }
}

/// @return 0 or the negated errno for which the line is not taken as a whole.
int LineSink::put(spdlog::details::log_msg const& message) {
  spdlog::memory_buf_t line;
  if (fIsTorn) line.push_back('\n');
  formatter_->format(message, line);
  const int res = fWriter.write({line.data(), line.size()});
  fIsTorn = res != 0 && (fIsTorn || fWriter.isTorn());
  return res;
}

/// @return 0 when nothing is left to be said, or as put().
int LineSink::tellLoss() {
  if (fLost == 0) return 0;
  const std::string text = fmt::format("{} line{} lost: {}", fLost, fLost == 1 ? "" : "s", fCause);
  const int res = put({kLogName, spdlog::level::warn, text});
  if (res == 0) fLost = 0;
  return res;
}

void LineSink::noteLoss(std::string cause) {
  if (++fLost > 1) return;
  fCause = std::move(cause);
  if (fComplaint) fComplaint(fCause);
}
