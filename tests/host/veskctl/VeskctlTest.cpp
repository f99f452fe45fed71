#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <thread>

#include "host/process/UniqueFd.h"
#include "host/veskctl/SocketTrouble.h"
#include "host/veskctl/Terminal.h"
#include "tests/host/daemon/ChildProcess.h"
#include "tests/host/process/TemporaryFolder.h"

namespace {

using ::testing::HasSubstr;

std::string answerOf(std::string const& status, std::string const& body) {
  const std::string length = std::to_string(body.size());
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + length + "\r\n\r\n" + body;
}

UniqueFd listenOn(std::string const& path) {
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(::listen(socket.get(), 1), 0);
  return socket;
}

/// Takes one connection, one request, and answers with these very bytes.
class OneAnswer {
 public:
  OneAnswer(std::string const& path, std::string bytes) : fSocket(listenOn(path)) {
    fThread = std::thread([this, bytes = std::move(bytes)] {
      const UniqueFd peer(::accept(fSocket.get(), nullptr, nullptr));
      char text[4096];
      static_cast<void>(::recv(peer.get(), text, sizeof text, 0));
      ::send(peer.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    });
  }
  ~OneAnswer() {
    ::shutdown(fSocket.get(), SHUT_RDWR);
    fThread.join();
  }

 private:
  const UniqueFd fSocket;
  std::thread fThread;
};

struct Ended {
  int status;
  std::string said;
};

/// @param command for a shell, in the folder of the socket `s`.
Ended run(TemporaryFolder const& folder, std::string const& command) {
  Ended ended{};
  ended.said =
      outputOf("cd " + folder.path() +
                   "; export VESKD_SOCKET=s PATH=" VESKCTL_FOLDER ":/bin:/usr/bin; " + command,
               &ended.status);
  return ended;
}

Ended runAgainst(std::string const& answer, std::string const& command) {
  const TemporaryFolder folder;
  const OneAnswer server(folder.path("s"), answer);
  return run(folder, command);
}

const std::string kOneOk = R"({"entries":[{"name":"a","health":"ok"},{"name":"b","health":")";

struct Case {
  const char* command;
  std::string answer;
  int status;
  const char* said;
};

const std::vector<Case> kCases = {
    {"veskctl status --check", answerOf("200 OK", kOneOk + "absent\"}]}"), 0, ""},
    {"veskctl status --check", answerOf("200 OK", kOneOk + "high\"}]}"), 2, "not ok: b (high)\n"},
    {"veskctl add x --cpu-limt 3", "", 64, "`--cpu-limt', did you mean `--cpu-limit'?"},
    {"veskctl remove x", answerOf("404 No", R"({"error":{"text":"no\u001b\nx"}})"), 1,
     "veskctl: no\\x1b\nveskctl: x\n"},
    {"veskctl status", answerOf("503 Busy", R"({"error":{"text":"stopping"}})"), 69, "stopping\n"},
    {"veskctl status", answerOf("500 Oops", "<html>"), 70, "HTTP status 500"},
    {"veskctl status", answerOf("200 OK", "{\"entries\": [3]}"), 70, "not understood"},
    {"veskctl counters", answerOf("200 OK", "{\"counters\": {"), 70, "it is no JSON\n"},
    {"veskctl status", "SSH-2.0-x\r\n", 70, "does not speak as veskd"},
    {"veskctl status", answerOf("200 OK", kOneOk).substr(0, 60), 69, "went away in"},
    {"veskctl status", "", 69, "has just ended: try again"},
    {"veskctl status > /dev/full", answerOf("200 OK", "{}"), 74, "No space left on device\n"},
    // Written only once nobody reads any more.
    {"mkfifo go; (read x < go; veskctl status 2> said; test $? = 74 -a ! -s said && echo quiet >&2)"
     " | (exec < /dev/null; echo > go)",
     answerOf("200 OK", "{}"), 0, "quiet\n"},
};

TEST(Veskctl, TellsByItsExitStatusWhatHappened) {
  for (Case const& row : kCases) {
    const Ended ended = runAgainst(row.answer, row.command);
    EXPECT_EQ(ended.status, row.status) << row.command << row.answer << ended.said;
    EXPECT_THAT(ended.said, HasSubstr(row.said)) << row.answer;
  }
}

TEST(Veskctl, SaysWhyTheHostIsNotReached) {
  const TemporaryFolder folder;
  folder.makeFile("file", "");
  EXPECT_THAT(run(folder, "veskctl status").said, HasSubstr("there is no socket s: start veskd"));
  EXPECT_THAT(run(folder, "veskctl -s file status").said, HasSubstr("file is no socket"));
  const UniqueFd deaf = listenOn(folder.path("deaf"));
  EXPECT_THAT(run(folder, "veskctl -s deaf --timeout 0.05 status").said,
              HasSubstr("within 0.05 s"));
  ::chmod(folder.path("file").c_str(), 0620);
  const bool isRoot = ::chown(folder.path("file").c_str(), 54321, 54322) == 0;
  EXPECT_THAT(ctl::whyUnreachable(folder.path("file"), EACCES),
              HasSubstr(isRoot ? "be root, the user 54321 or in the group 54322" : "be root, `"));
  listenOn(folder.path("s"));  // and no more
  const Ended ended = run(folder, "veskctl status");
  EXPECT_EQ(ended.status, 69);
  EXPECT_THAT(ended.said, HasSubstr("nobody listens on s"));
}

TEST(Terminal, HasColoursUnlessItsUserWantsNone) {
  const UniqueFd terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  ::setenv("TERM", "xterm", 1);
  for (const bool areWanted : {true, false}) {
    ::setenv("NO_COLOR", areWanted ? "" : "1", 1);
    const ctl::Terminal shown(terminal.get(), ctl::ColourUse::automatic);
    EXPECT_EQ(shown.view().hasColours, areWanted);
  }
}

}  // namespace
