// Any bytes on a connection: an answer or a cut, and the listener goes on.

#include <sys/socket.h>
#include <sys/un.h>

#include "fuzz/Fuzz.h"
#include "host/control/HttpListener.h"

namespace {

constexpr HttpLimits kSmall{.headBytes = 4096, .bodyBytes = 64};

/// Whatever comes is answered with its own size.
HttpAnswer answer(HttpRequest const& request) {
  REQUIRE(request.isTooLarge || request.body.size() <= kSmall.bodyBytes);
  REQUIRE(!request.method.empty() && request.client.has_value());
  HttpAnswer answer;
  answer.body = request.method + " " + std::to_string(request.body.size());
  if (!request.target.ends_with("stream")) return answer;
  answer.stream = [count = 0](std::string& text) mutable {
    text = "line\n";
    return ++count < 3;
  };
  return answer;
}

UniqueFd socketOf(sockaddr_un const& address, socklen_t size, bool listens) {
  UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  auto const* to = reinterpret_cast<sockaddr const*>(&address);
  REQUIRE((listens ? ::bind(fd.get(), to, size) : ::connect(fd.get(), to, size)) == 0);
  if (listens) REQUIRE(::listen(fd.get(), 64) == 0);
  return fd;
}

/// A listener on a socket without a file, for as long as the process lives.
struct Server {
  Server() {
    socklen_t size = sizeof(sa_family_t);
    UniqueFd fd = socketOf(address, size, true);
    size = sizeof address;
    ::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size);
    length = size;
    std::string cause;
    listener = HttpListener::start(std::move(fd), kSmall, answer, cause);
    REQUIRE(listener != nullptr);
  }
  std::string ask(std::string_view bytes) const {
    const UniqueFd client = socketOf(address, length, false);
    static_cast<void>(::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
    ::shutdown(client.get(), SHUT_WR);
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 1; count > 0;) {
      count = ::recv(client.get(), buffer.data(), buffer.size(), 0);
      if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
  }
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = ""};
  socklen_t length = 0;
  std::unique_ptr<HttpListener> listener;
};

}  // namespace

void fuzzHttp(std::string_view input) {
  static const Server server;
  const std::string text = server.ask(input);
  REQUIRE(text.empty() || text.starts_with("HTTP/1."));
  REQUIRE(server.ask("GET / HTTP/1.0\r\n\r\n").ends_with("\r\n\r\nGET 0"));
}
