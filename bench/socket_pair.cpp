#include "bench/socket_pair.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

namespace bench {
namespace {

struct two_ends {
  two_ends() {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) throw std::runtime_error("no sockets");
  }
  int ends[2];
};

}  // namespace

socket::~socket() {
  if (number_ >= 0) ::close(number_);
}

socket::socket(socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

void socket::send(const char* bytes, std::size_t size) const {
  while (size > 0) {
    const auto sent = ::send(number_, bytes, size, MSG_NOSIGNAL);
    if (sent <= 0) throw std::runtime_error("the other side is gone");
    bytes += sent;
    size -= static_cast<std::size_t>(sent);
  }
}

std::size_t socket::receive_some(char* bytes, std::size_t size) const {
  const auto received = ::recv(number_, bytes, size, 0);
  if (received <= 0) throw std::runtime_error("the other side is gone");
  return static_cast<std::size_t>(received);
}

void socket::receive(char* bytes, std::size_t size) const {
  while (size > 0) {
    const auto received = receive_some(bytes, size);
    bytes += received;
    size -= received;
  }
}

socket_pair::socket_pair() : socket_pair(two_ends().ends) {}

socket_pair::socket_pair(const int (&ends)[2]) : near(ends[0]), far(ends[1]) {}

socket connect_to(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  for (int tries = 0; tries < 1000; ++tries) {
    socket made(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    if (::connect(made.number(), generic, sizeof(address)) == 0) return made;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  throw std::runtime_error("nobody listens on " + path);
}

void pull(const socket& to, trigger wanted) {
  std::array<char, message_bytes> message{};
  std::memcpy(message.data(), &wanted, sizeof(wanted));
  to.send(message.data(), message.size());
}

bool await(const socket& from, trigger& wanted) {
  std::array<char, message_bytes> message{};
  try {
    from.receive(message.data(), message.size());
  } catch (const std::runtime_error&) {
    return false;
  }
  std::memcpy(&wanted, message.data(), sizeof(wanted));
  return true;
}

}  // namespace bench
