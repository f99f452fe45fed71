// The check as its users meet it: the real program on real files.

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/host/daemon/VeskdFixture.h"

using testing::HasSubstr;

namespace {

class Check : public VeskdFixture {
 protected:
  Check() {
    fFolder.makeFile("run-it.sh", "#!/bin/sh\n");
    fFolder.makeFile("data", "");
    std::filesystem::permissions(path("run-it.sh"), std::filesystem::perms(0755));
  }

  /// Runs a shell's command in the folder. @return what it writes.
  std::string run(std::string const& command) {
    return outputOf("cd " + path() + " && " + command, &fStatus);
  }

  int fStatus = -1;
};

TEST_F(Check, FindsEveryMistakeOnceAndSaysWhatComesOfIt) {
  for (std::string const name : {"/bad", "/host"}) {
    EXPECT_EQ(
        run("cp " GOLDEN + name + ".toml .; " VESKD " --check -c " + name.substr(1) + ".toml"),
        contentOf(GOLDEN + name + ".txt"));
    EXPECT_EQ(fStatus, 78);
  }
}

TEST_F(Check, HasNothingToSayAboutWhatIsRight) {
  const std::string demo = " --check -c " EXAMPLES "/demo.toml";
  const std::string copies =
      "mkdir bin && for n in server spinner crowd; do "
      "cp run-it.sh bin/demo-$n; done && PATH=$PWD/bin:$PATH ";
  EXPECT_EQ(run(copies + VESKD + demo), "");
  EXPECT_EQ(fStatus, 0);
  run("sed 's|/usr/lib/.*so|" WATCHDOG "|' " SHIPPED " > shipped.toml");
  EXPECT_EQ(run(VESKD " --check -c shipped.toml"), "");
  EXPECT_EQ(fStatus, 0);
  // A name longer than what the kernel keeps: of the file, or of what a link leads to.
  fFolder.makeFile("right.toml", kHost + kGlobals + R"(
[watchdog.process.1]
name = "a-rather-long-name"
executable = "./a-rather-long-nickname"
action = "restart"
working_dir = "bin"
)");
  run("cp run-it.sh bin/a-rather-long-name && ln -s a-rather-long-name bin/a-rather-long-nickname");
  EXPECT_EQ(run(VESKD " --json --check -c right.toml"), "[]\n");
  EXPECT_EQ(fStatus, 0);
}

TEST_F(Check, ReadsTheFolderOfFilesAndPrintsJson) {
  fFolder.makeFile("main.toml", "[host]\nconfig_dir = 'd'\n[watchdog.process]\nx = 1\n");
  fFolder.makeFile("d/veskp.watchdog.process.toml", kGlobals + "y = \"\\u0007\"\n");
  const std::string own = path("d/veskp.watchdog.process.toml");
  run(VESKD " --check --json -c main.toml >found");
  EXPECT_EQ(fStatus, 0);
  EXPECT_EQ(run("sed \"s|$PWD/||\" found"), contentOf(GOLDEN "/folder.json"));
  std::filesystem::remove(own);
  EXPECT_EQ(run(VESKD " --plugin " WATCHDOG " --check -c main.toml | head -n 1"),
            "main.toml:2:14: error: `host.config_dir': " + own +
                ": No such file or directory: the watchdog does not start\n");
  fFolder.makeFile("d/veskp.watchdog.process.toml", "\nx = = 1\n");
  EXPECT_THAT(run(VESKD " --check -c main.toml"), HasSubstr(own + ":2:5: error: "));
  EXPECT_EQ(fStatus, 78);
}

TEST_F(Check, TheLogOfAStartHasEachFindingOnce) {
  fFolder.makeFile("v.toml", kHost + kGlobals +
                                 "[watchdog.process.1]\nname = 'n'\ncpu_limt = 1\nperiod = 'x'\n"
                                 "[watchdog.process.3]\nname = 'm'\n");
  const std::string sorted = " | grep -o 'v.toml:.*' | sed 's/ warning://' | sort";
  const std::string checked = run(VESKD " --check -c v.toml" + sorted);
  EXPECT_EQ(std::ranges::count(checked, '\n'), 3) << checked;
  run("{ " VESKD
      " -c v.toml 2>log & } && until grep -qs running: log || ! kill -0 $!; "
      "do sleep 0.1; done && kill $! && wait");
  EXPECT_EQ(run("cat log" + sorted), checked) << run("cat log");
}

}  // namespace
