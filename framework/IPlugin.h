#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"
#include "framework/PString.h"

/// What a plug-in library offers to its host.
///
/// Life of a plug-in: the host loads the library, calls its exported factory,
/// holds the object (`incRef`), calls `init()` once, and asks it for interfaces
/// from then on. Dropping the last reference ends the plug-in. After that a host
/// may call the factory again, for a new object. All of this happens on one host
/// thread; only `getInstance` may be called from others.
class IPlugin : public IBase {
 public:
  /// Starts the plug-in. Called once, before any `getInstance`.
  /// @return 0, or the code of the step that failed; the plug-in then offers
  ///         nothing and is only good for being released.
  virtual int init() = 0;

  /// Names the interfaces that `getInstance` knows.
  /// @param count set to the number of identifiers.
  /// @return a new array of `count` identifiers that the caller owns and frees
  ///         with array `delete`; null, with `count` 0, when memory ran out or there
  ///         are none.
  virtual PString* getInterfaces(unsigned int& count) = 0;

  /// Hands out the object behind an interface identifier.
  /// @param id compared exactly, case included.
  /// @param instance the object, without a reference for the caller; null when
  ///        the call fails. A freshly made object has the count 0.
  /// @return 0, with a null `instance` while the plug-in has no such object because
  ///         it is not started; or a negative code for an identifier that the plug-in does not
  ///         offer.
  virtual int getInstance(PLiteral const& id, IBase*& instance) = 0;
};
