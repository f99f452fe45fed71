#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"

class IConfig;
template <class T>
class PBaseptr;

/// Interface identifier of the configuration manager.
inline constexpr wchar_t ID_ICONFIGMANAGER[] = L"com.telmor.vesk.config.manager";

/// Opens configurations. May be called from any thread. Whoever holds the result
/// includes "framework/IConfig.h" and the header of the counted pointer.
class IConfigManager : public IBase {
 public:
  /// Opens the configuration stored in a file.
  /// @param path of the file, absolute or relative to the host's working folder.
  /// @param config set to the opened configuration; left alone on failure.
  /// @return 0; `PResult::notFound` when there is no such file; -EINVAL when it
  ///         cannot be parsed (the host has logged where and why); otherwise the
  ///         negated errno of reading it.
  virtual int loadByPath(PLiteral const& path, PBaseptr<IConfig>& config) = 0;

  /// Opens the configuration that the host keeps under an identifier. As
  /// `loadByPath` otherwise.
  virtual int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) = 0;
};
