#include "tests/support/notify_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tests/support/process.h"

namespace test {

notify_socket::notify_socket(const std::string& path)
    : number_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (::bind(number_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("no notification socket at " + path);
  }
  collector_ = std::thread([this] { collect(); });
}

notify_socket::~notify_socket() {
  ::shutdown(number_, SHUT_RD);  // wakes the collector
  collector_.join();
  ::close(number_);
}

void notify_socket::collect() {
  std::array<char, 4096> piece{};
  for (;;) {
    const auto size = ::recv(number_, piece.data(), piece.size(), 0);
    if (size <= 0) return;
    const std::lock_guard lock(mutex_);
    messages_.emplace_back(piece.data(), static_cast<std::size_t>(size));
    changed_.notify_all();
  }
}

std::vector<std::string> notify_socket::messages() const {
  const std::lock_guard lock(mutex_);
  return messages_;
}

unsigned notify_socket::count(const std::string& message) const {
  const auto all = messages();
  return static_cast<unsigned>(std::count(all.begin(), all.end(), message));
}

bool notify_socket::wait_for_count(const std::string& message, unsigned wanted) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, patience, [&] {
    return static_cast<unsigned>(std::count(messages_.begin(), messages_.end(), message)) >= wanted;
  });
}

bool notify_socket::wait_for_more(const std::string& message, unsigned times) {
  return wait_for_count(message, count(message) + times);
}

bool notify_socket::wait_for(const std::string& message) {
  return wait_for_count(message, 1);
}

}  // namespace test
