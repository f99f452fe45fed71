#include "framework/PThread.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace {

/// What the kernel keeps of a thread's name, without the closing null.
constexpr std::size_t kKernelNameLength = 15;

void* opaque(pthread_t thread) { return reinterpret_cast<void*>(thread); }

}  // namespace

PThread::~PThread() {
  if (!fJoinable) return;
  void* ignored = nullptr;
  if (pjoin(ignored) != 0) pdetach();
}

int PThread::pcreate(StartRoutine routine, void* argument) noexcept {
  if (fJoinable) return -EBUSY;
  const int error = pthread_create(&fThread, nullptr, routine, argument);
  if (error == 0) fStarted = fJoinable = true;
  return -error;
}

int PThread::pjoin(void*& result) noexcept {
  if (!fJoinable) return -ESRCH;
  const int error = pthread_join(fThread, &result);
  if (error == 0) fJoinable = false;
  return -error;
}

int PThread::pdetach() noexcept {
  if (!fJoinable) return -ESRCH;
  fJoinable = false;
  return -pthread_detach(fThread);
}

void* PThread::getThreadId() const noexcept { return fStarted ? opaque(fThread) : nullptr; }

void* PThread::getCurrentThreadId() noexcept { return opaque(pthread_self()); }

int PThread::setName(const char* name) noexcept {
  std::array<char, kKernelNameLength + 1> kept{};
  std::strncpy(kept.data(), name, kKernelNameLength);
  return -pthread_setname_np(pthread_self(), kept.data());
}
