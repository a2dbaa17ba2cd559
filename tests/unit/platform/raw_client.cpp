#include "tests/unit/platform/raw_client.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

temp_folder::temp_folder() {
  std::string name = std::filesystem::temp_directory_path() / "lumora_test_XXXXXX";
  path_ = ::mkdtemp(name.data());
}

temp_folder::~temp_folder() {
  std::filesystem::remove_all(path_);
}

namespace {

int connected_or_closed(int fd, const sockaddr* address, socklen_t size) {
  if (::connect(fd, address, size) == 0) return fd;
  ::close(fd);
  return -1;
}

}  // namespace

raw_client raw_client::to_unix(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  return raw_client(connected_or_closed(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0),
                                        reinterpret_cast<sockaddr*>(&address), sizeof(address)));
}

raw_client raw_client::to_ipv6(const std::string& address_text, unsigned port) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(static_cast<std::uint16_t>(port));
  ::inet_pton(AF_INET6, address_text.c_str(), &address.sin6_addr);
  return raw_client(connected_or_closed(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0),
                                        reinterpret_cast<sockaddr*>(&address), sizeof(address)));
}

raw_client::~raw_client() {
  if (fd_ >= 0) ::close(fd_);
}

raw_client::raw_client(raw_client&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)),
      closed_(other.closed_),
      buffer_(std::move(other.buffer_)) {}

bool raw_client::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const auto sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void raw_client::end_sending() const {
  ::shutdown(fd_, SHUT_WR);
}

bool raw_client::receive(int timeout_ms) {
  pollfd waiting{fd_, POLLIN, 0};
  if (::poll(&waiting, 1, timeout_ms) <= 0) return false;
  std::array<char, 65536> bytes;
  const auto size = ::recv(fd_, bytes.data(), bytes.size(), 0);
  closed_ = size <= 0;
  if (size > 0) buffer_.append(bytes.data(), static_cast<std::size_t>(size));
  return !closed_;
}

bool raw_client::has_line(int timeout_ms) {
  while (buffer_.find('\n') == buffer_.npos) {
    if (closed_ || !receive(timeout_ms)) return false;
  }
  return true;
}

std::string raw_client::line() {
  constexpr int patience_ms = 10000;
  if (!has_line(patience_ms)) return closed_ ? "closed" : "nothing";
  const auto end = buffer_.find('\n');
  std::string found = buffer_.substr(0, end);
  buffer_.erase(0, end + 1);
  return found;
}

std::string raw_client::ask(const std::string& request) {
  send(request + '\n');
  return line();
}
