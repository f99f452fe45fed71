// Any bytes on a connection: an answer or a cut, and the listener goes on.

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>

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

/// What comes back from a listener that lives as long as the process.
std::string ask(std::string_view bytes) {
  static sockaddr_un address{.sun_family = AF_UNIX, .sun_path = ""};  // the kernel's choice
  static socklen_t size = sizeof address;
  static auto* const name = reinterpret_cast<sockaddr*>(&address);
  static const auto listener = [] {
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    REQUIRE(::bind(fd.get(), name, sizeof(sa_family_t)) == 0 && ::listen(fd.get(), 64) == 0);
    ::getsockname(fd.get(), name, &size);
    std::string cause;
    return HttpListener::start(std::move(fd), {.headBytes = 4096, .bodyBytes = 64}, answer, cause);
  }();
  const UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  REQUIRE(listener && ::connect(client.get(), name, size) == 0);
  static_cast<void>(::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
  ::shutdown(client.get(), SHUT_WR);
  std::string text;
  char buffer[4096];
  for (ssize_t count = 1; count > 0; text.append(buffer, static_cast<std::size_t>(count))) {
    count = std::max<ssize_t>(0, ::recv(client.get(), buffer, sizeof buffer, 0));
  }
  return text;
}

}  // namespace

FUZZ_TARGET(http) {
  const std::string text = ask(input);
  REQUIRE(text.empty() || text.starts_with("HTTP/1."));
  REQUIRE(ask("GET / HTTP/1.0\r\n\r\n").ends_with("\r\n\r\nGET"));
}
