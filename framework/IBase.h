#pragma once

/// The root of every interface: an object that counts its holders.
///
/// A new object starts with the count 0 and belongs to nobody; its first holder
/// calls `incRef()`. An object destroys itself, from within `decRef()`, when its
/// count comes back to 0, which is why no interface declares a destructor.
///
/// Both operations may be called from any thread. An operation that hands out a
/// pointer adds no reference for the caller unless its own text says so.
///
/// The order of the operations is a binary contract, here and in every derived
/// interface: new operations are only ever added after the last one.
class IBase {
 public:
  /// Adds one holder. @return the new count.
  virtual int incRef() = 0;

  /// Takes one holder away; the last one destroys the object.
  /// @return the new count; at 0 the object no longer exists.
  virtual int decRef() = 0;
};
