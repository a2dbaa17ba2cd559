// A tree on a unix socket, with its server in this process.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_server.h"
#include "tests/unit/platform/raw_client.h"
#include "tests/unit/platform/test_nodes.h"

inline std::string request(int id, const std::string& method, const std::string& path,
                           const std::string& more = {}) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":{},"method":"{}","params":{{"path":"{}"{}}}}})", id,
                     method, path, more);
}

inline std::string result(int id, const std::string& members) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":{},"result":{{{}}}}})", id, members);
}

inline std::string event(const std::string& path, const std::string& value) {
  return fmt::format(R"({{"jsonrpc":"2.0","method":"event","params":{{"path":"{}",)"
                     R"("time":"1970-01-01T00:00:00.000Z","value":{}}}}})",
                     path, value);
}

/// What is logged while it lives.
class captured_log {
 public:
  captured_log() {
    note_log::set_observer([this](const note_log::record& record) {
      const std::lock_guard lock(mutex_);
      texts_.push_back(record.text);
      changed_.notify_all();
    });
  }
  ~captured_log() { note_log::set_observer({}); }
  captured_log(const captured_log&) = delete;
  captured_log& operator=(const captured_log&) = delete;

  long count(const std::string& part) {
    const std::lock_guard lock(mutex_);
    return std::count_if(texts_.begin(), texts_.end(),
                         [&](const auto& text) { return text.find(part) != text.npos; });
  }
  std::vector<std::string> wait_for(std::size_t lines) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return texts_.size() >= lines; });
    return texts_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

class server_test : public testing::Test {
 protected:
  server_test() {
    db.set_clock([] { return std::chrono::system_clock::time_point(); });
    server = std::make_unique<nx::nx_server>(runtime, db, folder / "tree");
    server->start_accepting();
  }
  ~server_test() override { server.reset(); }

  raw_client connect() { return raw_client::to_unix(folder / "tree"); }

  temp_folder folder;
  // Before the runtime: its threads must have ended when the tree goes.
  nx_db db;
  nx::server_runtime runtime;
  std::unique_ptr<nx::nx_server> server;
};
