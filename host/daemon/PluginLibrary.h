#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "framework/IPlugin.h"

/// One plug-in library: opened, then started, then ended. Belongs to one thread.
class PluginLibrary {
 public:
  /// Loads the library, if it is trusted (host/trust/TrustedPath.h), and makes its plug-in
  /// object.
  /// @param path absolute.
  /// @return null, with the reason in `cause`, when it is no plug-in.
  static std::unique_ptr<PluginLibrary> open(std::string const& path, std::string& cause);

  /// Ends the plug-in and unloads the library, unless something of it is still
  /// held somewhere: the library then stays, for its code is needed.
  ~PluginLibrary();
  PluginLibrary(PluginLibrary const&) = delete;
  PluginLibrary& operator=(PluginLibrary const&) = delete;

  std::string const& path() const { return fPath; }

  /// Whether the two are one library in memory.
  bool isSameAs(PluginLibrary const& other) const { return fHandle == other.fHandle; }

  /// Starts the plug-in, a new one where the former was ended, and makes its
  /// interfaces known to `veskGetInstance`.
  /// @return 0 or the plug-in's own code.
  int start();

  /// Ends the plug-in, as far as nobody else holds it. The library stays loaded:
  /// objects that it made may still be held by services.
  void stop();

  /// Lets go of the objects that the plug-in shares, after all plug-ins that may hold
  /// them were stopped; who holds them then, holds on to them.
  void release();

  /// Whether somebody holds something of a plug-in that was ended: it may still run.
  bool isHeld() const { return fPlugin == nullptr && *fHoldersLeft != 0; }

 private:
  using Factory = IPlugin* (*)();

  PluginLibrary(std::string path, void* handle);

  int make();
  void adopt(IPlugin* plugin);
  void offer(PLiteral const& id);

  std::string fPath;
  void* fHandle;
  Factory fFactory = nullptr;
  std::shared_ptr<IPlugin> fPlugin;
  std::vector<IBase*> fShared;  ///< the plug-in's shared objects, one reference each
  /// Holders that the objects above had left when they were let go.
  std::shared_ptr<std::atomic<int>> fHoldersLeft;
};
