// A key store that behaves as a test says: it listens on a socket of its own and hands each
// connection to `serve` on a thread, until the other end or the object goes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace test {

class fake_store {
 public:
  /// What to do with a connection; it is closed when this returns.
  using service = std::function<void(int connection)>;

  explicit fake_store(const std::string& path, service serve = be_silent)
      : path_(path), serve_(std::move(serve)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, 16) != 0) {
      throw std::runtime_error("no store at " + path);
    }
    accepting_ = std::thread([this] { accept_all(); });
  }
  ~fake_store() {
    ::shutdown(listener_, SHUT_RDWR);
    accepting_.join();
    connections_.clear();
    ::close(listener_);
    ::unlink(path_.c_str());
  }
  fake_store(const fake_store&) = delete;
  fake_store& operator=(const fake_store&) = delete;

  /// False at the end of the connection, as `take`.
  static bool give(int connection, const std::string& text) {
    return ::send(connection, text.data(), text.size(), MSG_NOSIGNAL) > 0;
  }
  static bool take(int connection) {
    char request[256];
    return ::recv(connection, request, sizeof request, 0) > 0;
  }
  static void be_silent(int connection) {
    while (take(connection)) {
    }
  }

 private:
  void accept_all() {
    for (int next = 0; (next = ::accept(listener_, nullptr, nullptr)) >= 0;) {
      connections_.emplace_back([this, next] {
        serve_(next);
        ::close(next);
      });
    }
  }

  std::string path_;
  service serve_;
  int listener_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
  std::thread accepting_;
  std::vector<std::jthread> connections_;
};

}  // namespace test
