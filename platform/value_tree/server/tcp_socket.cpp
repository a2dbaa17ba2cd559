#include "platform/value_tree/server/tcp_socket.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace nx {
namespace {

constexpr int backlog = 128;
// A silent peer is given up after 10 s and three unanswered probes.
constexpr int keepalive_idle_s = 10;
constexpr int keepalive_interval_s = 5;
constexpr int keepalive_probes = 3;

[[noreturn]] void fail_with_errno(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

int set_option(int fd, int level, int name, int value) {
  return ::setsockopt(fd, level, name, &value, sizeof(value));
}

bool is_link_local(const sockaddr_in6& address) {
  return IN6_IS_ADDR_LINKLOCAL(&address.sin6_addr);
}

// The system confines a link-local address to its interface, and the loopback cannot be reached
// from elsewhere; any other address needs the binding.
void confine(int fd, const sockaddr_in6& address, const std::string& interface_name) {
  const auto size = static_cast<socklen_t>(interface_name.size());
  if (::setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, interface_name.data(), size) == 0) return;
  if (is_link_local(address) || IN6_IS_ADDR_LOOPBACK(&address.sin6_addr)) return;
  fail_with_errno("Cannot bind to the interface " + interface_name);
}

}  // namespace

std::vector<sockaddr_in6> interface_addresses(const std::string& interface_name) {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(list, ::freeifaddrs);
  std::vector<sockaddr_in6> link_local;
  std::vector<sockaddr_in6> others;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET6) continue;
    if (interface_name != entry->ifa_name || (entry->ifa_flags & IFF_UP) == 0) continue;
    sockaddr_in6 address{};
    std::memcpy(&address, entry->ifa_addr, sizeof(address));
    (is_link_local(address) ? link_local : others).push_back(address);
  }
  if (!link_local.empty() || others.empty()) return link_local;
  return {others.front()};
}

sockaddr_in6 parse_address(const std::string& text) {
  addrinfo hints{};
  hints.ai_family = AF_INET6;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST;
  addrinfo* found = nullptr;
  if (::getaddrinfo(text.c_str(), nullptr, &hints, &found) != 0) {
    throw std::runtime_error("Not an IPv6 address: " + text);
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, ::freeaddrinfo);
  sockaddr_in6 address{};
  std::memcpy(&address, found->ai_addr, sizeof(address));
  return address;
}

owned_fd listen_on(sockaddr_in6 address, unsigned port, const std::string& interface_name) {
  const auto where = endpoint_text(address, port);
  owned_fd fd(::socket(AF_INET6, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) fail_with_errno("Cannot create a socket for " + where);
  set_option(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1);
  set_option(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 1);
  if (!interface_name.empty()) confine(fd.get(), address, interface_name);
  address.sin6_port = htons(static_cast<std::uint16_t>(port));
  const auto* bound = reinterpret_cast<const sockaddr*>(&address);
  if (::bind(fd.get(), bound, sizeof(address)) != 0 || ::listen(fd.get(), backlog) != 0) {
    fail_with_errno("Cannot listen on " + where);
  }
  return fd;
}

unsigned bound_port(int fd) {
  sockaddr_in6 address{};
  socklen_t size = sizeof(address);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin6_port);
}

std::string endpoint_text(const sockaddr_in6& address, unsigned port) {
  std::array<char, NI_MAXHOST> host{};
  const auto* shown = reinterpret_cast<const sockaddr*>(&address);
  ::getnameinfo(shown, sizeof(address), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
  return fmt::format("[{}]:{}", host.data(), port);
}

void tune_connection(int fd) {
  set_option(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  set_option(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(fd, IPPROTO_TCP, TCP_KEEPIDLE, keepalive_idle_s);
  set_option(fd, IPPROTO_TCP, TCP_KEEPINTVL, keepalive_interval_s);
  set_option(fd, IPPROTO_TCP, TCP_KEEPCNT, keepalive_probes);
}

}  // namespace nx
