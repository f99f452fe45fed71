#include <gmock/gmock.h>

#include <cerrno>

#include "framework/IConfig.h"
#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "host/services/ConfigManager.h"
#include "host/services/HoldRef.h"
#include "plugin/PBaseptr.h"
#include "tests/host/process/TemporaryFolder.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Config : public testing::Test {
 protected:
  std::shared_ptr<ConfigManager> makeManager(std::string const& directory) {
    return holdRef(new ConfigManager({directory, std::nullopt}, fLog.logger()));
  }

  /// Opens a file of this text.
  PBaseptr<IConfig> open(std::string const& text) {
    fFolder.makeFile("c.toml", text);
    PBaseptr<IConfig> config;
    EXPECT_EQ(makeManager("")->loadByPath(PUtils::fromUtf8(path("c.toml")), config), 0);
    return config;
  }

  std::string path(std::string const& name) const { return fFolder.path(name); }

  TemporaryFolder fFolder;
  CollectedLog fLog;
};

TEST_F(Config, DottedKeysWalkTables) {
  const auto config =
      open("top = 1\n[a.b]\n1.name = 'n\u00e9'\nbig = 5000000000\nf = 1.5\nt = true\n");
  PString text;
  int number = 0;
  unsigned int natural = 0;
  long long large = 0;
  double real = 0;
  bool truth = false;
  EXPECT_EQ(config->getString(L"a.b.1.name", text), 0);
  EXPECT_EQ(text, L"n\u00e9");
  EXPECT_EQ(config->getInt(L"top", number), 0);
  EXPECT_EQ(config->getUInt(L"top", natural), 0);
  EXPECT_EQ(config->getLong(L"a.b.big", large), 0);
  EXPECT_EQ(large, 5000000000);
  EXPECT_EQ(config->getDouble(L"a.b.f", real), 0);
  EXPECT_EQ(real, 1.5);
  EXPECT_EQ(config->getDouble(L"top", real), 0);
  EXPECT_EQ(real, 1.0);
  EXPECT_EQ(config->getBool(L"a.b.t", truth), 0);
  EXPECT_TRUE(truth);
  EXPECT_TRUE(config->contains(L"a.b") && config->contains(L"a.b.1.name"));
  EXPECT_FALSE(config->contains(L"a.b.1.nam") || config->contains(L"a.b.c") ||
               config->contains(L"to"));
  EXPECT_EQ(config->getInt(L"a.missing", number), PResult::notFound);
  EXPECT_EQ(number, 1);
  EXPECT_THAT(fLog.lines(), IsEmpty());
}

TEST_F(Config, AValueThatCannotBeReadIsWarnedAboutOnceAndChangesNothing) {
  const auto config = open(
      "i = 2147483648\nn = -1\ns = 'x'\nb = true\nd = 2026-01-01\nz = \"a\\u0000b\"\n[t]\nx = 1\n");
  int number = 7;
  unsigned int natural = 7;
  bool truth = true;
  PString text(L"old");
  for (int repeated = 0; repeated < 2; ++repeated) {
    EXPECT_EQ(config->getInt(L"i", number), -ERANGE);
    EXPECT_EQ(config->getUInt(L"n", natural), -ERANGE);
    EXPECT_EQ(config->getInt(L"s", number), -EINVAL);
    EXPECT_EQ(config->getInt(L"b", number), -EINVAL);
    EXPECT_EQ(config->getBool(L"n", truth), -EINVAL);
    EXPECT_EQ(config->getString(L"d", text), -EINVAL);
    EXPECT_EQ(config->getString(L"z", text), -EINVAL);
    EXPECT_EQ(config->getString(L"t", text), -EINVAL);
  }
  EXPECT_TRUE(number == 7 && natural == 7 && truth && text == L"old");
  const auto warning = [this](const char* position, std::string const& isBut) {
    return "warning test: " + path("c.toml") + ":" + position + ": " + isBut +
           " is expected; the value is not read";
  };
  const std::string integer = "an integer from -2147483648 to 2147483647";
  EXPECT_THAT(
      fLog.lines(),
      ElementsAre(warning("1:5", "`i' is the integer 2147483648, but " + integer),
                  warning("2:5", "`n' is the integer -1, but an integer from 0 to 4294967295"),
                  warning("3:5", "`s' is a string, but " + integer),
                  warning("4:5", "`b' is the boolean true, but " + integer),
                  warning("5:5", "`d' is a date or time, but a string without null characters"),
                  warning("6:5", "`z' is a string, but a string without null characters"),
                  warning("8:1", "`t' is a table, but a string without null characters")));
}

