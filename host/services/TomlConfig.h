#pragma once

#include <memory>
#include <string>

#include "framework/IConfig.h"
#include "host/RefCounted.h"
#include "host/services/ConfigDocument.h"

/// One opened TOML file. A dotted key walks nested tables. A value that stands
/// there but cannot be read as asked is warned about once, with its place; values
/// that nobody asked for are reported when the last reader of the file is gone.
class TomlConfig : public RefCounted<IConfig> {
 public:
  /// @param id the identifier or path that the client asked for.
  TomlConfig(PLiteral const& id, std::shared_ptr<ConfigDocument> document);

  int getID(PString& id) const override;
  bool contains(PLiteral const& key) const override;
  int getString(PLiteral const& key, PString& value) override;
  int getInt(PLiteral const& key, int& value) override;
  int getUInt(PLiteral const& key, unsigned int& value) override;
  int getLong(PLiteral const& key, long long& value) override;
  int getDouble(PLiteral const& key, double& value) override;
  int getBool(PLiteral const& key, bool& value) override;

 private:
  ~TomlConfig() override;

  template <class Store>
  int read(PLiteral const& key, std::string const& expected, Store&& store);
  template <class Integer>
  int readInteger(PLiteral const& key, Integer& value);

  PString fId;
  std::shared_ptr<ConfigDocument> fDocument;
};
