// Any bytes on a connection: an answer or a cut, and the listener goes on.

#include <sys/socket.h>
#include <sys/un.h>

#include <array>

#include "fuzz/Fuzz.h"
#include "host/control/HttpListener.h"

namespace {

HttpAnswer answer(HttpRequest const& request) {
  REQUIRE(request.isTooLarge || request.body.size() <= 64);
  REQUIRE(!request.method.empty() && request.client.has_value());
  HttpAnswer answer;
  answer.body = request.method;
  if (!request.target.ends_with("stream")) return answer;
  answer.stream = [count = 0](std::string& text) mutable { return text = "x", ++count < 3; };
  return answer;
}

/// A listener on a socket without a file, for as long as the process lives.
struct Server {
  Server() {
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    REQUIRE(::bind(fd.get(), name(), sizeof(sa_family_t)) == 0 && ::listen(fd.get(), 64) == 0);
    ::getsockname(fd.get(), name(), &size);
    std::string cause;
    listener =
        HttpListener::start(std::move(fd), {.headBytes = 4096, .bodyBytes = 64}, answer, cause);
    REQUIRE(listener != nullptr);
  }
  std::string ask(std::string_view bytes) {
    const UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    REQUIRE(::connect(client.get(), name(), size) == 0);
    static_cast<void>(::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
    ::shutdown(client.get(), SHUT_WR);
    std::string text;
    std::array<char, 4096> buffer{};
    while (true) {
      const ssize_t count = ::recv(client.get(), buffer.data(), buffer.size(), 0);
      if (count <= 0) return text;
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
  }
  sockaddr* name() { return reinterpret_cast<sockaddr*>(&address); }

  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = ""};
  socklen_t size = sizeof address;
  std::unique_ptr<HttpListener> listener;
};

}  // namespace

FUZZ_TARGET(http) {
  static Server server;
  const std::string text = server.ask(input);
  REQUIRE(text.empty() || text.starts_with("HTTP/1."));
  REQUIRE(server.ask("GET / HTTP/1.0\r\n\r\n").ends_with("\r\n\r\nGET"));
}