TEST_F(Config, WhatNobodyAskedForIsReportedWithItsPlace) {
  {
    const auto config = open(
        "[w]\nknown = 1\nknwon = 2\n[w.1]\nname = 'a'\n[w.3]\nname = 'b'\n\"x.y\" = 1\n[[l]]\n");
    int number = 0;
    PString text;
    config->getInt(L"w.known", number);
    config->getString(L"w.1.name", text);
    config->getString(L"w.2.name", text);
    EXPECT_THAT(fLog.lines(), IsEmpty());
  }
  const auto unused = [this](std::string const& rest) {
    return "warning test: " + path("c.toml") + ":" + rest + "' is not used";
  };
  EXPECT_THAT(fLog.lines(), ElementsAre(unused("3:1: `w.knwon"), unused("7:1: `w.3.name"),
                                        unused("8:1: `w.3.\"x.y\""), unused("9:3: `l")));
}

TEST_F(Config, TheMainFileServesAllIdentifiersAndIsReportedOnce) {
  TomlFile file{"main.toml", {}};
  for (const char* key : {"host.x", "host", "host-z", "hosts.y", "a.x", "b.x", "c.x"}) {
    file.entries[key] = {{1LL, {2, 3}}, {2, 1}};
  }
  EXPECT_EQ(file.takeTable("host").size(), 2U);
  const auto manager = holdRef(new ConfigManager({"", std::move(file)}, fLog.logger()));
  for (const wchar_t* key : {L"a.x", L"b.x"}) {
    PBaseptr<IConfig> config;
    int number = 0;
    EXPECT_EQ(manager->loadByID(L"some.id", config), 0);
    EXPECT_EQ(config->getInt(key, number), 0);
  }
  EXPECT_THAT(fLog.lines(), IsEmpty());
  manager->reportUnused();
  EXPECT_THAT(fLog.lines(), ElementsAre("warning test: main.toml:2:1: `c.x' is not used",
                                        "warning test: main.toml:2:1: `host-z' is not used",
                                        "warning test: main.toml:2:1: `hosts.y' is not used"));
}

TEST_F(Config, AFolderHoldsAFilePerIdentifierAndNothingElse) {
  fFolder.makeFile("dir/good.id.toml", "x = 1\n");
  fFolder.makeFile("dir/bad.toml", "x = 1\ny = = 2\n");
  fFolder.makeFile("outside.toml", "x = 1\n");
  fFolder.makeFile("dir/folder.toml/x", "");
  const auto manager = makeManager(path("dir"));
  PBaseptr<IConfig> config;
  const std::pair<const wchar_t*, int> cases[] = {
      {L"good.id", 0},        {L"good", PResult::notFound}, {L"bad", -EINVAL},
      {L"folder", -EISDIR},   {L"../outside", -EINVAL},     {L"", -EINVAL},
      {L"sub/good", -EINVAL},
  };
  for (auto const& [id, res] : cases) EXPECT_EQ(manager->loadByID(id, config), res) << id;
  int number = 0;
  EXPECT_EQ(config->getInt(L"x", number), 0) << "a failure leaves the holder alone";
  EXPECT_THAT(fLog.lines(),
              ElementsAre("error test: " + path("dir/good.toml") + ": No such file or directory",
                          testing::StartsWith("error test: " + path("dir/bad.toml") + ":2:5: "),
                          "error test: " + path("dir/folder.toml") + ": Is a directory",
                          "error test: `../outside' is no identifier of a configuration",
                          "error test: `' is no identifier of a configuration",
                          "error test: `sub/good' is no identifier of a configuration"));
}

}  // namespace
