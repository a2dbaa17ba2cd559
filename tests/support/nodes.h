// Minimal nodes of the kinds that daemons and devices have.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/nx_error.h"

namespace test {

/// Adds a node of this kind at the path.
template <class Node, class... Arguments>
std::shared_ptr<Node> add_node(nx_db& db, const std::string& path, Arguments&&... arguments) {
  const auto [name, parent] = nx_db::split_path(path);
  auto node = std::make_shared<Node>(name, std::forward<Arguments>(arguments)...);
  db.add_node(parent, node);
  return node;
}

/// A value given as JSON text that clients read, write and subscribe to, and that can be in error.
/// It holds its mutex while it publishes, like the value classes of a daemon. Refuses the text
/// "bad" and, if it was created as a number, anything else.
class value_node : public nx_db_event_node {
 public:
  value_node(const std::string& name, std::string json);
  static std::shared_ptr<value_node> create(nx_db& db, const std::string& path,
                                            const std::string& json) {
    return add_node<value_node>(db, path, json);
  }

  void update(const std::string& json);
  void fail(const nx_error& error);
  std::string json() const;

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  bool append_text(std::string& out) const override;
  void set(const std::string& path, const json_value& value) override;
  void reset() override { update("0"); }
  bool write_may_wait() const override { return false; }
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;
  json_value get_info(json_allocator& allocator) const override;
  using nx_db_event_node::get_info;
  void periodic_task(bool) override { ++polls; }

  std::atomic<int> polls{0};

 private:
  json_document event();

  const bool is_number_;
  mutable std::recursive_mutex mutex_;
  std::string json_;
  std::optional<nx_error> error_;
};

/// Read only, no subscribers; calls what it is given at each read. `waits` as for a device.
class read_node : public nx_db_leaf_node {
 public:
  using function = std::function<std::string()>;
  read_node(const std::string& name, function read, bool waits)
      : nx_db_leaf_node(name), read_(std::move(read)), waits_(waits) {}
  static std::shared_ptr<read_node> create(nx_db& db, const std::string& path, function read,
                                           bool waits = false) {
    return add_node<read_node>(db, path, std::move(read), waits);
  }

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  bool read_may_wait() const override { return waits_; }

 private:
  function read_;
  bool waits_;
};

/// Answers with the JSON text that its function makes of the argument's.
class command_node : public nx_db_leaf_node {
 public:
  using function = std::function<std::string(const std::string&)>;
  command_node(const std::string& name, function does)
      : nx_db_leaf_node(name), does_(std::move(does)) {}
  static std::shared_ptr<command_node> create(nx_db& db, const std::string& path, function does) {
    return add_node<command_node>(db, path, std::move(does));
  }

  bool write_returns_response() const override { return true; }
  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override;

 private:
  function does_;
};

}  // namespace test
