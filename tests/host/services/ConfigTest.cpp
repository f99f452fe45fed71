#include <gmock/gmock.h>

#include <cerrno>

#include "framework/IConfig.h"
#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "host/HoldRef.h"
#include "host/services/ConfigManager.h"
#include "plugin/PBaseptr.h"
#include "tests/host/process/TemporaryFolder.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;

namespace {

class Config : public testing::Test {
 protected:
  PBaseptr<IConfig> open(std::string const& text) {
    fFolder.makeFile("c.toml", text);
    const auto manager = holdRef(new ConfigManager({"", std::nullopt}, fLog.logger()));
    PBaseptr<IConfig> config;
    EXPECT_EQ(manager->loadByPath(PUtils::fromUtf8(path("c.toml")), config), 0);
    return config;
  }

  std::string path(std::string const& name) const { return fFolder.path(name); }

  TemporaryFolder fFolder;
  CollectedLog fLog;
  int fNumber = 7;
  unsigned int fNatural = 7;
  bool fTruth = true;
  PString fText{L"old"};
};

TEST_F(Config, AValueThatCannotBeReadIsWarnedAboutOnceAndChangesNothing) {
  const auto config =
      open("i = 2147483648\nn = -1\ns = 'x'\nd = 2026-01-01\nz = \"a\\u0000b\"\n[t]\nx = 1\n");
  for (int repeated = 0; repeated < 2; ++repeated) {
    EXPECT_EQ(config->getInt(L"i", fNumber), -ERANGE);
    EXPECT_EQ(config->getUInt(L"n", fNatural), -ERANGE);
    EXPECT_EQ(config->getInt(L"s", fNumber), -EINVAL);
    EXPECT_EQ(config->getBool(L"i", fTruth), -EINVAL);
    EXPECT_EQ(config->getString(L"d", fText), -EINVAL);
    EXPECT_EQ(config->getString(L"z", fText), -EINVAL);
    EXPECT_EQ(config->getString(L"t", fText), -EINVAL);
  }
  EXPECT_TRUE(fNumber == 7 && fNatural == 7 && fTruth && fText == L"old");
  const std::string integer = "an integer from -2147483648 to 2147483647";
  const std::string text = "a string without null characters";
  const auto warning = [this](std::string const& rest) {
    return "warning test: " + path("c.toml") + ":" + rest + " is expected; the value is not read";
  };
  EXPECT_THAT(
      fLog.lines(),
      ElementsAre(warning("1:5: `i' is the integer 2147483648, but " + integer),
                  warning("2:5: `n' is the integer -1, but an integer from 0 to 4294967295"),
                  warning("3:5: `s' is a string, but " + integer),
                  warning("4:5: `d' is a date or time, but " + text),
                  warning("5:5: `z' is a string, but " + text),
                  warning("7:1: `t' is a table, but " + text)));
}

TEST_F(Config, AFolderHoldsAFilePerIdentifierAndReportsWhatNobodyAskedFor) {
  fFolder.makeFile("good.id.toml", "x = 1\nz = 2\n[w]\n\"x.y\" = 1\n[[l]]\n");
  fFolder.makeFile("bad.toml", "x = 1\ny = = 2\n");
  const auto manager = holdRef(new ConfigManager({path(""), std::nullopt}, fLog.logger()));
  {
    PBaseptr<IConfig> config;
    EXPECT_EQ(manager->loadByID(L"good.id", config), 0);
    EXPECT_EQ(manager->loadByID(L"good", config), PResult::notFound);
    EXPECT_EQ(manager->loadByID(L"bad", config), -EINVAL);
    EXPECT_EQ(manager->loadByID(L"../good", config), -EINVAL);
    EXPECT_EQ(config->getInt(L"x", fNumber), 0) << "a failure leaves the holder alone";
  }
  const std::string good = "warning test: " + path("good.id.toml");
  EXPECT_THAT(fLog.lines(),
              ElementsAre("error test: " + path("good.toml") + ": No such file or directory",
                          testing::StartsWith("error test: " + path("bad.toml") + ":2:5: "),
                          "error test: `../good' is no identifier of a configuration",
                          good + ":2:1: `z' is not used", good + ":4:1: `w.\"x.y\"' is not used",
                          good + ":5:3: `l' is not used"));
}

}  // namespace
