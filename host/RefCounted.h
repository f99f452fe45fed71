#pragma once

#include "framework/PCounterSync.h"

/// Implements the reference count of an interface: the object starts with the
/// count 0 and is deleted by the `decRef()` that brings it back to 0.
template <class Interface>
class RefCounted : public Interface {
 public:
  RefCounted(RefCounted const&) = delete;
  RefCounted& operator=(RefCounted const&) = delete;

  int incRef() override { return ++fRefCount; }

  int decRef() override {
    const int holders = fRefCount.change(-1);
    if (holders == 0) delete this;
    return holders;
  }

 protected:
  RefCounted() = default;
  virtual ~RefCounted() = default;

 private:
  PCounterSync fRefCount;
};
