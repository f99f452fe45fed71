#pragma once

#include <type_traits>
#include <utility>

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
  PPtr(PPtr const& other) : PPtr(other, Unshared{}) {
    if (joinCount()) PPtr::newCounter();
  }

  /// Releases what this pointer holds and shares what `other` holds.
  PPtr& operator=(PPtr const& other) {
    PPtr shared(other);
    swap(shared);
    return *this;
  }

  virtual ~PPtr() {
    if (leaveCount()) {
      PPtr::freePtr();
      delete fCounter;
    }
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
    if (leaveCount()) {
      freePtr();
      delete fCounter;
    }
    fPtr = object;
    fCounter = counter;
    if (counter != nullptr) {
      startCount();
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
  struct Unshared {};

  /// Copies the three members and takes no share: for constructors, which then
  /// join the count and call the `newCounter()` of their own class.
  PPtr(PPtr const& other, Unshared) noexcept
      : fPtr(other.fPtr), fCounter(other.fCounter), fKind(other.fKind) {}

  /// Takes a share of what was just copied into this pointer.
  /// @return true when it is the first one: `newCounter()` is due.
  bool joinCount() {
    if (fPtr == nullptr) return false;
    const bool isFirst = fCounter == nullptr;
    if (isFirst) fCounter = new int(0);
    ++*fCounter;
    return isFirst;
  }

  /// Gives this pointer's share back. A pointer without a count has none.
  /// @return true when it was the last one: the object is to be freed, and then
  ///         the count.
  bool leaveCount() noexcept { return fPtr != nullptr && fCounter != nullptr && --*fCounter == 0; }

  /// Calls `newCounter()` of the pointer's own class. If that fails, nothing is held.
  void startCount() {
    try {
      newCounter();
    } catch (...) {
      fPtr = nullptr;
      delete std::exchange(fCounter, nullptr);
      throw;
    }
  }

  void forget() noexcept {
    fPtr = nullptr;
    fCounter = nullptr;
    fKind = single;
  }

  void swap(PPtr& other) noexcept {
    std::swap(fPtr, other.fPtr);
    std::swap(fCounter, other.fCounter);
    std::swap(fKind, other.fKind);
  }

  T* fPtr = nullptr;
  int* fCounter = nullptr;
  int fKind = single;
};
