#include "framework/PConditionalVar.h"

#include <cerrno>
#include <ctime>

#include "framework/PMutex.h"
#include "framework/PResult.h"

namespace {

timespec monotonicAfter(unsigned int milliseconds) {
  constexpr unsigned int kMsPerSecond = 1000;
  constexpr long kNsPerMs = 1'000'000;
  constexpr long kNsPerSecond = 1'000'000'000;
  timespec when{};
  clock_gettime(CLOCK_MONOTONIC, &when);
  when.tv_sec += static_cast<time_t>(milliseconds / kMsPerSecond);
  when.tv_nsec += static_cast<long>(milliseconds % kMsPerSecond) * kNsPerMs;
  if (when.tv_nsec >= kNsPerSecond) {
    when.tv_nsec -= kNsPerSecond;
    ++when.tv_sec;
  }
  return when;
}

}  // namespace

PConditionalVar::~PConditionalVar() {
  if (fInitialized) pthread_cond_destroy(&fCondition);
}

int PConditionalVar::init() noexcept {
  if (fInitialized) return -EBUSY;
  pthread_condattr_t attributes;
  if (const int error = pthread_condattr_init(&attributes); error != 0) return -error;
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  const int error = pthread_cond_init(&fCondition, &attributes);
  pthread_condattr_destroy(&attributes);
  fInitialized = error == 0;
  return -error;
}

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) noexcept {
  if (!fInitialized || mutex == nullptr || !mutex->fInitialized) return -EINVAL;
  const timespec deadline = monotonicAfter(timeoutMs);
  const int error = pthread_cond_timedwait(&fCondition, &mutex->fMutex, &deadline);
  return error == ETIMEDOUT ? PResult::timedOut : -error;
}

int PConditionalVar::notifyOne() noexcept {
  return fInitialized ? -pthread_cond_signal(&fCondition) : -EINVAL;
}

int PConditionalVar::notifyAll() noexcept {
  return fInitialized ? -pthread_cond_broadcast(&fCondition) : -EINVAL;
}
