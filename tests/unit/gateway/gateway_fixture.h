// A gateway on a port of the loopback with a tree served by the test, and clients that send bytes.
#pragma once

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "gateway/gateway.h"
#include "platform/value_tree/nx_server.h"
#include "tests/support/failure.h"
#include "tests/support/nodes.h"
#include "tests/support/temp_folder.h"

constexpr std::chrono::seconds test_patience{30};

class http_client {
 public:
  explicit http_client(unsigned port, int receive_buffer = 0)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receive_buffer > 0) {
      setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof(receive_buffer));
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0;
  }
  ~http_client() { ::close(socket_); }
  http_client(const http_client&) = delete;
  http_client& operator=(const http_client&) = delete;

  bool connected() const { return connected_; }

  /// False once the other side has closed.
  bool send(const std::string& bytes) const {
    for (std::size_t sent = 0; sent < bytes.size();) {
      const auto size = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (size <= 0) return false;
      sent += static_cast<std::size_t>(size);
    }
    return true;
  }

  /// What has come once `text` stands in it; all there is when the connection ends before.
  const std::string& read_until(const std::string& text, std::size_t from = 0) {
    const auto end = std::chrono::steady_clock::now() + test_patience;
    while (received_.find(text, from) == received_.npos && !ended_) {
      if (std::chrono::steady_clock::now() > end) {
        ADD_FAILURE() << "'" << text << "' does not come; there is: " << received_.substr(0, 4000);
        break;
      }
      receive();
    }
    return received_;
  }
  const std::string& read_all() {
    const auto end = std::chrono::steady_clock::now() + test_patience;
    while (!ended_ && std::chrono::steady_clock::now() < end)
      receive();
    EXPECT_TRUE(ended_) << "the connection stays open";
    return received_;
  }
  std::size_t size() const { return received_.size(); }

 private:
  void receive() {
    pollfd ready{socket_, POLLIN, 0};
    if (poll(&ready, 1, 100) <= 0) return;
    char bytes[16 * 1024];
    const auto size = recv(socket_, bytes, sizeof(bytes), 0);
    if (size <= 0) {
      ended_ = true;
    } else {
      received_.append(bytes, static_cast<std::size_t>(size));
    }
  }

  int socket_;
  bool connected_ = false;
  bool ended_ = false;
  std::string received_;
};

class gateway_test : public testing::Test {
 protected:
  gateway_test() {
    given.tree = "unix:" + socket_path;
    given.listen = "127.0.0.1:0";
    given.page = folder.path() + "/page";
    folder.write("page/index.html", "<p>the page</p>");
    folder.write("secret.txt", "nobody's business");
    bounds.event_pause = std::chrono::milliseconds(10);
  }
  ~gateway_test() override { stop(); }

  void serve_tree() {
    server = std::make_unique<nx::nx_server>(runtime, db, socket_path);
    server->start_accepting();
  }

  void start() {
    io = std::make_unique<boost::asio::io_context>(1);
    service = std::make_unique<gateway::gateway_service>(*io, given, bounds);
    service->start();
    thread = std::thread([this] { io->run(); });
  }
  void stop() {
    if (!thread.joinable()) return;
    boost::asio::post(*io, [this] { service->stop(); });
    thread.join();
    service.reset();
    io.reset();
  }

  std::unique_ptr<http_client> connect(int receive_buffer = 0) const {
    return std::make_unique<http_client>(service->port(), receive_buffer);
  }
  static std::string get(const std::string& target, const std::string& headers = {}) {
    return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
  }
  /// The whole answer to one request on a connection of its own.
  std::string ask(const std::string& bytes) const {
    const auto client = connect();
    auto request = bytes;
    if (const auto end = request.find("\r\n\r\n"); end != request.npos) {
      request.insert(end, "\r\nConnection: close");
    }
    client->send(request);
    return client->read_all();
  }
  /// The same, until the text stands in it.
  std::string ask_until(const std::string& bytes, const std::string& text) const {
    const auto end = std::chrono::steady_clock::now() + test_patience;
    std::string found;
    do {
      found = ask(bytes);
      if (found.find(text) != found.npos) return found;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } while (std::chrono::steady_clock::now() < end);
    return found;
  }

  const test::temp_folder folder;
  const std::string socket_path = folder.file("tree");
  gateway::options given;
  gateway::settings bounds;
  nx_db db;
  nx::server_runtime runtime;
  std::unique_ptr<nx::nx_server> server;
  std::unique_ptr<boost::asio::io_context> io;
  std::unique_ptr<gateway::gateway_service> service;
  std::thread thread;
};
