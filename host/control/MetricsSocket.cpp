#include "host/control/MetricsSocket.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kWaitingScrapes = 64;

std::optional<std::uint16_t> parsePort(std::string const& text) {
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || stop != end || port == 0) return std::nullopt;
  return port;
}

socklen_t sizeOf(sockaddr_storage const& address) {
  return address.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

}  // namespace

std::optional<sockaddr_storage> parseAddress(std::string const& text) {
  const auto colon = text.rfind(':');
  if (colon == std::string::npos) return std::nullopt;
  const auto port = parsePort(text.substr(colon + 1));
  if (!port) return std::nullopt;
  std::string host = text.substr(0, colon);
  sockaddr_storage address{};
  if (host.starts_with('[') && host.ends_with(']')) {
    host = host.substr(1, host.size() - 2);
    auto& six = reinterpret_cast<sockaddr_in6&>(address);
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(*port);
    if (::inet_pton(AF_INET6, host.c_str(), &six.sin6_addr) != 1) return std::nullopt;
    return address;
  }
  auto& four = reinterpret_cast<sockaddr_in&>(address);
  four.sin_family = AF_INET;
  four.sin_port = htons(*port);
  if (::inet_pton(AF_INET, host.c_str(), &four.sin_addr) != 1) return std::nullopt;
  return address;
}

UniqueFd openMetricsSocket(std::string const& address, std::string& cause) {
  const auto parsed = parseAddress(address);
  if (!parsed) {
    cause = fmt::format("metrics address {}: not an address and a port", address);
    return {};
  }
  UniqueFd socket(::socket(parsed->ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int yes = 1;
  const bool isOpen =
      socket && ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 &&
      ::bind(socket.get(), reinterpret_cast<sockaddr const*>(&*parsed), sizeOf(*parsed)) == 0 &&
      ::listen(socket.get(), kWaitingScrapes) == 0;
  if (isOpen) return socket;
  cause = fmt::format("metrics address {}: {}", address, std::strerror(errno));
  return {};
}
