#pragma once

#include "plugin/PPtr.h"

/// A pointer that shares an object which counts its own holders (`IBase`).
///
/// A group of copies holds one reference together: `incRef()` when the first
/// one takes the object up, `decRef()` when the last one lets go.
template <class T>
class PBaseptr : public PPtr<T> {
  using Base = PPtr<T>;

 public:
  PBaseptr() noexcept = default;

  PBaseptr(PBaseptr const& other) : Base(other, typename Base::Unshared{}) {
    if (this->joinCount()) this->startCount();
  }

  PBaseptr& operator=(PBaseptr const& other) {
    PBaseptr shared(other);
    this->swap(shared);
    return *this;
  }

  // The base class would free the object its own way.
  ~PBaseptr() override {
    if (this->leaveCount()) {
      PBaseptr::freePtr();
      delete this->fCounter;
    }
    this->forget();
  }

  void newCounter() override {
    if (this->fPtr != nullptr) this->fPtr->incRef();
  }

  // Destructors run through this, so what an object says about being let go is not heard.
  void freePtr() override {
    if (this->fPtr == nullptr) return;
    try {
      this->fPtr->decRef();
    } catch (...) {
    }
  }

  PBaseptr& operator=(T* object) {
    Base::operator=(object);
    return *this;
  }
};

/// Has `holder` take up an object that may have no holder yet, such as a new one
/// or one from a lookup. If that fails for want of memory, letting a first holder
/// go ends the object, and the exception goes on.
template <class T>
void pTake(PBaseptr<T>& holder, T* object) {
  try {
    holder = object;
  } catch (...) {
    object->incRef();
    object->decRef();
    throw;
  }
}
