#pragma once

#include <gmock/gmock.h>
#include <poll.h>
#include <spdlog/sinks/null_sink.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>

#include "host/control/ControlServer.h"
#include "tests/host/process/FakeProc.h"

/// One connection to a server, byte by byte.
class RawClient {
 public:
  explicit RawClient(std::string const& path, int flags = 0) {
    fSocket = UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    fError = ::connect(fSocket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0
                 ? 0
                 : errno;
  }
  int error() const { return fError; }

  /// @return false once the server has cut the connection.
  bool send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::send(fSocket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

  /// Receives until the text is there, or the server has nothing more to say.
  std::string receive(std::string_view wanted = "\1") const {
    std::string text;
    char bytes[4096];
    for (ssize_t count = 1; count > 0 && text.find(wanted) == std::string::npos;) {
      count = ::recv(fSocket.get(), bytes, sizeof bytes, 0);
      if (count > 0) text.append(bytes, static_cast<std::size_t>(count));
    }
    return text;
  }
  void awaitCut() const {
    pollfd end{fSocket.get(), 0, 0};
    while ((end.revents & POLLHUP) == 0) ::poll(&end, 1, -1);
  }

 private:
  UniqueFd fSocket;
  int fError = 0;
};

inline std::string requestText(std::string const& method, std::string const& target,
                               std::string const& body = "") {
  return method + " " + target + " HTTP/1.1\r\nHost: v\r\nConnection: close\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct MockChanges : IChanges {
  MOCK_METHOD(ApiResult, add, (nlohmann::json const&), (override));
  MOCK_METHOD(ApiResult, remove, (std::string const&), (override));
  MOCK_METHOD(ApiResult, reload, (), (override));
};

inline std::ptrdiff_t entriesOf(std::string const& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// A server on made sources.
class ControlFixture : public testing::Test {
 protected:
  ControlFixture() {
    sources.facts = {"1.2.3", 7, WallTime(std::chrono::milliseconds(1500)), "", {"a.so"}};
    sources.watch = [this] { return view; };
    sources.journal = journal;
    sources.counters = [] { return std::map<std::string, unsigned long long>{{"made", 3}}; };
    sources.restarts = [] { return RestartState{}; };
    sources.metrics = [] { return std::string("up 1\n"); };
    sources.changes = changes;
    sources.procRoot = proc.path();
    sources.now = [this] { return now; };
    settings.socket = folder.path("socket");
  }

  bool open(std::chrono::milliseconds patience = std::chrono::hours(1)) {
    HttpLimits limits;
    limits.patience = patience;
    const auto log =
        std::make_shared<spdlog::logger>("", std::make_shared<spdlog::sinks::null_sink_mt>());
    cause.clear();
    server = ControlServer::open(settings, sources, log, cause, limits);
    return server != nullptr;
  }

  std::string ask(std::string const& method, std::string const& target,
                  std::string const& body = "") const {
    const RawClient client(settings.socket);
    client.send(requestText(method, target, body));
    return client.receive();
  }
  static std::string bodyOf(std::string const& answer) {
    const auto end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "none: " + answer : answer.substr(end + 4);
  }
  bool stillAnswers() const { return ask("GET", "/v1/counters").starts_with("HTTP/1.1 200"); }

  FakeProc proc;
  TemporaryFolder folder;
  WatchView view;
  std::chrono::steady_clock::time_point now{};
  std::shared_ptr<RecordJournal> journal = std::make_shared<RecordJournal>();
  std::shared_ptr<MockChanges> changes = std::make_shared<MockChanges>();
  ControlSources sources;
  ControlSettings settings;
  std::string cause;
  std::unique_ptr<ControlServer> server;
};
