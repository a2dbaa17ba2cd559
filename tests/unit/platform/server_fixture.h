// A tree on a unix socket, with its server in this process, and clients that send bytes and read
// lines.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/nexel_client/line_client.h"
#include "platform/value_tree/nx_server.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/failure.h"
#include "tests/support/gate.h"
#include "tests/support/log_capture.h"
#include "tests/support/nodes.h"
#include "tests/support/temp_folder.h"

using test::command_node;
using test::gate;
using test::read_node;
using test::value_node;

inline std::string request(int id, const std::string& method, const std::string& path,
                           const std::string& more = {}) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":{},"method":"{}","params":{{"path":"{}"{}}}}})", id,
                     method, path, more);
}

/// A request to run the command of `add_wait`, as a line.
inline std::string run_wait(int id) {
  return request(id, "run", "wait", R"(,"args":[])") + '\n';
}

inline std::string result(int id, const std::string& members) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":{},"result":{{{}}}}})", id, members);
}

inline std::string event(const std::string& path, const std::string& value) {
  return fmt::format(R"({{"jsonrpc":"2.0","method":"event","params":{{"path":"{}",)"
                     R"("time":"1970-01-01T00:00:00.000Z","value":{}}}}})",
                     path, value);
}

inline std::string ended(const std::string& path, const std::string& reason) {
  return fmt::format(
      R"({{"jsonrpc":"2.0","method":"ended","params":{{"path":"{}","reason":"{}"}}}})", path,
      reason);
}

class raw_client {
 public:
  explicit raw_client(std::unique_ptr<nx::line_client> client) : client_(std::move(client)) {}

  void send(const std::string& bytes) const { client_->send_raw(bytes); }
  void end_sending() const { client_->end_sending(); }
  /// The next line; "closed" when the server has closed, "nothing" when none comes in time.
  std::string line(std::chrono::milliseconds patience = std::chrono::seconds(10)) const try {
    return client_->read_line(patience).value_or("nothing");
  } catch (const nx_client_exception&) {
    return "closed";
  }
  std::vector<std::string> lines(std::size_t count) const {
    std::vector<std::string> found;
    while (found.size() < count)
      found.push_back(line());
    return found;
  }
  /// Sends a line and gives the next one.
  std::string ask(const std::string& request) const {
    send(request + '\n');
    return line();
  }

 private:
  std::unique_ptr<nx::line_client> client_;
};

class server_test : public testing::Test {
 protected:
  server_test() {
    db.set_clock([] { return std::chrono::system_clock::time_point(); });
    serve_at(socket_path);
  }
  ~server_test() override { server.reset(); }

  void serve_at(const std::string& socket) {
    server = std::make_unique<nx::nx_server>(runtime, db, socket);
    server->start_accepting();
  }
  raw_client connect() const { return connect_to(socket_path); }
  static raw_client connect_to(const std::string& socket) {
    return raw_client(nx::line_client::connect_unix(socket));
  }
  static raw_client connect_tcp(unsigned port) {
    return raw_client(nx::line_client::connect_tcp("::1", port));
  }

  /// A command "wait" that answers once the gate is open, and has counted itself by then.
  void add_wait(gate& door, std::atomic<int>* done = nullptr) {
    command_node::create(db, "wait", [&door, done](const std::string&) {
      door.pass();
      if (done != nullptr) ++*done;
      return "true";
    });
  }
  /// "v/0" and so on, each 0.
  std::vector<std::shared_ptr<value_node>> add_values(int count) {
    std::vector<std::shared_ptr<value_node>> values;
    for (int i = 0; i < count; ++i)
      values.push_back(value_node::create(db, fmt::format("v/{}", i), "0"));
    return values;
  }

  const test::temp_folder folder;
  const std::string socket_path = folder.file("tree");
  // Before the runtime: its threads must have ended when the tree goes.
  nx_db db;
  nx::server_runtime runtime;
  std::unique_ptr<nx::nx_server> server;
};
