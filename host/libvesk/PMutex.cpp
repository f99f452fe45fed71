#include "framework/PMutex.h"

#include <cerrno>

PMutex::~PMutex() {
  if (fInitialized) pthread_mutex_destroy(&fMutex);
}

int PMutex::init(bool recursive) noexcept {
  if (fInitialized) return -EBUSY;
  pthread_mutexattr_t attributes;
  if (const int error = pthread_mutexattr_init(&attributes); error != 0) return -error;
  pthread_mutexattr_settype(&attributes,
                            recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_ERRORCHECK);
  const int error = pthread_mutex_init(&fMutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  fInitialized = error == 0;
  return -error;
}

int PMutex::lock() noexcept { return fInitialized ? -pthread_mutex_lock(&fMutex) : -EINVAL; }

int PMutex::tryLock() noexcept { return fInitialized ? -pthread_mutex_trylock(&fMutex) : -EINVAL; }

int PMutex::unlock() noexcept { return fInitialized ? -pthread_mutex_unlock(&fMutex) : -EINVAL; }
