#pragma once

#include <type_traits>

/// A pointer that shares a plain heap object with its copies.
///
/// The share count is a plain integer: all pointers that share one count stay on
/// one thread or under one lock.
///
/// The order of the virtual operations is a binary contract.
template <class T>
class PPtr {
 public:
  /// How the object is freed; any other value leaves it alone.
  enum Kind : int { single = 0, array = 1 };

  /// Holds nothing.
  PPtr() noexcept = default;

  /// Shares what `other` holds. From a pointer that never counted its object the
  /// copy starts a count of its own, and `other` stays without one.
  PPtr(PPtr const& other) : fPtr(other.fPtr), fCounter(other.fCounter), fKind(other.fKind) {
    shareCopied();
  }

  /// Releases what this pointer holds and shares what `other` holds.
  PPtr& operator=(PPtr const& other) {
    PPtr shared(other);
    swap(shared);
    return *this;
  }

  virtual ~PPtr() {
    if (dropShare()) PPtr::freePtr();
    forget();
  }

  /// Called once when this pointer starts a count for its object.
  virtual void newCounter() {}

  /// Frees the object as its kind says. A type that guards its destructor
  /// destroys itself, and is left alone.
  virtual void freePtr() {
    if constexpr (std::is_destructible_v<T>) {
// Interfaces have no virtual destructor, and their pointers never get here: they
// free through `decRef()`. A plain object is deleted as what it was made.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"
      if (fKind == single) delete fPtr;
      if (fKind == array) delete[] fPtr;
#pragma GCC diagnostic pop
    }
  }

  /// Releases the current object and starts to share `object`; nothing happens
  /// when it is the current one. When memory for the count runs out, the pointer
  /// is as it was and `object` still the caller's.
  PPtr& operator=(T* object) {
    if (object == fPtr) return *this;
    int* counter = object != nullptr ? new int(0) : nullptr;
    if (dropShare()) freePtr();
    fPtr = object;
    fCounter = counter;
    if (counter != nullptr) {
      newCounter();
      ++*counter;
    }
    return *this;
  }

  T* get() const noexcept { return fPtr; }
  T* operator->() const noexcept { return fPtr; }
  T& operator*() const noexcept { return *fPtr; }
  explicit operator bool() const noexcept { return fPtr != nullptr; }

  /// How the object will be freed, a `Kind` or another value; kept when another
  /// object is assigned.
  void setKind(int kind) noexcept { fKind = kind; }

 protected:
  /// Takes part in the count of what was just copied into this pointer. Called
  /// from constructors, so that `newCounter()` is the one of the class under
  /// construction.
  void shareCopied() {
    if (fPtr == nullptr) return;
    if (fCounter == nullptr) {
      fCounter = new int(0);
      newCounter();
    }
    ++*fCounter;
  }

  /// Gives this pointer's share back. True when it was the last one: the object
  /// is then to be freed. The count is gone, the pointer to the object is not. A
  /// pointer without a count has no share to give.
  bool dropShare() noexcept {
    if (fPtr == nullptr || fCounter == nullptr || --*fCounter != 0) return false;
    delete fCounter;
    fCounter = nullptr;
    return true;
  }

  void forget() noexcept {
    fPtr = nullptr;
    fCounter = nullptr;
    fKind = single;
  }

  void swap(PPtr& other) noexcept {
    T* const ptr = fPtr;
    int* const counter = fCounter;
    const int kind = fKind;
    fPtr = other.fPtr;
    fCounter = other.fCounter;
    fKind = other.fKind;
    other.fPtr = ptr;
    other.fCounter = counter;
    other.fKind = kind;
  }

  /// Copies the three members and takes no share: for derived constructors.
  struct Unshared {};
  PPtr(PPtr const& other, Unshared) noexcept
      : fPtr(other.fPtr), fCounter(other.fCounter), fKind(other.fKind) {}

  T* fPtr = nullptr;
  int* fCounter = nullptr;
  int fKind = single;
};
