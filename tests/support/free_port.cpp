#include "tests/support/free_port.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

unsigned free_port() {
  const int probe = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  const bool bound = ::bind(probe, generic, size) == 0 && ::getsockname(probe, generic, &size) == 0;
  ::close(probe);
  return bound ? ntohs(address.sin6_port) : 0;
}

}  // namespace test
