#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "host/control/ControlSettings.h"
#include "host/process/UniqueFd.h"

/// The UNIX socket on which operators reach the host, as a file of mode 0660.
class ControlSocket {
 public:
  /// Takes the place of a socket that a dead host left behind, but of nothing else.
  /// Nobody can connect before owner, group and mode are right.
  /// @return null, with the reason in `cause`, when it cannot be opened.
  static std::unique_ptr<ControlSocket> open(ControlSettings const& settings, std::string& cause);

  /// Removes the file, if it is still this socket's.
  ~ControlSocket();
  ControlSocket(ControlSocket const&) = delete;
  ControlSocket& operator=(ControlSocket const&) = delete;

  /// A socket that listens, once.
  UniqueFd take() { return std::move(fSocket); }

 private:
  ControlSocket(std::string path, UniqueFd socket);

  const std::string fPath;
  UniqueFd fSocket;
  dev_t fDevice = 0;
  ino_t fInode = 0;
};
