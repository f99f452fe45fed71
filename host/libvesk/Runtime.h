#pragma once

#include <functional>
#include <memory>

#include "framework/IBase.h"
#include "framework/PApi.h"
#include "framework/PLiteral.h"
#include "host/libvesk/IProcessUtilities.h"

/// The framework's own state in this process: the services that
/// `veskGetInstance` finds and the utilities behind `PProcess`.
///
/// It is filled by the host before a plug-in starts and emptied after the last
/// one is gone. All operations may be called from any thread.
class VESK_API Runtime {
 public:
  Runtime() = delete;

  /// Makes or finds the object for one lookup; results as `veskGetInstance`.
  using Provider = std::function<int(IBase*& instance)>;

  /// Registers a provider, in place of an earlier one of the same identifier.
  /// It is called without any lock held, on the thread that looks up.
  static void provide(PLiteral const& id, Provider provider);

  /// Registers one shared object and holds a reference to it.
  static void provide(PLiteral const& id, IBase* instance);

  /// Puts the process utilities in place; null takes them away. While there are
  /// none, `PProcess` answers -ENOSYS.
  static void install(std::shared_ptr<IProcessUtilities> utilities);

  /// The process utilities in place, or null.
  static std::shared_ptr<IProcessUtilities> processUtilities();

  /// Forgets all services and the process utilities.
  static void reset();
};
